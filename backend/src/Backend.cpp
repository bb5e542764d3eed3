#include "Backend.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <thread>

#include "HelpPage.h"
#include "MultipartParser.h"
#include "ReportPage.h"
#include "Text.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

// Bodies up to this size are kept whole in the journal; of larger ones only the size.
constexpr std::size_t kJournalBodyLimit = 512 * 1024;
constexpr std::size_t kJournalCapacity = 200;
constexpr std::size_t kDefaultPageReports = 100;
constexpr std::size_t kDefaultListReports = 1000;

// The keys the kit's branding parser needs; without any of them it ignores the branding.
constexpr const char* kBrandingKeys[] = {
    "text_color", "background", "placeholder_color", "highlighted_text_color",
    "slogan",     "logo_url"};

void sendJson(Response& res, int status, const json& body) {
    res.status = status;
    res.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

void sendError(Response& res, int status, const std::string& message) {
    sendJson(res, status, json{{"error", message}});
}

std::optional<json> parseJsonBody(const Request& req, Response& res, bool requireObject) {
    try {
        json body = json::parse(req.body);
        if (requireObject && !body.is_object()) {
            sendError(res, 400, "the body is JSON but not an object");
            return std::nullopt;
        }
        return body;
    } catch (const json::parse_error& e) {
        sendError(res, 400, std::string("the body is not JSON: ") + e.what());
        return std::nullopt;
    }
}

std::string stringMember(const json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

std::size_t sizeParam(const Request& req, const char* name, std::size_t fallback) {
    if (!req.has_param(name)) {
        return fallback;
    }
    const std::string text = req.get_param_value(name);
    std::size_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size() && value > 0 ? value : fallback;
}

bool isLoopback(const std::string& address) {
    return address.starts_with("127.") || address == "::1" || address.starts_with("::ffff:127.");
}

// The pages and lists that show what was received, and the admin calls, are not traffic of
// the kit; the journal leaves them out so that tests see only what their client sent.
bool isJournaled(const std::string& path) {
    return !(path == "/" || path == "/reports" || path == "/help" || path == "/favicon.ico" ||
             path.starts_with("/admin/") || path.starts_with("/files/") ||
             path.starts_with("/api/reports"));
}

// Form fields of a token request, split on '&' and '=' only: clients put the id and secret
// in as they stand.
std::vector<std::pair<std::string, std::string>> formFields(std::string_view body) {
    std::vector<std::pair<std::string, std::string>> fields;
    while (!body.empty()) {
        const std::size_t amp = body.find('&');
        const std::string_view pair = body.substr(0, amp);
        const std::size_t equals = pair.find('=');
        fields.emplace_back(std::string(pair.substr(0, equals)),
                            equals == std::string_view::npos
                                ? std::string()
                                : std::string(pair.substr(equals + 1)));
        if (amp == std::string_view::npos) {
            break;
        }
        body.remove_prefix(amp + 1);
    }
    return fields;
}

// A value as sent or percent-decoded: a client that encodes and one that does not both match.
bool formValueIs(const std::string& sent, const std::string& expected) {
    return sent == expected || Text::percentDecode(sent, true) == expected ||
           Text::percentDecode(sent, false) == expected;
}

// The file a multipart upload is being written to; removed unless it is kept.
class IncomingFile {
public:
    explicit IncomingFile(std::filesystem::path path) : path_(std::move(path)) {
        file_ = std::fopen(path_.c_str(), "wb");
        if (file_ != nullptr) {
            std::setvbuf(file_, nullptr, _IOFBF, 256 * 1024);
        }
    }
    ~IncomingFile() {
        if (file_ != nullptr) {
            std::fclose(file_);
        }
        if (!kept_) {
            std::error_code ignored;
            std::filesystem::remove(path_, ignored);
        }
    }
    IncomingFile(const IncomingFile&) = delete;
    IncomingFile& operator=(const IncomingFile&) = delete;

    bool isOpen() const { return file_ != nullptr; }
    bool write(std::string_view bytes) {
        if (file_ == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
            return false;
        }
        size_ += bytes.size();
        return true;
    }
    std::int64_t size() const { return static_cast<std::int64_t>(size_); }
    bool keepAs(const std::filesystem::path& target) {
        const bool closed = std::fclose(file_) == 0;
        file_ = nullptr;
        std::error_code ec;
        if (!closed) {
            return false;
        }
        std::filesystem::rename(path_, target, ec);
        kept_ = !ec;
        return kept_;
    }

private:
    std::filesystem::path path_;
    std::FILE* file_ = nullptr;
    std::size_t size_ = 0;
    bool kept_ = false;
};

// An open file that the answer streams from; closed after the last piece went out.
class OpenFile {
public:
    explicit OpenFile(int fd) : fd_(fd) {}
    ~OpenFile() { ::close(fd_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

}  // namespace

Backend::Backend(BackendSettings settings, Store& store)
    : settings_(std::move(settings)),
      filesDir_(settings_.dataDir / "files"),
      store_(store),
      journal_(kJournalCapacity) {}

void Backend::install(HttpServer& server) {
    using Handler = void (Backend::*)(const Request&, Response&);
    const auto apiRoute = [this](Handler handler) {
        return [this, handler](const Request& req, Response& res) {
            api(req, res, [&] { (this->*handler)(req, res); });
        };
    };
    const auto adminRoute = [this](Handler handler) {
        return [this, handler](const Request& req, Response& res) {
            admin(req, res, [&] { (this->*handler)(req, res); });
        };
    };
    const auto viewRoute = [this](Handler handler) {
        return [this, handler](const Request& req, Response& res) {
            guarded(res, [&] { (this->*handler)(req, res); });
        };
    };

    server.Post(R"(/auth/oauth2/token)", apiRoute(&Backend::issueToken));
    server.Post(R"(/api/1\.0/issue_tracking/apps/?)", apiRoute(&Backend::application));
    server.Post(R"(/api/1\.0/issue_tracking/apps/(.+))", apiRoute(&Backend::receiveReport));
    server.Get(R"(/api/1\.0/white-labeling)", apiRoute(&Backend::whiteLabeling));
    server.Post(R"(/api/1\.0/files)",
                [this](const Request& req, Response& res, const httplib::ContentReader& reader) {
                    upload(req, res, reader);
                });

    server.Get(R"(/files/([0-9a-f]{1,64})(/.*)?)", viewRoute(&Backend::serveFile));
    server.Get(R"(/(reports)?)", viewRoute(&Backend::reportsPage));
    server.Get(R"(/help)", [](const Request&, Response& res) {
        res.set_content(helpPageHtml(), "text/html; charset=utf-8");
    });
    server.Get(R"(/api/reports)", viewRoute(&Backend::reportsJson));
    server.Get(R"(/api/reports/([0-9]+))", viewRoute(&Backend::reportDocument));

    server.Post(R"(/admin/apps/([^/]+)/(archive|unarchive))", adminRoute(&Backend::setArchived));
    server.Get(R"(/admin/apps)", adminRoute(&Backend::listApplications));
    server.Put(R"(/admin/branding)", adminRoute(&Backend::setBranding));
    server.Post(R"(/admin/branding)", adminRoute(&Backend::setBranding));
    server.Delete(R"(/admin/branding)", adminRoute(&Backend::clearBranding));
    server.Post(R"(/admin/faults)", adminRoute(&Backend::addFaults));
    server.Get(R"(/admin/faults)", [this](const Request& req, Response& res) {
        admin(req, res, [&] { sendJson(res, 200, json{{"pending", faults_.pending()}}); });
    });
    server.Delete(R"(/admin/faults)", [this](const Request& req, Response& res) {
        admin(req, res, [&] {
            faults_.clear();
            sendJson(res, 200, json{{"pending", json::array()}});
        });
    });
    server.Get(R"(/admin/requests)", [this](const Request& req, Response& res) {
        admin(req, res, [&] { sendJson(res, 200, journal_.list()); });
    });
    server.Delete(R"(/admin/requests)", [this](const Request& req, Response& res) {
        admin(req, res, [&] {
            journal_.clear();
            sendJson(res, 200, json::array());
        });
    });

    // Anything else: a clear 404 rather than an empty one, faults included, so a client that
    // calls a wrong path sees it in its tests.
    const auto unknown = [this](const Request& req, Response& res) {
        api(req, res, [&] {
            sendJson(
                res, 404,
                json{{"error", "no such endpoint"}, {"method", req.method}, {"path", req.path}});
        });
    };
    server.Get(R"(.*)", unknown);
    server.Post(R"(.*)", unknown);
    server.Put(R"(.*)", unknown);
    server.Delete(R"(.*)", unknown);

    server.set_exception_handler([](const Request&, Response& res, std::exception_ptr error) {
        std::string what = "unknown error";
        try {
            if (error) {
                std::rethrow_exception(error);
            }
        } catch (const std::exception& e) {
            what = e.what();
        } catch (...) {
        }
        sendError(res, 500, "internal error: " + what);
    });
    server.set_logger([this](const Request& req, const Response& res) { record(req, res); });
}

template <typename Handle>
void Backend::guarded(Response& res, Handle&& handle) {
    try {
        handle();
    } catch (const std::exception& e) {
        sendError(res, 500, std::string("internal error: ") + e.what());
    }
}

template <typename Handle>
void Backend::api(const Request& req, Response& res, Handle&& handle) {
    if (const auto fault = faults_.take(req.path)) {
        if (Connection* connection = HttpServer::current()) {
            connection->note = "fault: " + FaultInjector::describe(*fault);
        }
        if (fault->delayMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(fault->delayMs));
        }
        if (fault->drop) {
            drop(req, res);
            return;
        }
        if (fault->status != 0) {
            answerFault(res, *fault);
            return;
        }
    }
    guarded(res, handle);
}

template <typename Handle>
void Backend::admin(const Request& req, Response& res, Handle&& handle) {
    if (!isLoopback(req.remote_addr)) {
        sendError(res, 403, "admin calls are answered for loopback peers only");
        return;
    }
    guarded(res, handle);
}

void Backend::answerFault(Response& res, const FaultInjector::Fault& fault) {
    res.status = fault.status;
    if (fault.body) {
        res.set_content(*fault.body, "application/json");
    } else {
        sendJson(res, fault.status, json{{"error", "injected fault"}, {"status", fault.status}});
    }
}

void Backend::drop(const Request& req, Response& res) {
    Connection* connection = HttpServer::current();
    if (connection == nullptr) {
        sendError(res, 500, "cannot drop a connection outside a request");
        return;
    }
    connection->drop();
    record(req, res);
}

std::optional<Backend::Caller> Backend::authorize(const Request& req, Response& res) {
    const auto refuse = [&res](const std::string& description) {
        res.set_header("WWW-Authenticate", "Bearer error=\"invalid_token\"");
        sendJson(res, 401, json{{"error", "invalid_token"}, {"error_description", description}});
        return std::nullopt;
    };
    const std::string header = req.get_header_value("Authorization");
    const std::string_view value = Text::trim(header);
    if (!Text::istartsWith(value, "Bearer ")) {
        return refuse("the request carries no \"Authorization: Bearer\" token");
    }
    const std::string token(Text::trim(value.substr(7)));
    const auto found = store_.findToken(token);
    if (!found) {
        return refuse("unknown access token");
    }
    if (settings_.expireTokens && found->expiresAt <= Text::nowUnixSeconds()) {
        return refuse("the access token has expired");
    }
    return Caller{token, *found};
}

bool Backend::isArchived(const std::optional<std::string>& bundleId) {
    if (!bundleId) {
        return false;
    }
    const auto app = store_.findApplication(*bundleId);
    return app && app->archived;
}

std::string Backend::publicBase(const Request& req) const {
    std::string host = req.get_header_value("Host");
    if (host.empty()) {
        host = fallbackHost_;
    }
    return "http://" + host;
}

void Backend::issueToken(const Request& req, Response& res) {
    std::optional<std::string> grantType;
    std::optional<std::string> clientId;
    std::optional<std::string> clientSecret;
    for (const auto& [name, value] : formFields(req.body)) {
        const std::string key = Text::percentDecode(name, true);
        if (key == "grant_type" && !grantType) {
            grantType = value;
        } else if (key == "client_id" && !clientId) {
            clientId = value;
        } else if (key == "client_secret" && !clientSecret) {
            clientSecret = value;
        }
    }
    res.set_header("Cache-Control", "no-store");
    if (!grantType || !formValueIs(*grantType, "client_credentials")) {
        sendJson(res, 400,
                 json{{"error", "unsupported_grant_type"},
                      {"error_description", "only grant_type=client_credentials is offered"}});
        return;
    }
    if (!clientId || !clientSecret) {
        sendJson(res, 400,
                 json{{"error", "invalid_request"},
                      {"error_description", "client_id and client_secret are required"}});
        return;
    }
    const auto client = std::find_if(
        settings_.clients.begin(), settings_.clients.end(), [&](const ClientCredentials& c) {
            return formValueIs(*clientId, c.id) && formValueIs(*clientSecret, c.secret);
        });
    if (client == settings_.clients.end()) {
        res.set_header("WWW-Authenticate", "Basic realm=\"vorna\"");
        sendJson(res, 401,
                 json{{"error", "invalid_client"},
                      {"error_description", "unknown client or wrong secret"}});
        return;
    }
    const std::string token = Text::randomHex(32);
    const std::int64_t now = Text::nowUnixSeconds();
    store_.addToken(token, client->id, now, now + kTokenLifetimeSeconds);
    sendJson(res, 200,
             json{{"access_token", token},
                  {"expires_in", kTokenLifetimeSeconds},
                  {"token_type", "Bearer"}});
}

void Backend::application(const Request& req, Response& res) {
    const auto caller = authorize(req, res);
    if (!caller) {
        return;
    }
    const auto body = parseJsonBody(req, res, true);
    if (!body) {
        return;
    }
    const std::string bundleId = stringMember(*body, "bundle_id");
    if (bundleId.empty()) {
        sendError(res, 400, "\"bundle_id\" is required");
        return;
    }
    store_.setTokenApplication(caller->token, bundleId);
    const auto checkArchived = body->find("check_archived");
    if (checkArchived != body->end() && checkArchived->is_boolean() && checkArchived->get<bool>()) {
        // The enabled check: 404 is how the kit learns that its application is archived.
        const auto app = store_.findApplication(bundleId);
        const bool archived = app && app->archived;
        sendJson(res, archived ? 404 : 200,
                 json{{"bundle_id", bundleId},
                      {"archived", archived},
                      {"registered", app && app->registered}});
        return;
    }
    const bool created = store_.registerApplication(bundleId, stringMember(*body, "os"),
                                                    stringMember(*body, "platform"));
    const auto app = store_.findApplication(bundleId);
    sendJson(res, 200,
             json{{"bundle_id", bundleId},
                  {"os", app ? app->os : std::string()},
                  {"platform", app ? app->platform : std::string()},
                  {"created", created},
                  {"archived", app && app->archived}});
}

void Backend::whiteLabeling(const Request& req, Response& res) {
    if (!authorize(req, res)) {
        return;
    }
    const auto branding = store_.branding();
    if (!branding) {
        sendError(res, 404, "no branding is set");
        return;
    }
    res.status = 200;
    res.set_content(*branding, "application/json");
}

void Backend::upload(const Request& req, Response& res, const httplib::ContentReader& reader) {
    Connection* connection = HttpServer::current();
    const auto fault = faults_.take(req.path);
    if (fault && connection != nullptr) {
        connection->note = "fault: " + FaultInjector::describe(*fault);
    }

    // Whether to keep the file is settled before the body is read; a refused upload is still
    // read to its end, so the client sees the answer rather than a broken connection.
    bool refused = fault && (fault->drop || fault->status != 0);
    std::optional<Caller> caller;
    std::optional<std::string> boundary;
    try {
        if (!refused) {
            caller = authorize(req, res);
            refused = !caller;
        }
        if (!refused && isArchived(caller->info.bundleId)) {
            sendJson(
                res, 403,
                json{{"error", "application archived"}, {"bundle_id", *caller->info.bundleId}});
            refused = true;
        }
        if (!refused) {
            boundary = MultipartParser::boundaryOf(HttpServer::contentType(req));
            if (!boundary) {
                sendError(res, 400, "the upload is not multipart/form-data with a boundary");
                refused = true;
            }
        }
    } catch (const std::exception& e) {
        sendError(res, 500, std::string("internal error: ") + e.what());
        refused = true;
    }

    const std::string id = Text::randomHex(12);
    std::optional<IncomingFile> incoming;
    MultipartParser::Part filePart;
    bool receiving = false;
    bool received = false;
    bool writeFailed = false;
    MultipartParser parser(boundary.value_or(""));
    parser.onPartBegin = [&](const MultipartParser::Part& part) {
        if (part.name == "file" && !received && !receiving) {
            filePart = part;
            incoming.emplace(filesDir_ / (".incoming-" + id));
            writeFailed = !incoming->isOpen();
            receiving = true;
        }
        return true;
    };
    parser.onPartData = [&](std::string_view bytes) {
        if (receiving && !writeFailed) {
            writeFailed = !incoming->write(bytes);
        }
        return true;
    };
    parser.onPartEnd = [&] {
        if (receiving) {
            receiving = false;
            received = true;
        }
        return true;
    };

    bool parsing = !refused;
    std::size_t bodySize = 0;
    const bool complete = reader([&](const char* data, std::size_t size) {
        bodySize += size;
        if (connection != nullptr) {
            connection->streamedBodySize = bodySize;
            if (bodySize <= kJournalBodyLimit) {
                connection->streamedBodyHead.append(data, size);
            } else {
                connection->streamedBodyHead.clear();
            }
        }
        if (parsing) {
            parsing = parser.feed(std::string_view(data, size));
        }
        return true;
    });
    if (connection != nullptr) {
        connection->streamedBodyComplete = complete && bodySize <= kJournalBodyLimit;
    }

    if (fault && fault->delayMs > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(fault->delayMs));
    }
    if (fault && fault->drop) {
        drop(req, res);
        return;
    }
    if (fault && fault->status != 0) {
        answerFault(res, *fault);
        return;
    }
    if (!complete) {
        res.set_header("Connection", "close");
        if (res.status == 413) {
            sendError(res, 413, "the upload is larger than this backend accepts (--max-body-mb)");
        } else {
            sendError(res, 400, "the upload ended before its body was complete");
        }
        return;
    }
    if (refused) {
        return;  // the answer is set already
    }
    if (!parser.finish()) {
        sendError(res, 400, "the upload is not a valid multipart body: " + parser.error());
        return;
    }
    if (!received) {
        sendError(res, 400, "the upload has no part named \"file\"");
        return;
    }
    if (writeFailed || !incoming->keepAs(filesDir_ / id)) {
        sendError(res, 500, "the file could not be stored in " + filesDir_.string());
        return;
    }
    guarded(res, [&] {
        Store::File file;
        file.id = id;
        file.fileName = filePart.hasFileName ? filePart.fileName : std::string("file");
        file.mimeType =
            filePart.contentType.empty() ? "application/octet-stream" : filePart.contentType;
        file.size = incoming->size();
        file.clientId = caller->info.clientId;
        file.uploadedAt = Text::nowIso8601();
        store_.addFile(file);
        const std::string name = file.fileName.empty() ? std::string("file") : file.fileName;
        sendJson(res, 200,
                 json{{"url", publicBase(req) + "/files/" + id + "/" + Text::percentEncode(name)},
                      {"id", id},
                      {"file_name", file.fileName},
                      {"mime_type", file.mimeType},
                      {"size", file.size}});
    });
}

void Backend::receiveReport(const Request& req, Response& res) {
    const auto caller = authorize(req, res);
    if (!caller) {
        return;
    }
    const std::string bundleId = req.matches[1];
    // The application decides before the content is looked at: an archived application gets
    // 403 whatever it sends.
    const auto app = store_.findApplication(bundleId);
    if (app && app->archived) {
        sendJson(res, 403, json{{"error", "application archived"}, {"bundle_id", bundleId}});
        return;
    }
    const auto document = parseJsonBody(req, res, true);
    if (!document) {
        return;
    }
    if (!app) {
        store_.registerApplication(bundleId, stringMember(*document, "os"),
                                   stringMember(*document, "platform"));
    }
    store_.setTokenApplication(caller->token, bundleId);
    Store::Report report;
    report.bundleId = bundleId;
    report.receivedAt = Text::nowIso8601();
    report.reportType = stringMember(*document, "report_type");
    report.description = stringMember(*document, "description");
    report.testerEmail = stringMember(*document, "tester_email");
    report.clientId = caller->info.clientId;
    report.body = req.body;
    const std::int64_t id = store_.addReport(report);
    sendJson(res, 200,
             json{{"id", id},
                  {"bundle_id", bundleId},
                  {"received_at", report.receivedAt},
                  {"url", publicBase(req) + "/api/reports/" + std::to_string(id)}});
}

void Backend::serveFile(const Request& req, Response& res) {
    const auto file = store_.findFile(req.matches[1]);
    if (!file) {
        sendError(res, 404, "no such file");
        return;
    }
    const int fd = ::open((filesDir_ / file->id).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        sendError(res, 410, "the file is no longer in " + filesDir_.string());
        return;
    }
    auto open = std::make_shared<OpenFile>(fd);
    res.status = 200;
    if (file->size == 0) {
        res.set_content("", file->mimeType);
        return;
    }
    res.set_content_provider(
        static_cast<std::size_t>(file->size), file->mimeType,
        [open](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            char buffer[64 * 1024];
            const ssize_t n = ::pread(open->fd(), buffer, std::min(length, sizeof buffer),
                                      static_cast<off_t>(offset));
            if (n <= 0) {
                return false;
            }
            return sink.write(buffer, static_cast<std::size_t>(n));
        },
        [open](bool) {});
}

void Backend::reportsPage(const Request& req, Response& res) {
    const auto reports = store_.reports(sizeParam(req, "limit", kDefaultPageReports),
                                        req.get_param_value("bundle_id"));
    res.status = 200;
    res.set_content(ReportPage::render(reports), "text/html; charset=utf-8");
}

void Backend::reportsJson(const Request& req, Response& res) {
    const auto reports = store_.reports(sizeParam(req, "limit", kDefaultListReports),
                                        req.get_param_value("bundle_id"));
    json list = json::array();
    for (const auto& report : reports) {
        json entry = {{"id", report.id},
                      {"bundle_id", report.bundleId},
                      {"received_at", report.receivedAt},
                      {"report_type", report.reportType},
                      {"description", report.description},
                      {"tester_email", report.testerEmail},
                      {"client_id", report.clientId},
                      {"size", report.body.size()}};
        try {
            entry["document"] = json::parse(report.body);
        } catch (const json::exception&) {
            entry["document"] = nullptr;
        }
        list.push_back(std::move(entry));
    }
    sendJson(res, 200, list);
}

void Backend::reportDocument(const Request& req, Response& res) {
    std::int64_t id = 0;
    const std::string text = req.matches[1];
    std::from_chars(text.data(), text.data() + text.size(), id);
    const auto report = store_.report(id);
    if (!report) {
        sendError(res, 404, "no such report");
        return;
    }
    res.status = 200;
    res.set_content(report->body, "application/json");
}

void Backend::setArchived(const Request& req, Response& res) {
    const std::string bundleId = req.matches[1];
    const bool archived = req.matches[2] == "archive";
    store_.setArchived(bundleId, archived);
    sendJson(res, 200, json{{"bundle_id", bundleId}, {"archived", archived}});
}

void Backend::listApplications(const Request&, Response& res) {
    json list = json::array();
    for (const auto& app : store_.applications()) {
        list.push_back(json{{"bundle_id", app.bundleId},
                            {"os", app.os},
                            {"platform", app.platform},
                            {"archived", app.archived},
                            {"registered", app.registered},
                            {"created_at", app.createdAt}});
    }
    sendJson(res, 200, list);
}

void Backend::setBranding(const Request& req, Response& res) {
    const auto branding = parseJsonBody(req, res, true);
    if (!branding) {
        return;
    }
    // Kept byte for byte: the white-labeling answer is exactly what was set.
    store_.setBranding(req.body);
    json missing = json::array();
    for (const char* key : kBrandingKeys) {
        if (!branding->contains(key)) {
            missing.push_back(key);
        }
    }
    sendJson(res, 200, json{{"branding", *branding}, {"missing", missing}});
}

void Backend::clearBranding(const Request&, Response& res) {
    store_.clearBranding();
    sendJson(res, 200, json{{"branding", nullptr}});
}

void Backend::addFaults(const Request& req, Response& res) {
    const auto body = parseJsonBody(req, res, false);
    if (!body) {
        return;
    }
    std::vector<FaultInjector::Fault> added;
    const json items = body->is_array() ? *body : json::array({*body});
    for (const auto& item : items) {
        std::string error;
        auto fault = FaultInjector::fromJson(item, error);
        if (!fault) {
            sendError(res, 400, error);
            return;
        }
        added.push_back(std::move(*fault));
    }
    for (auto& fault : added) {
        faults_.add(std::move(fault));
    }
    sendJson(res, 200, json{{"pending", faults_.pending()}});
}

void Backend::record(const Request& req, const Response& res) {
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
    std::string line = Text::nowIso8601() + " " + req.remote_addr + ":" +
                       std::to_string(req.remote_port) + " \"" + req.method + " " +
                       req.target.substr(0, 300) + "\" " +
                       (dropped ? std::string("dropped") : std::to_string(res.status)) + " " +
                       std::to_string(bodySize) + "B " + timing;
    if (connection != nullptr && !connection->note.empty()) {
        line += " " + connection->note;
    }
    line += "\n";
    // One write per line, so that lines of concurrent requests do not mix.
    std::fputs(line.c_str(), stderr);

    if (isJournaled(req.path)) {
        journal_.add(journalEntry(req, res, connection));
    }
}

json Backend::journalEntry(const Request& req, const Response& res,
                           const Connection* connection) const {
    json entry = {{"time", Text::nowIso8601()},
                  {"method", req.method},
                  {"target", req.target},
                  {"path", req.path},
                  {"version", req.version}};
    json headers = json::array();
    if (connection != nullptr && !connection->rawHead().empty()) {
        std::string_view head = connection->rawHead();
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
    }
    entry["headers"] = std::move(headers);

    const bool streamed = connection != nullptr && connection->streamedBodySize > 0;
    const std::size_t size = streamed ? connection->streamedBodySize : req.body.size();
    entry["body_size"] = size;
    const bool whole = streamed ? connection->streamedBodyComplete : size <= kJournalBodyLimit;
    if (size > 0 && whole) {
        const std::string& body = streamed ? connection->streamedBodyHead : req.body;
        if (Text::isValidUtf8(body)) {
            entry["body"] = body;
        } else {
            entry["body_base64"] = Text::base64(body);
        }
    } else if (size > 0) {
        entry["body_omitted"] = true;
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
