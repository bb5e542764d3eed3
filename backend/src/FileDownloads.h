#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <httplib.h>

#include "Store.h"

namespace vorna::backend {

// Serves the files clients uploaded. Their bytes are whatever a client sent, so they are
// never served as something a browser would run on this origin, where the pages and the admin
// calls live: every file is a download (Content-Disposition: attachment), its type is never
// sniffed, and only a raster image keeps its own Content-Type, so that an <img> on the pages
// can show a screenshot. HTML, SVG and anything else go out as application/octet-stream.
class FileDownloads {
public:
    explicit FileDownloads(std::filesystem::path filesDir);

    void serve(const Store::File& file, httplib::Response& res) const;

    // PNG, JPEG, GIF or WebP, by the type the client declared.
    static bool isRasterImage(std::string_view mimeType);
    static std::string servedType(std::string_view mimeType);
    // attachment; filename="<ASCII stand-in>"; filename*=UTF-8''<the name, percent-encoded>
    static std::string contentDisposition(std::string_view fileName);

private:
    const std::filesystem::path filesDir_;
};

}  // namespace vorna::backend
