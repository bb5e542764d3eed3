// Load on the reporting backend: clients that send reports with a screenshot at once, each the
// way the kit sends one (the file upload, then the report document naming the file's URL), for
// a fixed time. Afterwards every report that was accepted is read back, with its screenshot,
// from another backend where there are several, and compared with what was sent.
//
//   backend_load --url http://127.0.0.1:8642/ [--url http://127.0.0.1:8643/ ...]
//                [--clients 8] [--seconds 30] [--screenshot-kb 500]
//                [--client ID:SECRET] [--label NAME]
//
// Clients are spread over the URLs in turn. Prints one line: reports per second, the latency of
// a whole report (upload and post) at the median and the 99th percentile, and what was lost.
// Exit status 1 when a report failed or was not read back as sent. bench/backend_load/run.sh
// runs it against SQLite, PostgreSQL, and two backends sharing one PostgreSQL database.

#include <curl/curl.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;

constexpr const char* kBundleId = "com.example.load";
constexpr const char* kBoundary = "Boundary-0D3B6F7A-52C1-4E8B-9B0F-3A6C5E1D2F47";

struct Options {
    std::vector<std::string> urls;
    int clients = 8;
    double seconds = 30;
    std::size_t screenshotBytes = 500 * 1024;
    std::string clientId = "demo-client";
    std::string clientSecret = "demo-secret";
    std::string label = "backend";
};

struct Answer {
    long status = 0;  // 0: no answer
    std::string body;
    std::string error;
};

// One client's connection: a libcurl handle that keeps its connections alive between requests.
class Http {
public:
    Http() : curl_(curl_easy_init()) {}
    ~Http() { curl_easy_cleanup(curl_); }
    Http(const Http&) = delete;
    Http& operator=(const Http&) = delete;

    Answer post(const std::string& url, const std::string& body,
                const std::vector<std::string>& headers) {
        curl_easy_setopt(curl_, CURLOPT_POST, 1L);
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, body.data());
        curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        return perform(url, headers);
    }
    Answer get(const std::string& url, const std::vector<std::string>& headers) {
        curl_easy_setopt(curl_, CURLOPT_HTTPGET, 1L);
        return perform(url, headers);
    }

private:
    static std::size_t collect(char* data, std::size_t size, std::size_t count, void* target) {
        static_cast<std::string*>(target)->append(data, size * count);
        return size * count;
    }

    Answer perform(const std::string& url, const std::vector<std::string>& headers) {
        Answer answer;
        curl_slist* list = nullptr;
        for (const std::string& header : headers) {
            list = curl_slist_append(list, header.c_str());
        }
        // The backend answers at once; no waiting for "100 Continue" before a large body.
        list = curl_slist_append(list, "Expect:");
        curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
        curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, list);
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, collect);
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &answer.body);
        curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl_, CURLOPT_TIMEOUT, 120L);
        const CURLcode rc = curl_easy_perform(curl_);
        curl_slist_free_all(list);
        if (rc != CURLE_OK) {
            answer.error = curl_easy_strerror(rc);
            return answer;
        }
        curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &answer.status);
        return answer;
    }

    CURL* curl_;
};

// A document of the size and shape the kit sends: the facts and six histories of 120 samples.
std::string reportDocument(const std::string& description, const std::string& screenshotUrl) {
    json blackbox = json::object();
    for (const char* key :
         {"cpu_usage_history", "memory_usage_history", "disk_space_usage_history",
          "battery_usage_history", "network_usage_history", "device_orientation_history"}) {
        json list = json::array();
        for (int i = 0; i < 120; ++i) {
            list.push_back({{"value", std::to_string(10 + i % 13) + ".250"},
                            {"time_occurred", "2024-05-01T10:00:00+02:00"}});
        }
        blackbox[key] = std::move(list);
    }
    const json document = {{"title", description},
                           {"description", description},
                           {"tester_email", "tester@example.com"},
                           {"os", "Linux"},
                           {"platform", "x86_64"},
                           {"report_type", "manual"},
                           {"used_memory", 812},
                           {"battery_level", "0.75"},
                           {"screenshot_url", screenshotUrl},
                           {"blackbox", std::move(blackbox)}};
    return document.dump(2);
}

std::string pathOf(const std::string& url) {
    const std::size_t scheme = url.find("://");
    const std::size_t slash = url.find('/', scheme == std::string::npos ? 0 : scheme + 3);
    return slash == std::string::npos ? "/" : url.substr(slash + 1);
}

double percentile(std::vector<double> values, double share) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const auto index = static_cast<std::size_t>(share * static_cast<double>(values.size() - 1));
    return values[index];
}

struct Sent {
    long long id = 0;
    std::string document;
    std::string fileUrl;
};

struct ClientResult {
    std::vector<double> reportMs;
    std::vector<double> uploadMs;
    std::vector<double> postMs;
    std::vector<Sent> sent;
    std::size_t failed = 0;
    std::size_t verified = 0;
    std::string bearer;  // the client's Authorization header
    std::string firstProblem;

    void problem(const std::string& what) {
        if (firstProblem.empty()) {
            firstProblem = what;
        }
    }
};

double millisSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// One client: a token and a registration at its backend, then reports until the deadline.
void runClient(const Options& options, int index, const std::string& multipart,
               Clock::time_point deadline, ClientResult& result) {
    Http http;
    const std::string& base = options.urls[static_cast<std::size_t>(index) % options.urls.size()];
    const Answer token = http.post(base + "auth/oauth2/token",
                                   "grant_type=client_credentials&client_id=" + options.clientId +
                                       "&client_secret=" + options.clientSecret,
                                   {"Content-Type: application/x-www-form-urlencoded"});
    if (token.status != 200) {
        result.problem("token request answered " + std::to_string(token.status) + " " +
                       token.error + token.body);
        ++result.failed;
        return;
    }
    result.bearer =
        "Authorization: Bearer " + json::parse(token.body).at("access_token").get<std::string>();
    const std::string& bearer = result.bearer;
    const std::vector<std::string> jsonHeaders = {bearer, "Accept: application/json",
                                                  "Content-Type: application/json"};
    http.post(base + "api/1.0/issue_tracking/apps",
              json{{"bundle_id", kBundleId}, {"os", "Linux"}, {"platform", "x86_64"}}.dump(2),
              jsonHeaders);
    const std::vector<std::string> uploadHeaders = {
        std::string("Content-Type: multipart/form-data; boundary=") + kBoundary +
            ", application/json",
        bearer};

    for (int n = 0; Clock::now() < deadline; ++n) {
        const auto start = Clock::now();
        const Answer uploaded = http.post(base + "api/1.0/files", multipart, uploadHeaders);
        result.uploadMs.push_back(millisSince(start));
        if (uploaded.status != 200) {
            ++result.failed;
            result.problem("upload answered " + std::to_string(uploaded.status) + " " +
                           uploaded.error + uploaded.body);
            continue;
        }
        const std::string fileUrl = json::parse(uploaded.body).at("url");
        std::string document = reportDocument(
            "Load client " + std::to_string(index) + " report " + std::to_string(n), fileUrl);
        const auto posting = Clock::now();
        const Answer posted =
            http.post(base + "api/1.0/issue_tracking/apps/" + kBundleId, document, jsonHeaders);
        result.postMs.push_back(millisSince(posting));
        if (posted.status != 200) {
            ++result.failed;
            result.problem("report answered " + std::to_string(posted.status) + " " + posted.error +
                           posted.body);
            continue;
        }
        result.reportMs.push_back(millisSince(start));
        result.sent.push_back(
            {json::parse(posted.body).at("id").get<long long>(), std::move(document), fileUrl});
    }
}

// Reads every accepted report and its screenshot back, from the next backend in turn.
void verifyClient(const Options& options, int index, const std::string& screenshot,
                  ClientResult& result) {
    Http http;
    const std::string& base =
        options.urls[static_cast<std::size_t>(index + 1) % options.urls.size()];
    for (const Sent& sent : result.sent) {
        const Answer report =
            http.get(base + "api/reports/" + std::to_string(sent.id), {result.bearer});
        if (report.status != 200 || report.body != sent.document) {
            result.problem("report " + std::to_string(sent.id) + " read back as " +
                           std::to_string(report.status) + " with other bytes");
            continue;
        }
        const Answer file = http.get(base + pathOf(sent.fileUrl), {result.bearer});
        if (file.status != 200 || file.body != screenshot) {
            result.problem("the screenshot of report " + std::to_string(sent.id) +
                           " read back as " + std::to_string(file.status));
            continue;
        }
        ++result.verified;
    }
}

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) {
            std::fprintf(stderr, "backend_load: %s needs a value\n", arg.c_str());
            return false;
        }
        const std::string value = argv[++i];
        if (arg == "--url") {
            options.urls.push_back(value.ends_with("/") ? value : value + "/");
        } else if (arg == "--clients") {
            options.clients = std::max(1, std::atoi(value.c_str()));
        } else if (arg == "--seconds") {
            options.seconds = std::atof(value.c_str());
        } else if (arg == "--screenshot-kb") {
            options.screenshotBytes = static_cast<std::size_t>(std::atol(value.c_str())) * 1024;
        } else if (arg == "--client") {
            const std::size_t colon = value.find(':');
            options.clientId = value.substr(0, colon);
            options.clientSecret = colon == std::string::npos ? "" : value.substr(colon + 1);
        } else if (arg == "--label") {
            options.label = value;
        } else {
            std::fprintf(stderr, "backend_load: unknown argument %s\n", arg.c_str());
            return false;
        }
    }
    if (options.urls.empty()) {
        std::fprintf(stderr, "backend_load: at least one --url is needed\n");
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);

    // Bytes that do not compress, as a JPEG's do not.
    std::string screenshot(options.screenshotBytes, '\0');
    std::uint32_t state = 2463534242u;
    for (char& c : screenshot) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        c = static_cast<char>(state);
    }
    const std::string multipart =
        std::string("--") + kBoundary +
        "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"screenshot.jpg\"\r\n"
        "Content-Type: image/jpeg\r\n\r\n" +
        screenshot + "\r\n--" + kBoundary + "--\r\n";

    std::vector<ClientResult> results(static_cast<std::size_t>(options.clients));
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::duration_cast<Clock::duration>(
                                      std::chrono::duration<double>(options.seconds));
    {
        std::vector<std::jthread> clients;
        for (int i = 0; i < options.clients; ++i) {
            clients.emplace_back([&, i] {
                runClient(options, i, multipart, deadline, results[static_cast<std::size_t>(i)]);
            });
        }
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    {
        std::vector<std::jthread> verifiers;
        for (int i = 0; i < options.clients; ++i) {
            verifiers.emplace_back([&, i] {
                verifyClient(options, i, screenshot, results[static_cast<std::size_t>(i)]);
            });
        }
    }

    std::vector<double> reportMs;
    std::vector<double> uploadMs;
    std::vector<double> postMs;
    std::size_t accepted = 0;
    std::size_t failed = 0;
    std::size_t verified = 0;
    std::string problem;
    for (const ClientResult& result : results) {
        reportMs.insert(reportMs.end(), result.reportMs.begin(), result.reportMs.end());
        uploadMs.insert(uploadMs.end(), result.uploadMs.begin(), result.uploadMs.end());
        postMs.insert(postMs.end(), result.postMs.begin(), result.postMs.end());
        accepted += result.sent.size();
        failed += result.failed;
        verified += result.verified;
        if (problem.empty()) {
            problem = result.firstProblem;
        }
    }
    std::printf(
        "%s: %d clients, %zu backend(s), %.1f s, %zu KB screenshots: %zu reports accepted "
        "(%.1f/s), %zu failed; report p50 %.1f ms, p99 %.1f ms (upload p99 %.1f ms, post p99 "
        "%.1f ms); read back as sent: %zu of %zu\n",
        options.label.c_str(), options.clients, options.urls.size(), elapsed,
        options.screenshotBytes / 1024, accepted, static_cast<double>(accepted) / elapsed, failed,
        percentile(reportMs, 0.5), percentile(reportMs, 0.99), percentile(uploadMs, 0.99),
        percentile(postMs, 0.99), verified, accepted);
    if (!problem.empty()) {
        std::printf("%s: first problem: %s\n", options.label.c_str(), problem.c_str());
    }
    curl_global_cleanup();
    return failed == 0 && verified == accepted && accepted > 0 ? 0 : 1;
}
