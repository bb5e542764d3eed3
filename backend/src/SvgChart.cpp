#include "SvgChart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "FactFormat.h"
#include "Text.h"

namespace vorna::backend {

namespace {

constexpr double kChartWidth = 560;
constexpr double kLeft = 66;
constexpr double kRight = 30;  // room for the last time label
constexpr double kTop = 12;
constexpr double kPlotHeight = 140;
constexpr double kAxisBand = 30;  // tick labels under a plot
constexpr double kStripHeight = 26;
// Ticks are counted, never stepped by adding to a double: at large magnitudes an addition can
// leave the value where it was.
constexpr int kMostTicks = 24;

// Where the plot area of a chart `width` units wide lies across.
struct Across {
    double width = kChartWidth;
    double plot() const { return width - kLeft - kRight; }
    double x(double time, double start, double end) const {
        const double clamped = std::clamp(time, start, end);
        return kLeft + (clamped - start) / (end - start) * plot();
    }
};

std::string fixed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

// 1, 2 or 5 times a power of ten, near `range` (rounded) or at least it (not rounded).
double niceNumber(double range, bool round) {
    const double exponent = std::floor(std::log10(range));
    const double fraction = range / std::pow(10, exponent);
    double nice = 10;
    if (round) {
        nice = fraction < 1.5 ? 1 : fraction < 3 ? 2 : fraction < 7 ? 5 : 10;
    } else {
        nice = fraction <= 1 ? 1 : fraction <= 2 ? 2 : fraction <= 5 ? 5 : 10;
    }
    return nice * std::pow(10, exponent);
}

std::string svgOpen(const Across& across, double height, const std::string& title) {
    return "<svg class=\"chart\" xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " +
           fixed(across.width) + " " + fixed(height) + "\" width=\"" + fixed(across.width) +
           "\" height=\"" + fixed(height) + "\" style=\"max-width:" + fixed(across.width) +
           "px\" role=\"img\"><title>" + Text::htmlEscape(title) + "</title>";
}

// The time ticks under a plot whose bottom edge is at `y`.
std::string timeTicks(const Across& across, const SvgChart::TimeAxis& axis, double y) {
    std::string svg = "<g class=\"axis x\">";
    svg += "<line x1=\"" + fixed(kLeft) + "\" y1=\"" + fixed(y) + "\" x2=\"" +
           fixed(kLeft + across.plot()) + "\" y2=\"" + fixed(y) + "\"/>";
    // Ticks fall on round clock times of the pages' zone, not of UTC.
    const auto startSeconds = static_cast<std::time_t>(std::floor(axis.start));
    std::tm local{};
    ::localtime_r(&startSeconds, &local);
    const double offset = static_cast<double>(local.tm_gmtoff);
    const bool withSeconds = axis.step < 60;
    const bool byDay = axis.step >= 86400;
    const double first = std::ceil((axis.start + offset) / axis.step) * axis.step - offset;
    for (int i = 0; i < kMostTicks; ++i) {
        const double tick = first + i * axis.step;
        if (tick > axis.end + 1e-6) {
            break;
        }
        const double x = across.x(tick, axis.start, axis.end);
        const auto seconds = static_cast<std::int64_t>(std::llround(tick));
        const std::string label =
            byDay ? FactFormat::date(seconds) : FactFormat::clock(seconds, withSeconds);
        svg += "<line x1=\"" + fixed(x) + "\" y1=\"" + fixed(y) + "\" x2=\"" + fixed(x) +
               "\" y2=\"" + fixed(y + 4) + "\"/><text x=\"" + fixed(x) + "\" y=\"" + fixed(y + 16) +
               "\" text-anchor=\"middle\">" + Text::htmlEscape(label) + "</text>";
    }
    return svg + "</g>";
}

}  // namespace

SvgChart::Scale SvgChart::niceScale(double low, double high, int ticks) {
    if (!std::isfinite(low) || !std::isfinite(high)) {
        low = 0;
        high = 1;
    }
    if (low > high) {
        std::swap(low, high);
    }
    // Beyond this no measurement is real; the bounds keep every difference below finite.
    low = std::clamp(low, -1e300, 1e300);
    high = std::clamp(high, -1e300, 1e300);
    if (high - low < 1e-12 * std::max(1.0, std::abs(high))) {
        // A flat series: a span around its value, from zero for small positive values.
        const double pad = low == 0 ? 1 : std::abs(low) * 0.1;
        high += pad;
        low = low >= 0 && low - pad < 0 ? 0 : low - pad;
    }
    ticks = std::max(ticks, 2);
    const double range = niceNumber(high - low, false);
    Scale scale;
    scale.step = niceNumber(range / (ticks - 1), true);
    scale.min = std::floor(low / scale.step + 1e-9) * scale.step;
    scale.max = std::ceil(high / scale.step - 1e-9) * scale.step;
    if (scale.max - scale.min < scale.step) {
        scale.max = scale.min + scale.step;
    }
    return scale;
}

int SvgChart::decimalsFor(double step) {
    if (!(step > 0)) {
        return 0;
    }
    return std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6);
}

SvgChart::TimeAxis SvgChart::timeAxis(double start, double end) {
    if (!std::isfinite(start) || !std::isfinite(end)) {
        start = 0;
        end = 10;
    }
    if (end < start) {
        std::swap(start, end);
    }
    // A short window keeps its end, which is when the report was made, at the right edge.
    if (end - start < 10) {
        start = end - 10;
    }
    static constexpr std::array<double, 22> kSteps = {
        1,    2,    5,    10,    15,    30,    60,    120,    300,    600,     900,
        1800, 3600, 7200, 10800, 21600, 43200, 86400, 172800, 604800, 2592000, 31536000};
    TimeAxis axis{start, end, (end - start) / 6};
    for (const double step : kSteps) {
        if ((end - start) / step <= 6) {
            axis.step = step;
            break;
        }
    }
    return axis;
}

std::string SvgChart::line(const Line& line, double start, double end) {
    const TimeAxis axis = timeAxis(start, end);
    const Across across;
    double low = INFINITY;
    double high = -INFINITY;
    for (const auto& sample : line.samples) {
        if (sample.value) {
            low = std::min(low, *sample.value);
            high = std::max(high, *sample.value);
        }
    }
    if (line.covers) {
        low = std::min(low, line.covers->first);
        high = std::max(high, line.covers->second);
    }
    if (!std::isfinite(low)) {
        low = 0;
        high = 0;
    }
    const double wanted = line.minimumSpan * std::max(std::abs(low), std::abs(high));
    if (high - low < wanted) {
        const double grow = (wanted - (high - low)) / 2;
        const bool positive = low >= 0;
        low -= grow;
        high += grow;
        if (positive && low < 0) {
            high -= low;
            low = 0;
        }
    }
    const Scale scale = niceScale(low, high, 5);
    const int decimals = decimalsFor(scale.step);
    const auto yOf = [&](double value) {
        return kTop + (scale.max - value) / (scale.max - scale.min) * kPlotHeight;
    };

    std::string svg = svgOpen(across, kTop + kPlotHeight + kAxisBand, line.title);
    svg += "<g class=\"axis y\">";
    for (int i = 0; i < kMostTicks; ++i) {
        const double tick = scale.min + i * scale.step;
        if (tick > scale.max + scale.step * 1e-6) {
            break;
        }
        const double y = yOf(tick);
        svg += "<line class=\"grid\" x1=\"" + fixed(kLeft) + "\" y1=\"" + fixed(y) + "\" x2=\"" +
               fixed(kLeft + across.plot()) + "\" y2=\"" + fixed(y) + "\"/>";
        svg += "<text x=\"" + fixed(kLeft - 8) + "\" y=\"" + fixed(y + 4) +
               "\" text-anchor=\"end\">" +
               Text::htmlEscape(FactFormat::number(tick, decimals) +
                                (line.unit.empty() ? "" : " " + line.unit)) +
               "</text>";
    }
    svg += "</g>";
    svg += timeTicks(across, axis, kTop + kPlotHeight);

    // Unmeasured samples break the line rather than drawing it through a made-up value.
    std::vector<std::vector<std::pair<double, double>>> runs(1);
    for (const auto& sample : line.samples) {
        if (!sample.value) {
            if (!runs.back().empty()) {
                runs.emplace_back();
            }
            continue;
        }
        runs.back().emplace_back(across.x(sample.time, axis.start, axis.end), yOf(*sample.value));
    }
    for (const auto& run : runs) {
        if (run.size() == 1) {
            svg += "<circle class=\"value\" cx=\"" + fixed(run[0].first) + "\" cy=\"" +
                   fixed(run[0].second) + "\" r=\"3\"/>";
        } else if (run.size() > 1) {
            svg += "<polyline class=\"value\" points=\"";
            for (const auto& [x, y] : run) {
                svg += fixed(x) + "," + fixed(y) + " ";
            }
            svg.back() = '"';
            svg += "/>";
        }
    }
    return svg + "</svg>";
}

std::string SvgChart::strip(const std::string& title, const std::vector<Span>& spans, double start,
                            double end, double width) {
    const TimeAxis axis = timeAxis(start, end);
    const Across across{std::max(width, kLeft + kRight + 100)};
    std::string svg = svgOpen(across, kTop + kStripHeight + kAxisBand, title);
    svg += "<rect class=\"track\" x=\"" + fixed(kLeft) + "\" y=\"" + fixed(kTop) + "\" width=\"" +
           fixed(across.plot()) + "\" height=\"" + fixed(kStripHeight) + "\"/>";
    for (const auto& span : spans) {
        const double x0 = across.x(span.start, axis.start, axis.end);
        const double x1 = std::max(across.x(span.end, axis.start, axis.end), x0 + 2);
        svg += "<rect x=\"" + fixed(x0) + "\" y=\"" + fixed(kTop) + "\" width=\"" + fixed(x1 - x0) +
               "\" height=\"" + fixed(kStripHeight) + "\" fill=\"" + Text::htmlEscape(span.colour) +
               "\"><title>" + Text::htmlEscape(span.label) + "</title></rect>";
        // A label only where it fits; the legend names every state.
        if ((x1 - x0) > 7.0 * static_cast<double>(span.label.size()) + 10) {
            svg += "<text class=\"inside\" x=\"" + fixed(x0 + 6) + "\" y=\"" +
                   fixed(kTop + kStripHeight / 2 + 4) + "\">" + Text::htmlEscape(span.label) +
                   "</text>";
        }
    }
    svg += timeTicks(across, axis, kTop + kStripHeight);
    return svg + "</svg>";
}

std::string SvgChart::legend(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string html = "<ul class=\"legend\">";
    for (const auto& [label, colour] : entries) {
        html += "<li><span class=\"swatch\" style=\"background:" + Text::htmlEscape(colour) +
                "\"></span>" + Text::htmlEscape(label) + "</li>";
    }
    return html + "</ul>";
}

}  // namespace vorna::backend
