#pragma once

#include <string_view>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "HttpServer.h"
#include "RequestJournal.h"

namespace vorna::backend {

// What the backend keeps of each request it served: one line on stderr, and, for the
// traffic of the kit, an entry in the journal that the admin calls hand out.
class RequestRecorder {
public:
    RequestRecorder();

    // Writes the request's log line and journal entry, once per request, before its answer
    // is written: a dropped connection is recorded when it is dropped, and not again when
    // the server finishes its answer.
    void record(const httplib::Request& req, const httplib::Response& res);
    RequestJournal& journal() { return journal_; }

    // A handler that reads the body itself passes each piece here, and says at the end whether
    // the body arrived whole, so that its journal entry shows the body as other requests do.
    static void noteBodyPiece(Connection& connection, std::string_view bytes);
    static void noteBodyEnd(Connection& connection, bool complete);

private:
    nlohmann::json journalEntry(const httplib::Request& req, const httplib::Response& res,
                                const Connection* connection) const;

    RequestJournal journal_;
};

}  // namespace vorna::backend
