#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorna::backend {

// The charts of the report page, drawn as inline SVG on the server: a line chart of a
// measured value over time, and a strip of states over time. Both have a time axis with
// clock-time ticks in the pages' zone; the line chart has a value axis with round ticks and
// the unit on every label.
class SvgChart {
public:
    struct Scale {
        double min = 0;
        double max = 1;
        double step = 1;
    };
    // Round ticks, about `ticks` of them, covering [low, high]. An empty or flat range still
    // gets a span around its value, so no axis ever runs from a value to itself.
    static Scale niceScale(double low, double high, int ticks);
    // Decimals a tick label needs to tell ticks `step` apart.
    static int decimalsFor(double step);

    struct TimeAxis {
        double start = 0;  // Unix seconds
        double end = 1;
        double step = 1;  // between ticks
    };
    // Clock-time ticks for a window; a window shorter than ten seconds is widened to that,
    // back from its end.
    static TimeAxis timeAxis(double start, double end);

    struct Sample {
        double time = 0;              // Unix seconds
        std::optional<double> value;  // nothing: the device could not measure it
    };
    struct Line {
        std::string title;
        std::string unit;  // written after each value label: "%", "MB"
        std::vector<Sample> samples;
        // The value axis covers at least this range (0 to 100 for a percentage), whatever the
        // samples hold.
        std::optional<std::pair<double, double>> covers;
        // A value axis at least this fraction of the largest value wide, so a series that
        // barely moves is not drawn as a storm.
        double minimumSpan = 0;
    };
    // A line chart over the window; samples outside it are drawn at its edges.
    static std::string line(const Line& line, double start, double end);

    struct Span {
        double start = 0;
        double end = 0;
        std::string label;
        std::string colour;  // CSS colour of its bar
    };
    // A strip of labelled spans over the window, `width` units wide (a line chart is 560).
    static std::string strip(const std::string& title, const std::vector<Span>& spans, double start,
                             double end, double width = 560);
    // A small legend under a strip: one swatch per label, in the order given.
    static std::string legend(const std::vector<std::pair<std::string, std::string>>& entries);
};

}  // namespace vorna::backend
