// The pages people read reports on, the files they download from them, and who may read them.
#include "BackendTestSupport.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

const std::string kReportPath = std::string("/api/1.0/issue_tracking/apps/") + kBundleId;

std::string base64(const std::string& bytes) {
    static constexpr char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t n = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16;
        if (i + 1 < bytes.size()) {
            n |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
        }
        if (i + 2 < bytes.size()) {
            n |= static_cast<unsigned char>(bytes[i + 2]);
        }
        out += kAlphabet[(n >> 18) & 63];
        out += kAlphabet[(n >> 12) & 63];
        out += i + 1 < bytes.size() ? kAlphabet[(n >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? kAlphabet[n & 63] : '=';
    }
    return out;
}

std::size_t count(const std::string& text, const std::string& needle) {
    std::size_t n = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + needle.size())) {
        ++n;
    }
    return n;
}

// A document as the kit makes it on a machine without a battery or a busy CPU.
json kitDocument(const std::string& description, const std::string& screenshotUrl) {
    json cpu = json::array();
    json memory = json::array();
    for (int i = 0; i < 9; ++i) {
        const std::string at = "2024-03-01T12:00:0" + std::to_string(i) + "+01:00";
        cpu.push_back({{"value", "0.000"}, {"time_occurred", at}});
        memory.push_back({{"value", "14.1" + std::to_string(i) + "2"}, {"time_occurred", at}});
    }
    return {{"title", description},
            {"description", description},
            {"tester_email", "tester@example.com"},
            {"os", "iOS"},
            {"os_version", "12"},
            {"device", "x86_64"},
            {"battery_level", "0.75"},
            {"battery_status", "2"},
            {"available_disk_space", "258019.61328125"},
            {"used_disk_space", 187679.796875},
            {"device_orientation", 3},
            {"connection_type", "CTRadioAccessTechnologyLTE"},
            {"network_type", "CTRadioAccessTechnologyLTE"},
            {"network_name", ""},
            {"issue_reported_time", "2024-03-01T12:00:10+01:00"},
            {"report_type", "manual"},
            {"screenshot_url", screenshotUrl},
            {"permissions", {{{"name", "camera"}, {"state", "on"}}}},
            {"sessions",
             {{{"state", "0"}, {"time_occurred", "2024-03-01T11:58:00+01:00"}},
              {{"state", "1"}, {"time_occurred", "2024-03-01T11:59:00+01:00"}}}},
            {"blackbox",
             {{"cpu_usage_history", cpu},
              {"memory_usage_history", memory},
              {"network_usage_history", json::array()}}}};
}

class ReportPagesTest : public BackendTest {
protected:
    std::int64_t report(const json& document, const std::string& bundleId = kBundleId) {
        const HttpAnswer answer =
            postJson("/api/1.0/issue_tracking/apps/" + bundleId, document.dump(2));
        EXPECT_EQ(answer.status, 200) << answer.body;
        return answer.json().at("id").get<std::int64_t>();
    }
    std::string page(const std::string& path, int status = 200) {
        const HttpAnswer answer = backend().request("GET", path);
        EXPECT_EQ(answer.status, status) << path;
        EXPECT_EQ(answer.header("Content-Type"), "text/html; charset=utf-8") << path;
        EXPECT_TRUE(answer.body.ends_with("</html>\n")) << path << " is cut short";
        return answer.body;
    }
};

TEST_F(ReportPagesTest, TheListIsPagedNewestFirstAndFiltersByApplicationAndText) {
    for (int i = 1; i <= 28; ++i) {
        json document = kitDocument("Bug " + std::to_string(i) + "\nsecond line", "");
        if (i % 7 == 0) {
            document["tester_email"] = "needle@example.com";
        }
        report(document, i % 2 ? kBundleId : "com.example.other");
    }

    const std::string first = page("/");
    EXPECT_EQ(page("/reports"), first);
    EXPECT_EQ(count(first, "<td class=\"shot\">"), 25u);
    EXPECT_NE(first.find("<b>1&ndash;25</b> of <b>28</b>"), std::string::npos);
    EXPECT_LT(first.find(">Bug 28</a>"), first.find(">Bug 27</a>")) << "newest first";
    EXPECT_EQ(first.find("second line"), std::string::npos) << "only the first line";
    EXPECT_NE(first.find("<a href=\"/reports?page=2\" rel=\"next\">"), std::string::npos);
    EXPECT_NE(first.find("<option value=\"com.example.other\">"), std::string::npos);

    const std::string second = page("/reports?page=2");
    EXPECT_EQ(count(second, "<td class=\"shot\">"), 3u);
    EXPECT_NE(second.find(">Bug 1</a>"), std::string::npos);
    EXPECT_NE(second.find("<a href=\"/reports\" rel=\"prev\">"), std::string::npos);
    EXPECT_NE(page("/reports?page=9").find("No reports on page 9; there are 28."),
              std::string::npos);
    EXPECT_EQ(page("/reports?page=0"), first);
    EXPECT_EQ(page("/reports?page=-3&limit=x"), first);

    const std::string other = page("/reports?bundle_id=com.example.other&limit=5");
    EXPECT_NE(other.find("of <b>14</b> matching"), std::string::npos);
    EXPECT_NE(other.find("<option value=\"com.example.other\" selected>"), std::string::npos);
    EXPECT_NE(other.find("href=\"/reports?bundle_id=com.example.other&amp;page=2\""),
              std::string::npos)
        << "the pager keeps the filter";

    const std::string found = page("/reports?q=NEEDLE%40example");
    EXPECT_EQ(count(found, "<td class=\"shot\">"), 4u);
    EXPECT_NE(found.find("value=\"NEEDLE@example\""), std::string::npos);
    const std::string both = page("/reports?q=needle&bundle_id=com.example.other");
    EXPECT_EQ(count(both, "<td class=\"shot\">"), 2u);
    EXPECT_NE(page("/reports?q=nothing-like-it").find("No report matches this filter."),
              std::string::npos);

    // The JSON list pages and searches the same way.
    const json listed =
        json::parse(backend().request("GET", "/api/reports?q=needle&offset=1&limit=2").body);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].at("description"), "Bug 21\nsecond line");
}

TEST_F(ReportPagesTest, AReportPageShowsTheFactsInWordsTheScreenshotAndTheHistories) {
    const std::string jpeg = "\xFF\xD8\xFF\xE0 not really a picture";
    const HttpAnswer shot = uploadFile("screenshot.jpg", "image/jpeg", jpeg);
    const HttpAnswer log = uploadFile("console log.txt", "text/plain", "line\n");
    ASSERT_EQ(shot.status, 200);
    // The kit reached the backend under another name than the browser does.
    const std::string foreignHost =
        "http://10.0.2.2:8642" + pathOf(shot.json().at("url").get<std::string>());
    json document = kitDocument("Total is wrong <b>bold</b>\nIt says 12.00", foreignHost);
    document["files"] = {{{"url", log.json().at("url")}},
                         {{"url", "https://elsewhere.example/x.zip"}}};
    document["extra_fact"] = "<i>kept</i>";
    const std::int64_t id = report(document);

    const std::string html = page("/reports/" + std::to_string(id));
    EXPECT_NE(html.find("<h1>Total is wrong &lt;b&gt;bold&lt;/b&gt;</h1>"), std::string::npos);
    EXPECT_EQ(html.find("<b>bold</b>"), std::string::npos);
    EXPECT_EQ(html.find("<i>kept</i>"), std::string::npos);
    EXPECT_NE(html.find("&lt;i&gt;kept&lt;/i&gt;"), std::string::npos) << "other facts listed";
    const std::string screenshotPath = pathOf(shot.json().at("url").get<std::string>());
    EXPECT_NE(html.find("<figure class=\"screenshot\"><img src=\"" + screenshotPath + "\""),
              std::string::npos)
        << "the screenshot comes from this origin, whatever host the kit used";
    EXPECT_NE(html.find("<a href=\"" + pathOf(log.json().at("url").get<std::string>()) +
                        "\" download>console log.txt</a>"),
              std::string::npos);
    EXPECT_NE(html.find("Not on this backend:</span> https://elsewhere.example/x.zip"),
              std::string::npos);

    for (const char* fact :
         {"75 % · Charging", "Landscape left", "Cellular LTE", "183.28 GB used of 251.97 GB",
          "Camera</dt><dd>Granted", ">Foreground<", ">Inactive<",
          "1 Mar 2024, 11:00:10 UTC (12:00:10 on the device, UTC+01:00)"}) {
        EXPECT_NE(html.find(fact), std::string::npos) << fact;
    }
    EXPECT_EQ(html.find("258019.61328125</dd>"), std::string::npos) << "no raw megabytes";
    EXPECT_EQ(count(html, "<svg class=\"chart\""), 3u) << "sessions, cpu and memory";
    EXPECT_NE(html.find(">100 %</text>"), std::string::npos) << "an idle CPU on a 0-100 axis";
    EXPECT_NE(html.find("<pre class=\"json\">{\n  &quot;available_disk_space&quot;"),
              std::string::npos)
        << "the raw document, pretty-printed and escaped";
    EXPECT_EQ(html.find("could not be shown"), std::string::npos);
}

TEST_F(ReportPagesTest, MissingOrOddMembersNeverBreakAPage) {
    const json odd[] = {
        json::object(),
        {{"description", 7},
         {"blackbox", "oops"},
         {"sessions", {{"a", 1}}},
         {"permissions", "all"},
         {"battery_level", {{"x", 1}}},
         {"battery_status", nullptr},
         {"device_orientation", "sideways"},
         {"screenshot_url", 5},
         {"files", {{{"url", 3}}, "x"}},
         {"available_disk_space", "lots"},
         {"used_disk_space", -1},
         {"screen_width", 1e308},
         {"issue_reported_time", "yesterday"}},
        {{"blackbox",
          {{"cpu_usage_history",
            {nullptr,
             "text",
             {{"value", nullptr}, {"time_occurred", 5}},
             {{"value", "abc"}, {"time_occurred", "2024-03-01T12:00:00Z"}},
             {{"value", "-1.000"}, {"time_occurred", "2024-03-01T12:00:01Z"}}}},
           {"memory_usage_history",
            {{{"value", "1e308"}, {"time_occurred", "2024-03-01T12:00:00Z"}}}},
           {"network_usage_history", {{{"type", 4}, {"time_occurred", "2024-03-01T12:00:00Z"}}}},
           {"battery_usage_history", json::array({{{"level", "-1.000"},
                                                   {"status", "unknown"},
                                                   {"time_occurred", "2024-03-01T12:00:00Z"}}})},
           {"device_orientation_history", {{{"value", nullptr}, {"time_occurred", "later"}}}}}},
         {"sessions", {{{"state", "9"}, {"time_occurred", "2024-03-01T12:00:00Z"}}, 3}},
         {"screenshot_url", "javascript:alert(1)"}},
        {{"blackbox", {{"cpu_usage_history", json::array()}}},
         {"sessions", json::array()},
         {"screenshot_url", "http://127.0.0.1:1/files/0123/gone.png"}},
    };
    for (const auto& document : odd) {
        const std::int64_t id = report(document);
        const std::string html = page("/reports/" + std::to_string(id));
        EXPECT_EQ(html.find("could not be shown"), std::string::npos) << document.dump();
        EXPECT_EQ(html.find("=\"javascript:"), std::string::npos);
        EXPECT_EQ(html.find("nan"), std::string::npos) << document.dump();
        EXPECT_EQ(html.find("inf"), std::string::npos) << document.dump();
    }
    const std::string list = page("/reports");
    EXPECT_EQ(count(list, "<td class=\"shot\">"), std::size(odd));

    EXPECT_NE(page("/reports/999", 404).find("No report #999"), std::string::npos);
    EXPECT_EQ(backend().request("GET", "/reports/99999999999999999999").status, 404);
}

TEST_F(ReportPagesTest, UploadedFilesAreDownloadsAndOnlyRasterImagesKeepTheirType) {
    struct Case {
        const char* name;
        const char* declared;
        const char* served;
        const char* disposition;
    };
    const Case cases[] = {
        {"trace.html", "text/html", "application/octet-stream",
         "attachment; filename=\"trace.html\"; filename*=UTF-8''trace.html"},
        {"sketch.svg", "image/svg+xml", "application/octet-stream",
         "attachment; filename=\"sketch.svg\"; filename*=UTF-8''sketch.svg"},
        {"page.xhtml", "application/xhtml+xml", "application/octet-stream",
         "attachment; filename=\"page.xhtml\"; filename*=UTF-8''page.xhtml"},
        {"shot.png", "image/png", "image/png",
         "attachment; filename=\"shot.png\"; filename*=UTF-8''shot.png"},
        {"héllo \"x\".gif", "image/gif", "image/gif",
         "attachment; filename=\"h__llo _x_.gif\"; filename*=UTF-8''h%C3%A9llo%20%22x%22.gif"},
    };
    for (const auto& c : cases) {
        const std::string bytes =
            std::string("<svg onload=alert(1)><script>alert(1)</script>") + c.name;
        const HttpAnswer uploaded = uploadFile(c.name, c.declared, bytes);
        ASSERT_EQ(uploaded.status, 200) << uploaded.body;
        const HttpAnswer served =
            backend().request("GET", pathOf(uploaded.json().at("url").get<std::string>()));
        EXPECT_EQ(served.status, 200);
        EXPECT_EQ(served.body, bytes) << "the bytes as uploaded";
        EXPECT_EQ(served.header("Content-Type"), c.served) << c.name;
        EXPECT_EQ(served.header("X-Content-Type-Options"), "nosniff");
        EXPECT_EQ(served.header("Content-Disposition"), c.disposition);
        EXPECT_EQ(served.header("Content-Security-Policy").rfind("sandbox; ", 0), 0u);
    }
    EXPECT_EQ(backend().request("GET", "/files/0123456789abcdef/x").status, 404);
}

// A backend that others can reach, reached here over loopback all the same.
class ExposedBackendTest : public BackendTest {
protected:
    void SetUp() override {
        backend_ = std::make_unique<BackendProcess>(
            BackendProcess::Options{VORNA_BACKEND_EXECUTABLE,
                                    {{kClientId, kClientSecret}},
                                    0,
                                    {},
                                    {"--host", "0.0.0.0"},
                                    std::chrono::milliseconds(60000),
                                    std::nullopt});
        token_ = backend_->accessToken(kClientId, kClientSecret);
    }
};

TEST_F(ExposedBackendTest, ReadingNeedsAClientsTokenOrIdAndSecretWhileTheKitsCallsAreUnchanged) {
    // The kit's own calls need nothing new.
    ASSERT_EQ(registerApp(kBundleId).status, 200);
    const HttpAnswer uploaded = uploadFile("trace.html", "text/html", "<b>x</b>");
    ASSERT_EQ(uploaded.status, 200) << uploaded.body;
    const HttpAnswer posted =
        postJson(kReportPath, kitDocument("Exposed", uploaded.json().at("url")).dump());
    ASSERT_EQ(posted.status, 200) << posted.body;
    const std::string id = std::to_string(posted.json().at("id").get<std::int64_t>());

    const std::string paths[] = {"/",
                                 "/reports",
                                 "/reports/" + id,
                                 "/api/reports",
                                 "/api/reports/" + id,
                                 pathOf(uploaded.json().at("url").get<std::string>())};
    const auto basic = [](const std::string& credentials) {
        return std::vector<std::pair<std::string, std::string>>{
            {"Authorization", "Basic " + base64(credentials)}};
    };
    const std::vector<std::vector<std::pair<std::string, std::string>>> refused = {
        {},
        {{"Authorization", "Bearer not-a-token"}},
        {{"Authorization", "Bearer "}},
        basic(std::string(kClientId) + ":wrong"),
        basic(std::string(kClientId) + ":" + kClientSecret + "x"),
        // Longer than any real credential; decoded no further.
        basic(std::string(kClientId) + ":" + std::string(5000, 's')),
        basic("no colon"),
        {{"Authorization", "Basic !!not base64!!"}},
        // Basic credentials are taken as they stand, not form-decoded.
        basic("test%2Dclient:test-secret"),
    };
    for (const auto& path : paths) {
        for (const auto& headers : refused) {
            const HttpAnswer answer = backend().request("GET", path, {}, headers);
            EXPECT_EQ(answer.status, 401)
                << path << " " << (headers.empty() ? "" : headers[0].second.substr(0, 60));
            EXPECT_EQ(answer.header("WWW-Authenticate"), "Basic realm=\"vorna-backend\"");
            EXPECT_EQ(answer.body.find("Exposed"), std::string::npos);
        }
        EXPECT_EQ(
            backend().request("GET", path, {}, {{"Authorization", "Bearer " + token_}}).status, 200)
            << path;
        EXPECT_EQ(backend()
                      .request("GET", path, {}, basic(std::string(kClientId) + ":" + kClientSecret))
                      .status,
                  200)
            << path;
    }
    EXPECT_EQ(backend().request("GET", "/help").status, 200) << "the testers' help stays open";
}

}  // namespace
}  // namespace vorna::backend::test
