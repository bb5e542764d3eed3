#include "FileDownloads.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Answers.h"
#include "Text.h"
#include "platform/VRNHandles.h"

namespace vorna::backend {

namespace {

std::string essence(std::string_view mimeType) {
    std::string type(Text::trim(mimeType.substr(0, mimeType.find(';'))));
    std::transform(type.begin(), type.end(), type.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return type;
}

}  // namespace

FileDownloads::FileDownloads(std::filesystem::path filesDir) : filesDir_(std::move(filesDir)) {}

bool FileDownloads::isRasterImage(std::string_view mimeType) {
    const std::string type = essence(mimeType);
    return type == "image/png" || type == "image/jpeg" || type == "image/gif" ||
           type == "image/webp";
}

std::string FileDownloads::servedType(std::string_view mimeType) {
    return isRasterImage(mimeType) ? essence(mimeType) : "application/octet-stream";
}

std::string FileDownloads::contentDisposition(std::string_view fileName) {
    if (fileName.empty()) {
        fileName = "file";
    }
    // Old clients read only the quoted name: printable ASCII with the quote and backslash
    // replaced. Everyone else reads the exact name from filename*.
    std::string fallback;
    for (const char c : fileName) {
        const auto u = static_cast<unsigned char>(c);
        fallback.push_back(u < 0x20 || u >= 0x7F || c == '"' || c == '\\' ? '_' : c);
    }
    return "attachment; filename=\"" + fallback + "\"; filename*=UTF-8''" +
           Text::percentEncode(fileName);
}

void FileDownloads::serve(const Store::File& file, httplib::Response& res) const {
    // Shared with the content provider, which streams the file after this returns; closed
    // after the last piece went out.
    auto descriptor = std::make_shared<VRNFileDescriptor>(
        ::open((filesDir_ / file.id).c_str(), O_RDONLY | O_CLOEXEC));
    if (!*descriptor) {
        sendError(res, 410, "the file is no longer in " + filesDir_.string());
        return;
    }
    const std::string type = servedType(file.mimeType);
    res.status = 200;
    res.set_header("Content-Disposition", contentDisposition(file.fileName));
    res.set_header("X-Content-Type-Options", "nosniff");
    // Should a browser ever render one anyway, it gets no script, no origin and no forms.
    res.set_header("Content-Security-Policy", std::string("sandbox; ") + kContentSecurityPolicy);
    // A file never changes under its id.
    res.set_header("Cache-Control", "private, max-age=86400");
    if (file.size == 0) {
        res.set_content("", type);
        return;
    }
    res.set_content_provider(
        static_cast<std::size_t>(file.size), type,
        [descriptor](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            char buffer[64 * 1024];
            const ssize_t n = ::pread(descriptor->get(), buffer, std::min(length, sizeof buffer),
                                      static_cast<off_t>(offset));
            if (n <= 0) {
                return false;
            }
            return sink.write(buffer, static_cast<std::size_t>(n));
        },
        [descriptor](bool) {});
}

}  // namespace vorna::backend
