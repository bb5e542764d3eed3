#include "BackendTestSupport.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

// A report document shaped as the kit builds it, pretty-printed with plain slashes.
json kitDocument(const std::string& description) {
    json cpu = json::array();
    for (int i = 0; i < 120; ++i) {
        cpu.push_back(
            {{"value", std::to_string(10 + i % 7) + ".500"},
             {"time_occurred", "2024-03-01T12:00:" + std::to_string(10 + i / 4) + "+01:00"}});
    }
    return {
        {"title", description},
        {"description", description},
        {"tester_email", "tester@example.com"},
        {"os", "iOS"},
        {"platform", "iOS"},
        {"report_type", "manual"},
        {"device", "x86_64"},
        {"battery_level", "0.75"},
        {"used_memory", 812},
        {"authentication", 1},
        {"screenshot_url", "http://127.0.0.1:1/files/ab/screenshot.jpg"},
        {"permissions", {{{"name", "camera"}, {"state", "on"}}}},
        {"sessions", {{{"time_occurred", "2024-03-01T12:00:00+01:00"}, {"state", "foreground"}}}},
        {"blackbox",
         {{"cpu_usage_history", cpu},
          {"network_usage_history",
           {{{"type", "wifi"}, {"name", "lab"}, {"time_occurred", "2024-03-01T12:00:00+01:00"}}}}}},
    };
}

TEST_F(BackendTest, ReportIsStoredWholeAndListedNewestFirst) {
    const std::string path = std::string("/api/1.0/issue_tracking/apps/") + kBundleId;
    const std::string first = kitDocument("First bug").dump(2);
    // Unusual but valid JSON: the stored bytes must be these, not a re-serialisation.
    const std::string second =
        "{ \"description\" : \"Second\\u0020bug\", \"report_type\":\"manual\",\n"
        "  \"tester_email\":\"b@example.com\", \"n\": 1.50 }";
    const HttpAnswer a = postJson(path, first);
    ASSERT_EQ(a.status, 200) << a.body;
    const HttpAnswer b = postJson(path, second);
    ASSERT_EQ(b.status, 200) << b.body;

    EXPECT_EQ(backend().reportBytes(a.json().at("id")), first);
    EXPECT_EQ(backend().reportBytes(b.json().at("id")), second);

    const json reports = backend().reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].at("description"), "Second bug");
    EXPECT_EQ(reports[0].at("tester_email"), "b@example.com");
    EXPECT_EQ(reports[1].at("description"), "First bug");
    EXPECT_EQ(reports[1].at("bundle_id"), kBundleId);
    EXPECT_EQ(reports[1].at("report_type"), "manual");
    EXPECT_EQ(reports[1].at("document"), json::parse(first));

    // Reporting registers an application the backend did not know.
    EXPECT_EQ(registerApp(kBundleId).json().at("created"), false);
}

TEST_F(BackendTest, ReportIsRefusedForArchivedApplicationOrBadBodyAndNothingIsStored) {
    const std::string path = std::string("/api/1.0/issue_tracking/apps/") + kBundleId;
    const HttpAnswer notJson = postJson(path, "{\"description\": \"cut");
    EXPECT_EQ(notJson.status, 400);
    EXPECT_NE(notJson.json().at("error").get<std::string>().find("not JSON"), std::string::npos);
    EXPECT_EQ(postJson(path, "[1, 2]").status, 400) << "a report is an object";

    backend().archive(kBundleId);
    EXPECT_EQ(postJson(path, kitDocument("x").dump()).status, 403);
    EXPECT_EQ(
        postJson("/api/1.0/issue_tracking/apps/com.example.other", kitDocument("y").dump()).status,
        200);

    const json reports = backend().reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].at("bundle_id"), "com.example.other");
}

TEST_F(BackendTest, ReportPagesEscapeClientText) {
    const std::string path = std::string("/api/1.0/issue_tracking/apps/") + kBundleId;
    json hostile = kitDocument("<script>alert(\"x\")</script> & more");
    hostile["tester_email"] = "\"><img src=x onerror=alert(1)>";
    hostile["screenshot_url"] = "javascript:alert(1)";
    hostile["files"] = {{{"url", "javascript:alert(2)"}}};
    ASSERT_EQ(postJson(path, kitDocument("Older report").dump()).status, 200);
    const HttpAnswer posted = postJson(path, hostile.dump());
    ASSERT_EQ(posted.status, 200);

    const HttpAnswer list = backend().request("GET", "/");
    ASSERT_EQ(list.status, 200);
    EXPECT_EQ(list.header("Content-Type"), "text/html; charset=utf-8");
    const HttpAnswer page =
        backend().request("GET", "/reports/" + std::to_string(posted.json().at("id").get<int>()));
    ASSERT_EQ(page.status, 200);
    for (const std::string& html : {list.body, page.body}) {
        EXPECT_EQ(html.find("<script>"), std::string::npos);
        EXPECT_EQ(html.find("<img src=x"), std::string::npos);
        EXPECT_EQ(html.find("=\"javascript:"), std::string::npos) << "no link to a non-web URL";
        EXPECT_NE(html.find("&lt;script&gt;alert(&quot;x&quot;)&lt;/script&gt; &amp; more"),
                  std::string::npos);
        EXPECT_NE(html.find("&quot;&gt;&lt;img src=x onerror=alert(1)&gt;"), std::string::npos);
    }
    EXPECT_LT(list.body.find("&lt;script&gt;"), list.body.find("Older report")) << "newest first";
}

TEST_F(BackendTest, TheHelpPageTheComposeScreenLinksToIsServed) {
    const auto help = backend().request("GET", "/help");
    EXPECT_EQ(help.status, 200);
    EXPECT_NE(help.body.find("<title>How to report better bugs</title>"), std::string::npos);
}

}  // namespace
}  // namespace vorna::backend::test
