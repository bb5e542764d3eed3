#pragma once

#include <filesystem>

#include <httplib.h>

#include "HttpServer.h"
#include "KitApi.h"
#include "RequestGate.h"
#include "Store.h"

namespace vorna::backend {

// The attachments the kit uploads: the "file" part of a multipart body, streamed to the files
// directory as it arrives and listed in the store, never held in memory whole.
//
// Which application an upload belongs to: an upload names no application, so it counts for
// the application that its access token last registered, checked or reported for. A client
// registers and checks its application right after it gets its token, so that is the
// application whose files these are; an upload with a token that has not named an
// application yet is never refused as archived. An upload for an application that another
// client registered is refused as well, though a token names such an application only when it
// checked it before the other client registered it.
class UploadReceiver {
public:
    UploadReceiver(KitApi& api, Store& store, RequestGate& gate, std::filesystem::path filesDir);

    void install(HttpServer& server);

private:
    class Upload;  // one upload on its way through its steps

    KitApi& api_;
    Store& store_;
    RequestGate& gate_;
    const std::filesystem::path filesDir_;
};

}  // namespace vorna::backend
