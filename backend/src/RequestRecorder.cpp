#include "RequestRecorder.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "LogLine.h"
#include "Text.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

// Bodies up to this size are kept whole in the journal; of larger ones the size and their
// first bytes.
constexpr std::size_t kJournalBodyLimit = 512 * 1024;
constexpr std::size_t kJournalBodyHead = 4 * 1024;
constexpr std::size_t kJournalEntries = 200;
constexpr std::size_t kJournalBytes = std::size_t{16} * 1024 * 1024;

// The pages and lists that show what was received, and the admin calls, are not traffic of
// the kit; the journal leaves them out so that tests see only what their client sent.
bool isJournaled(const std::string& path) {
    return !(path == "/" || path == "/reports" || path == "/help" || path == "/favicon.ico" ||
             path.starts_with("/admin/") || path.starts_with("/files/") ||
             path.starts_with("/api/reports"));
}

// The header lines of a raw request head as [name, value] pairs, in the order they came.
json headerLines(std::string_view head) {
    json headers = json::array();
    const std::size_t firstLineEnd = head.find("\r\n");
    head.remove_prefix(firstLineEnd == std::string_view::npos ? head.size() : firstLineEnd + 2);
    while (!head.empty()) {
        const std::size_t end = head.find("\r\n");
        const std::string_view line = head.substr(0, end);
        head.remove_prefix(end == std::string_view::npos ? head.size() : end + 2);
        if (line.empty()) {
            break;
        }
        const std::size_t colon = line.find(':');
        headers.push_back(json::array({std::string(line.substr(0, colon)),
                                       colon == std::string_view::npos
                                           ? std::string()
                                           : std::string(Text::trim(line.substr(colon + 1)))}));
    }
    return headers;
}

}  // namespace

RequestRecorder::RequestRecorder() : journal_(kJournalEntries, kJournalBytes) {}

void RequestRecorder::noteBodyPiece(Connection& connection, std::string_view bytes) {
    std::string& head = connection.streamedBodyHead;
    connection.streamedBodySize += bytes.size();
    if (connection.streamedBodySize <= kJournalBodyLimit) {
        head.append(bytes);
    } else if (head.size() > kJournalBodyHead) {
        head.resize(kJournalBodyHead);
        head.shrink_to_fit();
    } else {
        head.append(bytes.substr(0, kJournalBodyHead - head.size()));
    }
}

void RequestRecorder::noteBodyEnd(Connection& connection, bool complete) {
    connection.streamedBodyComplete = complete && connection.streamedBodySize <= kJournalBodyLimit;
}

void RequestRecorder::record(const Request& req, const Response& res) {
    Connection* connection = HttpServer::current();
    if (connection != nullptr) {
        if (connection->recorded) {
            return;
        }
        connection->recorded = true;
    }
    const bool dropped = connection != nullptr && connection->dropped();
    const std::size_t bodySize = connection != nullptr && connection->streamedBodySize > 0
                                     ? connection->streamedBodySize
                                     : req.body.size();
    double millis = 0;
    if (connection != nullptr) {
        millis = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() -
                                                           connection->requestStart())
                     .count();
    }
    char timing[32];
    std::snprintf(timing, sizeof timing, "%.1fms", millis);
    // httplib learns the peer only from a request line it could parse.
    const std::string peer = req.remote_addr.empty() && connection != nullptr
                                 ? connection->peer()
                                 : req.remote_addr + ":" + std::to_string(req.remote_port);
    std::string line = Text::nowIso8601() + " " + peer + " \"" + LogLine::escape(req.method) + " " +
                       LogLine::escape(std::string_view(req.target).substr(0, 300)) + "\" " +
                       (dropped ? std::string("dropped") : std::to_string(res.status)) + " " +
                       std::to_string(bodySize) + "B " + timing;
    if (connection != nullptr && !connection->note.empty()) {
        line += " " + LogLine::escape(connection->note);
    }
    LogLine::write(std::move(line));

    if (isJournaled(req.path)) {
        journal_.add(journalEntry(req, res, connection));
    }
}

json RequestRecorder::journalEntry(const Request& req, const Response& res,
                                   const Connection* connection) const {
    json entry = {{"time", Text::nowIso8601()},
                  {"method", req.method},
                  {"target", req.target},
                  {"path", req.path},
                  {"version", req.version}};
    entry["headers"] = connection != nullptr && !connection->rawHead().empty()
                           ? headerLines(connection->rawHead())
                           : json::array();

    const bool streamed = connection != nullptr && connection->streamedBodySize > 0;
    const std::size_t size = streamed ? connection->streamedBodySize : req.body.size();
    entry["body_size"] = size;
    const bool whole = streamed ? connection->streamedBodyComplete : size <= kJournalBodyLimit;
    const std::string_view body = streamed ? connection->streamedBodyHead : req.body;
    const auto keep = [&entry](const char* textKey, const char* base64Key, std::string_view bytes) {
        if (Text::isValidUtf8(bytes)) {
            entry[textKey] = std::string(bytes);
        } else {
            entry[base64Key] = Text::base64(bytes);
        }
    };
    if (size > 0 && whole) {
        keep("body", "body_base64", body);
    } else if (size > 0) {
        entry["body_omitted"] = true;
        // Cut where a character ends, so that a text body's head stays text.
        std::string_view head = body.substr(0, kJournalBodyHead);
        for (std::size_t cut = 0; cut < 4 && cut < head.size(); ++cut) {
            if (Text::isValidUtf8(head.substr(0, head.size() - cut))) {
                head.remove_suffix(cut);
                break;
            }
        }
        keep("body_head", "body_head_base64", head);
    }
    const bool dropped = connection != nullptr && connection->dropped();
    entry["dropped"] = dropped;
    entry["status"] = dropped ? json(nullptr) : json(res.status);
    if (connection != nullptr && !connection->note.empty()) {
        entry["note"] = connection->note;
    }
    return entry;
}

}  // namespace vorna::backend
