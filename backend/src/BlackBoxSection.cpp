#include "BlackBoxSection.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include "FactFormat.h"
#include "PageFrame.h"
#include "SvgChart.h"

namespace vorna::backend {

namespace {

using nlohmann::json;

std::string esc(std::string_view text) {
    return PageFrame::escape(text);
}

// A history element: its time, and the element itself.
struct Entry {
    double time = 0;
    const json* element = nullptr;
};

// The readable elements of a history, in the order sent. The kit stamps times to the second
// and samples some metrics twice a second, so elements that share a second are spread evenly
// across it.
std::vector<Entry> entries(const json& history, std::size_t& unreadable) {
    std::vector<Entry> out;
    unreadable = 0;
    if (!history.is_array()) {
        return out;
    }
    for (const auto& element : history) {
        const auto stamp =
            ReportDocument::textOf(ReportDocument::memberOf(element, "time_occurred"));
        const auto instant = stamp ? FactFormat::parseTime(*stamp) : std::nullopt;
        if (!instant) {
            ++unreadable;
            continue;
        }
        out.push_back({static_cast<double>(instant->unixSeconds) + instant->fraction, &element});
    }
    for (std::size_t i = 0; i < out.size();) {
        std::size_t j = i;
        while (j < out.size() && out[j].time == out[i].time) {
            ++j;
        }
        for (std::size_t k = i; k < j; ++k) {
            out[k].time += static_cast<double>(k - i) / static_cast<double>(j - i);
        }
        i = j;
    }
    return out;
}

std::string text(const Entry& entry, const char* key) {
    return ReportDocument::textOf(ReportDocument::memberOf(*entry.element, key)).value_or("");
}

// The kit writes -1 for a value its device could not measure.
std::optional<double> measured(const Entry& entry, const char* key) {
    const auto value = ReportDocument::numberOf(ReportDocument::memberOf(*entry.element, key));
    return value && *value >= 0 ? value : std::nullopt;
}

struct Window {
    double start = 0;
    double end = 0;
};

// Consecutive equal labels joined into spans, each lasting until the next change; the last
// one lasts until the end of the window.
std::vector<SvgChart::Span> spansOf(const std::vector<Entry>& list, double end,
                                    const std::function<std::string(const Entry&)>& label,
                                    const std::function<std::string(const std::string&)>& colour) {
    std::vector<SvgChart::Span> spans;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string name = label(list[i]);
        const double next = i + 1 < list.size() ? list[i + 1].time : std::max(end, list[i].time);
        if (!spans.empty() && spans.back().label == name) {
            spans.back().end = next;
        } else {
            spans.push_back({list[i].time, next, name, colour(name)});
        }
    }
    return spans;
}

std::vector<std::pair<std::string, std::string>> legendOf(
    const std::vector<SvgChart::Span>& spans) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (const auto& span : spans) {
        const bool seen = std::any_of(entries.begin(), entries.end(),
                                      [&](const auto& entry) { return entry.first == span.label; });
        if (!seen) {
            entries.emplace_back(span.label, span.colour);
        }
    }
    return entries;
}

// Colours for states the pages know, and a few more in turn for those they do not.
std::string stateColour(const std::string& label) {
    static const std::vector<std::pair<std::string, std::string>> kKnown = {
        {"Foreground", "#1f9254"}, {"Inactive", "#c77c0e"}, {"Background", "#6b7385"},
        {"Offline", "#c2410c"},    {"Portrait", "#0e7490"}, {"Landscape", "#7c3aed"},
        {"Unknown", "#9aa2b0"},    {"Charging", "#1f9254"}, {"Full", "#0e7490"},
        {"Unplugged", "#c77c0e"}};
    for (const auto& [name, colour] : kKnown) {
        if (label == name) {
            return colour;
        }
    }
    if (label.starts_with("Wi-Fi")) {
        return "#1144f1";
    }
    if (label.starts_with("Cellular")) {
        return "#7c3aed";
    }
    static const char* kOthers[] = {"#be185d", "#4d7c0f", "#0369a1", "#a16207", "#6d28d9"};
    return kOthers[std::hash<std::string>{}(label) % std::size(kOthers)];
}

std::string figure(const std::string& title, const std::string& note, const std::string& chart,
                   const std::string& legend = {}) {
    return "<figure class=\"chart\"><figcaption><b>" + esc(title) + "</b>" +
           (note.empty() ? "" : " <span class=\"note\">&middot; " + note + "</span>") +
           "</figcaption>" + chart + legend + "</figure>";
}

std::string unreadableNote(std::size_t unreadable) {
    return unreadable == 0
               ? std::string()
               : " &middot; " + std::to_string(unreadable) +
                     (unreadable == 1 ? " sample has" : " samples have") + " no readable time";
}

// A chart of one measured value. `scale` turns the sent value into the unit shown.
std::string lineFigure(const std::string& title, const json& history, const char* key,
                       const Window& window, std::string unit, double scale,
                       std::optional<std::pair<double, double>> covers, double minimumSpan) {
    std::size_t unreadable = 0;
    const auto list = entries(history, unreadable);
    SvgChart::Line line;
    line.title = title;
    line.covers = covers;
    line.minimumSpan = minimumSpan;
    std::size_t unknown = 0;
    double peak = -INFINITY;
    std::optional<double> last;
    for (const auto& entry : list) {
        auto value = measured(entry, key);
        if (value) {
            *value *= scale;
            peak = std::max(peak, *value);
            last = value;
        } else {
            ++unknown;
        }
        line.samples.push_back({entry.time, value});
    }
    line.unit = std::move(unit);
    const auto shown = [&](double value) {
        const int decimals = std::abs(value) < 10 || line.unit == "GB" ? 2 : 1;
        return FactFormat::number(value, decimals) + " " + line.unit;
    };
    std::string note = std::to_string(list.size()) + (list.size() == 1 ? " sample" : " samples");
    if (last) {
        note += " &middot; last " + esc(shown(*last)) + ", peak " + esc(shown(peak));
    }
    if (unknown > 0) {
        note += " &middot; " + std::to_string(unknown) + " not measured";
    }
    note += unreadableNote(unreadable);
    if (list.empty() || unknown == list.size()) {
        return figure(title, note,
                      "<p class=\"muted\">" +
                          std::string(list.empty() ? "No sample with a readable time."
                                                   : "The device could not measure this.") +
                          "</p>");
    }
    return figure(title, note, SvgChart::line(line, window.start, window.end));
}

std::string stripFigure(const std::string& title, const json& history, const Window& window,
                        const std::function<std::string(const Entry&)>& label) {
    std::size_t unreadable = 0;
    const auto list = entries(history, unreadable);
    if (list.empty()) {
        return figure(title, unreadableNote(unreadable),
                      "<p class=\"muted\">No sample with a readable time.</p>");
    }
    const auto spans = spansOf(list, window.end, label, stateColour);
    const std::string note = std::to_string(list.size()) +
                             (list.size() == 1 ? " sample" : " samples") +
                             unreadableNote(unreadable);
    return figure(title, note, SvgChart::strip(title, spans, window.start, window.end),
                  SvgChart::legend(legendOf(spans)));
}

// When the report was made, if its document says so readably.
std::optional<double> reportedAt(const ReportDocument& document) {
    const auto stamp = document.text("issue_reported_time");
    const auto instant = stamp ? FactFormat::parseTime(*stamp) : std::nullopt;
    return instant ? std::optional<double>(static_cast<double>(instant->unixSeconds))
                   : std::nullopt;
}

}  // namespace

std::string BlackBoxSection::sessions(const ReportDocument& document) {
    const json& history = document.member("sessions");
    std::size_t unreadable = 0;
    const auto list = entries(history, unreadable);
    if (list.empty()) {
        return "<p class=\"muted\">" +
               std::string(history.is_array() && !history.empty()
                               ? "The session states carry no readable times."
                               : "The report carries no session states.") +
               "</p>";
    }
    Window window{list.front().time, list.back().time};
    if (const auto reported = reportedAt(document); reported && *reported >= window.end) {
        window.end = *reported;
    }
    const auto stateOf = [](const Entry& entry) {
        return FactFormat::sessionState(text(entry, "state"));
    };
    const auto spans = spansOf(list, window.end, stateOf, stateColour);
    std::string html = SvgChart::strip("Session states", spans, window.start, window.end, 720) +
                       SvgChart::legend(legendOf(spans));
    const auto endDay = FactFormat::date(static_cast<std::int64_t>(window.end));
    html += "<table class=\"plain\"><thead><tr><th>Since (" +
            esc(FactFormat::zoneName(static_cast<std::int64_t>(window.end))) +
            ")</th><th>State</th><th>For</th></tr></thead><tbody>";
    for (std::size_t i = 0; i < list.size(); ++i) {
        const auto since = static_cast<std::int64_t>(list[i].time);
        const double until = i + 1 < list.size() ? list[i + 1].time : window.end;
        const std::string day = FactFormat::date(since);
        html += "<tr><td>" +
                esc((day == endDay ? "" : day + ", ") + FactFormat::clock(since, true)) +
                "</td><td>" + esc(stateOf(list[i])) + "</td><td>" +
                (until > list[i].time ? esc(FactFormat::duration(until - list[i].time)) +
                                            (i + 1 < list.size() ? "" : " until the report")
                                      : std::string("&ndash;")) +
                "</td></tr>";
    }
    html += "</tbody></table>";
    if (unreadable > 0) {
        html += "<p class=\"muted\">" + std::to_string(unreadable) +
                " session states have no readable time.</p>";
    }
    return html;
}

std::string BlackBoxSection::blackBox(const ReportDocument& document) {
    const json& box = document.member("blackbox");
    static constexpr const char* kHistories[] = {
        "cpu_usage_history",     "memory_usage_history",  "disk_space_usage_history",
        "battery_usage_history", "network_usage_history", "device_orientation_history"};

    // One window for every chart: from the first sample of any history to the report.
    Window window{INFINITY, -INFINITY};
    bool any = false;
    for (const char* key : kHistories) {
        std::size_t unreadable = 0;
        const json& history = ReportDocument::memberOf(box, key);
        any = any || (history.is_array() && !history.empty());
        for (const auto& entry : entries(history, unreadable)) {
            window.start = std::min(window.start, entry.time);
            window.end = std::max(window.end, entry.time);
        }
    }
    if (!any) {
        return "<p class=\"muted\">The black box was empty: the application sent no history "
               "with this report.</p>";
    }
    if (!std::isfinite(window.start)) {
        return "<p class=\"muted\">The black box histories carry no readable times.</p>";
    }
    // A report made long after the last sample (recording was off) keeps the window on the
    // samples.
    if (const auto reported = reportedAt(document);
        reported && *reported >= window.end && *reported - window.end <= 600) {
        window.end = *reported;
    }

    std::string html =
        "<p class=\"muted\">" + esc(FactFormat::dateTime(static_cast<std::int64_t>(window.start))) +
        " to " + esc(FactFormat::clock(static_cast<std::int64_t>(window.end), true)) +
        (reportedAt(document) ? ", when the report was made" : "") + ".</p><div class=\"charts\">";
    const auto has = [&](const char* key) {
        const json& history = ReportDocument::memberOf(box, key);
        return history.is_array() && !history.empty();
    };
    if (has("cpu_usage_history")) {
        html += lineFigure("CPU load", ReportDocument::memberOf(box, "cpu_usage_history"), "value",
                           window, "%", 1, std::pair(0.0, 100.0), 0);
    }
    const auto bytesFigure = [&](const char* title, const char* key) {
        // Megabytes as sent; shown in GB once the values are that large.
        double peak = 0;
        std::size_t unreadable = 0;
        for (const auto& entry : entries(ReportDocument::memberOf(box, key), unreadable)) {
            peak = std::max(peak, measured(entry, "value").value_or(0));
        }
        const bool gigabytes = peak >= 1024;
        return lineFigure(title, ReportDocument::memberOf(box, key), "value", window,
                          gigabytes ? "GB" : "MB", gigabytes ? 1.0 / 1024 : 1.0, std::nullopt, 0.1);
    };
    if (has("memory_usage_history")) {
        html += bytesFigure("Memory of the application", "memory_usage_history");
    }
    if (has("disk_space_usage_history")) {
        html += bytesFigure("Disk space used on the device", "disk_space_usage_history");
    }
    if (has("battery_usage_history")) {
        html += lineFigure("Battery level", ReportDocument::memberOf(box, "battery_usage_history"),
                           "level", window, "%", 1, std::pair(0.0, 100.0), 0);
        html += stripFigure(
            "Battery state", ReportDocument::memberOf(box, "battery_usage_history"), window,
            [](const Entry& entry) { return FactFormat::batteryState(text(entry, "status")); });
    }
    if (has("network_usage_history")) {
        html += stripFigure("Network", ReportDocument::memberOf(box, "network_usage_history"),
                            window, [](const Entry& e) {
                                const std::string name = text(e, "name");
                                return FactFormat::networkType(text(e, "type")) +
                                       (name.empty() ? "" : " · " + name);
                            });
    }
    if (has("device_orientation_history")) {
        html += stripFigure(
            "Orientation", ReportDocument::memberOf(box, "device_orientation_history"), window,
            [](const Entry& entry) { return FactFormat::orientationWord(text(entry, "value")); });
    }
    return html + "</div>";
}

}  // namespace vorna::backend
