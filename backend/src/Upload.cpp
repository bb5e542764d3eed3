#include "Upload.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Answers.h"
#include "MultipartParser.h"
#include "RequestRecorder.h"
#include "Text.h"
#include "platform/VRNHandles.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

// The file a multipart upload is being written to; removed unless it is kept.
class IncomingFile {
public:
    explicit IncomingFile(std::filesystem::path path)
        : path_(std::move(path)), file_(std::fopen(path_.c_str(), "wb")) {
        if (file_) {
            std::setvbuf(file_.get(), nullptr, _IOFBF, 256 * 1024);
        }
    }
    ~IncomingFile() {
        // Closed first, so that no buffered bytes go to a file that is removed.
        file_.close();
        if (!kept_) {
            std::error_code ignored;
            std::filesystem::remove(path_, ignored);
        }
    }
    IncomingFile(const IncomingFile&) = delete;
    IncomingFile& operator=(const IncomingFile&) = delete;

    bool isOpen() const { return static_cast<bool>(file_); }
    bool write(std::string_view bytes) {
        if (!file_ || std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
            return false;
        }
        size_ += bytes.size();
        return true;
    }
    std::int64_t size() const { return static_cast<std::int64_t>(size_); }
    // Moves the file to its place once every byte of it is on disk.
    bool keepAs(const std::filesystem::path& target) {
        if (!file_.close()) {
            return false;
        }
        std::error_code ec;
        std::filesystem::rename(path_, target, ec);
        kept_ = !ec;
        return kept_;
    }

private:
    std::filesystem::path path_;
    VRNStdioFile file_;
    std::size_t size_ = 0;
    bool kept_ = false;
};

}  // namespace

// The steps of one upload, in the order receive() runs them; each works on what the ones
// before it left in the members.
class UploadReceiver::Upload {
public:
    Upload(UploadReceiver& receiver, const Request& req, Response& res)
        : receiver_(receiver), req_(req), res_(res) {}
    Upload(const Upload&) = delete;
    Upload& operator=(const Upload&) = delete;

    void receive(const httplib::ContentReader& reader) {
        admit();
        const bool complete = readParts(reader);
        if (fault_ && receiver_.gate_.playFault(req_, res_, *fault_)) {
            return;
        }
        if (!validate(complete) || !keepFile()) {
            return;
        }
        RequestGate::guarded(res_, [this] { answer(storeRecord()); });
    }

private:
    // Whether to keep the file is settled before the body is read: an injected fault, the
    // caller and the boundary decide. A refused upload is still read to its end, so the client
    // sees the answer rather than a broken connection.
    void admit() {
        fault_ = receiver_.gate_.takeFault(req_);
        const bool faulted = fault_ && (fault_->drop || fault_->status != 0);
        refused_ = true;  // unless the checks below finish and pass
        RequestGate::guarded(res_,
                             [&] { refused_ = faulted || !authenticate() || !readBoundary(); });
    }

    bool authenticate() {
        caller_ = receiver_.api_.authorize(req_, res_);
        if (!caller_) {
            return false;
        }
        const std::optional<std::string>& bundleId = caller_->info.bundleId;
        if (!bundleId) {
            return true;
        }
        const auto app = receiver_.store_.findApplication(*bundleId);
        if (app && KitApi::belongsToAnother(*app, *caller_)) {
            KitApi::refuseForeign(res_, *bundleId);
            return false;
        }
        if (app && app->archived) {
            sendJson(res_, 403, json{{"error", "application archived"}, {"bundle_id", *bundleId}});
            return false;
        }
        return true;
    }

    bool readBoundary() {
        boundary_ = MultipartParser::boundaryOf(HttpServer::contentType(req_));
        if (!boundary_) {
            sendError(res_, 400, "the upload is not multipart/form-data with a boundary");
            return false;
        }
        return true;
    }

    // Reads the body to its end, the journal's share of it included, and the "file" part of an
    // admitted upload into an incoming file. True when the body arrived whole.
    bool readParts(const httplib::ContentReader& reader) {
        bool parsing = !refused_;
        if (parsing) {
            parser_.emplace(*boundary_);
            parser_->onPartBegin = [this](const MultipartParser::Part& part) {
                return beginPart(part);
            };
            parser_->onPartData = [this](std::string_view bytes) { return writePart(bytes); };
            parser_->onPartEnd = [this] { return endPart(); };
        }
        Connection* connection = HttpServer::current();
        const bool complete = reader([&](const char* data, std::size_t size) {
            const std::string_view bytes(data, size);
            if (connection != nullptr) {
                RequestRecorder::noteBodyPiece(*connection, bytes);
            }
            if (parsing) {
                parsing = parser_->feed(bytes);
            }
            return true;
        });
        if (connection != nullptr) {
            RequestRecorder::noteBodyEnd(*connection, complete);
        }
        return complete;
    }

    // Only the first part named "file" is kept; any other part is read past.
    bool beginPart(const MultipartParser::Part& part) {
        if (part.name == "file" && !received_ && !receiving_) {
            filePart_ = part;
            incoming_.emplace(receiver_.filesDir_ / (".incoming-" + id_));
            writeFailed_ = !incoming_->isOpen();
            receiving_ = true;
        }
        return true;
    }
    bool writePart(std::string_view bytes) {
        if (receiving_ && !writeFailed_) {
            writeFailed_ = !incoming_->write(bytes);
        }
        return true;
    }
    bool endPart() {
        if (receiving_) {
            receiving_ = false;
            received_ = true;
        }
        return true;
    }

    // False, with the answer set, unless a whole, admitted body brought a complete file part.
    bool validate(bool complete) {
        if (!complete) {
            res_.set_header("Connection", "close");
            if (res_.status == 413) {
                sendError(res_, 413,
                          "the upload is larger than this backend accepts (--max-body-mb)");
            } else {
                sendError(res_, 400, "the upload ended before its body was complete");
            }
            return false;
        }
        if (refused_) {
            return false;  // the answer is set already
        }
        if (!parser_->finish()) {
            sendError(res_, 400, "the upload is not a valid multipart body: " + parser_->error());
            return false;
        }
        if (!received_) {
            sendError(res_, 400, "the upload has no part named \"file\"");
            return false;
        }
        return true;
    }

    bool keepFile() {
        const std::filesystem::path& filesDir = receiver_.filesDir_;
        if (writeFailed_ || !incoming_->keepAs(filesDir / id_)) {
            sendError(res_, 500, "the file could not be stored in " + filesDir.string());
            return false;
        }
        return true;
    }

    Store::File storeRecord() {
        Store::File file;
        file.id = id_;
        file.fileName = filePart_.hasFileName ? filePart_.fileName : std::string("file");
        file.mimeType =
            filePart_.contentType.empty() ? "application/octet-stream" : filePart_.contentType;
        file.size = incoming_->size();
        file.clientId = caller_->info.clientId;
        file.uploadedAt = Text::nowIso8601();
        try {
            receiver_.store_.addFile(file);
        } catch (...) {
            // A file the index does not list is never served; the client sends it again.
            std::error_code ignored;
            std::filesystem::remove(receiver_.filesDir_ / id_, ignored);
            throw;
        }
        return file;
    }

    void answer(const Store::File& file) {
        const std::string name = file.fileName.empty() ? std::string("file") : file.fileName;
        const std::string url =
            receiver_.api_.publicBase(req_) + "/files/" + file.id + "/" + Text::percentEncode(name);
        sendJson(res_, 200,
                 json{{"url", url},
                      {"id", file.id},
                      {"file_name", file.fileName},
                      {"mime_type", file.mimeType},
                      {"size", file.size}});
    }

    UploadReceiver& receiver_;
    const Request& req_;
    Response& res_;
    const std::string id_ = Text::randomHex(12);

    std::optional<FaultInjector::Fault> fault_;
    bool refused_ = false;
    std::optional<Caller> caller_;
    std::optional<std::string> boundary_;

    std::optional<MultipartParser> parser_;
    MultipartParser::Part filePart_;
    std::optional<IncomingFile> incoming_;
    bool receiving_ = false;
    bool received_ = false;
    bool writeFailed_ = false;
};

UploadReceiver::UploadReceiver(KitApi& api, Store& store, RequestGate& gate,
                               std::filesystem::path filesDir)
    : api_(api), store_(store), gate_(gate), filesDir_(std::move(filesDir)) {}

void UploadReceiver::install(HttpServer& server) {
    server.Post(R"(/api/1\.0/files)",
                [this](const Request& req, Response& res, const httplib::ContentReader& reader) {
                    Upload(*this, req, res).receive(reader);
                });
}

}  // namespace vorna::backend
