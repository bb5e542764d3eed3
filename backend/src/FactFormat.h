#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorna::backend {

// The facts of a report as a person reads them. The kit sends raw values (megabytes as
// fractions, a battery state as "0" to "3", an orientation as the device's number, times as
// ISO 8601 text); these turn them into words and units. Times are shown in this backend's own
// time zone, always with the zone's name, since the pages are rendered here and read
// elsewhere.
class FactFormat {
public:
    struct Instant {
        std::int64_t unixSeconds = 0;
        double fraction = 0;    // of a second, 0 <= fraction < 1
        int offsetSeconds = 0;  // the offset the text was written with
    };
    // "2024-03-01T12:00:10+01:00", "…Z", "…+0100", "2024-05-01T10:00:00.123Z".
    static std::optional<Instant> parseTime(std::string_view text);

    // "24 Nov 2026, 09:28:39 UTC"
    static std::string dateTime(std::int64_t unixSeconds);
    // "24 Nov 2026, 09:28", for a list whose heading names the zone.
    static std::string shortDateTime(std::int64_t unixSeconds);
    // "09:28:39", or "09:28" without seconds.
    static std::string clock(std::int64_t unixSeconds, bool withSeconds);
    // "24 Nov 2026"
    static std::string date(std::int64_t unixSeconds);
    // The name of the zone the pages use at that moment, such as "UTC" or "CET".
    static std::string zoneName(std::int64_t unixSeconds);
    // A time text of a report: its moment in this backend's zone, and the clock the device
    // showed when that differs ("… 10:28:39 on the device, UTC+01:00"). The text as it is
    // when it is not a time.
    static std::string reportTime(std::string_view text);
    // "UTC+01:00", "UTC-05:30", "UTC".
    static std::string offsetName(int offsetSeconds);

    // Megabytes (of 1,048,576 bytes, as the kit counts them) in the unit that suits them:
    // "512 KB", "14.2 MB", "812 MB", "1.54 GB", "251.97 GB".
    static std::string megabytes(double megabytes);
    // A fraction from 0 to 1 as "75 %"; a negative one (the kit's "unknown") as "unknown".
    static std::string batteryFraction(double fraction);
    // A percentage (the black box writes 0 to 100, or -1 when unknown) as "50 %".
    static std::string batteryPercent(double percent);
    // The battery state as the report's facts ("0" to "3") or the black box ("unplugged")
    // give it.
    static std::string batteryState(std::string_view value);
    // The device's orientation number (0 to 6) or a black box word ("landscape").
    static std::string deviceOrientation(std::int64_t value);
    static std::string orientationWord(std::string_view word);
    // "wifi" → "Wi-Fi", "offline" → "Offline", a radio access technology constant → its name.
    static std::string networkType(std::string_view type);
    // The application's session state codes: "0" foreground, "1" inactive, "2" background.
    static std::string sessionState(std::string_view code);
    static std::string permissionState(std::string_view state);
    static std::string permissionName(std::string_view name);

    // A number with at most `decimals` decimals and no trailing zeros: 14.2, 812, 0.005.
    static std::string number(double value, int decimals);
    // "45 s", "3 min 12 s", "2 h 5 min", "3 d 4 h".
    static std::string duration(double seconds);
    // The first letter upper-cased (ASCII only).
    static std::string capitalized(std::string_view text);
};

}  // namespace vorna::backend
