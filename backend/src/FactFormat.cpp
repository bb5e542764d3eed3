#include "FactFormat.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace vorna::backend {

namespace {

bool digits(std::string_view text, std::size_t at, std::size_t count, int& value) {
    if (at + count > text.size()) {
        return false;
    }
    value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return false;
        }
        value = value * 10 + (text[i] - '0');
    }
    return true;
}

std::tm localTm(std::int64_t unixSeconds) {
    const auto seconds = static_cast<std::time_t>(unixSeconds);
    std::tm tm{};
    ::localtime_r(&seconds, &tm);
    return tm;
}

enum class Pattern { DateTime, DateMinutes, Date, Clock, ClockMinutes };

// strftime with a literal pattern each, which the compiler checks.
std::string formatTm(const std::tm& tm, Pattern pattern) {
    char text[64];
    std::size_t n = 0;
    switch (pattern) {
        case Pattern::DateTime:
            n = std::strftime(text, sizeof text, "%d %b %Y, %H:%M:%S", &tm);
            break;
        case Pattern::DateMinutes:
            n = std::strftime(text, sizeof text, "%d %b %Y, %H:%M", &tm);
            break;
        case Pattern::Date:
            n = std::strftime(text, sizeof text, "%d %b %Y", &tm);
            break;
        case Pattern::Clock:
            n = std::strftime(text, sizeof text, "%H:%M:%S", &tm);
            break;
        case Pattern::ClockMinutes:
            n = std::strftime(text, sizeof text, "%H:%M", &tm);
            break;
    }
    return std::string(text, n);
}

}  // namespace

std::optional<FactFormat::Instant> FactFormat::parseTime(std::string_view text) {
    std::tm tm{};
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!digits(text, 0, 4, year) || text.size() < 19 || text[4] != '-' ||
        !digits(text, 5, 2, month) || text[7] != '-' || !digits(text, 8, 2, day) ||
        (text[10] != 'T' && text[10] != ' ') || !digits(text, 11, 2, hour) || text[13] != ':' ||
        !digits(text, 14, 2, minute) || text[16] != ':' || !digits(text, 17, 2, second)) {
        return std::nullopt;
    }
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
        return std::nullopt;
    }
    Instant instant;
    std::size_t at = 19;
    if (at < text.size() && text[at] == '.') {
        double scale = 0.1;
        for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
            instant.fraction += scale * (text[at] - '0');
            scale /= 10;
        }
    }
    const std::string_view zone = text.substr(at);
    if (zone == "Z") {
        instant.offsetSeconds = 0;
    } else if (!zone.empty() && (zone[0] == '+' || zone[0] == '-')) {
        int hours = 0;
        int minutes = 0;
        const bool colon = zone.size() == 6 && zone[3] == ':';
        if (!(zone.size() == 6 || zone.size() == 5 || zone.size() == 3) ||
            !digits(zone, 1, 2, hours) ||
            (zone.size() > 3 && !digits(zone, colon ? 4 : 3, 2, minutes)) ||
            (zone.size() == 5 && zone.find(':') != std::string_view::npos) || hours > 23 ||
            minutes > 59) {
            return std::nullopt;
        }
        instant.offsetSeconds = (zone[0] == '-' ? -1 : 1) * (hours * 3600 + minutes * 60);
    } else {
        return std::nullopt;
    }
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    instant.unixSeconds = static_cast<std::int64_t>(::timegm(&tm)) - instant.offsetSeconds;
    return instant;
}

std::string FactFormat::dateTime(std::int64_t unixSeconds) {
    std::string text = formatTm(localTm(unixSeconds), Pattern::DateTime);
    if (!text.empty() && text[0] == '0') {
        text.erase(0, 1);
    }
    return text + " " + zoneName(unixSeconds);
}

std::string FactFormat::shortDateTime(std::int64_t unixSeconds) {
    std::string text = formatTm(localTm(unixSeconds), Pattern::DateMinutes);
    if (!text.empty() && text[0] == '0') {
        text.erase(0, 1);
    }
    return text;
}

std::string FactFormat::clock(std::int64_t unixSeconds, bool withSeconds) {
    return formatTm(localTm(unixSeconds), withSeconds ? Pattern::Clock : Pattern::ClockMinutes);
}

std::string FactFormat::date(std::int64_t unixSeconds) {
    std::string text = formatTm(localTm(unixSeconds), Pattern::Date);
    if (!text.empty() && text[0] == '0') {
        text.erase(0, 1);
    }
    return text;
}

std::string FactFormat::zoneName(std::int64_t unixSeconds) {
    const std::tm tm = localTm(unixSeconds);
    if (tm.tm_zone != nullptr && tm.tm_zone[0] != '\0') {
        return tm.tm_zone;
    }
    return offsetName(static_cast<int>(tm.tm_gmtoff));
}

std::string FactFormat::offsetName(int offsetSeconds) {
    if (offsetSeconds == 0) {
        return "UTC";
    }
    const int magnitude = std::abs(offsetSeconds);
    char text[32];
    std::snprintf(text, sizeof text, "UTC%c%02d:%02d", offsetSeconds < 0 ? '-' : '+',
                  magnitude / 3600, magnitude / 60 % 60);
    return text;
}

std::string FactFormat::reportTime(std::string_view text) {
    const auto instant = parseTime(text);
    if (!instant) {
        return std::string(text);
    }
    std::string shown = dateTime(instant->unixSeconds);
    if (instant->offsetSeconds != localTm(instant->unixSeconds).tm_gmtoff) {
        const auto deviceSeconds =
            static_cast<std::time_t>(instant->unixSeconds + instant->offsetSeconds);
        std::tm device{};
        ::gmtime_r(&deviceSeconds, &device);
        shown += " (" + formatTm(device, Pattern::Clock) + " on the device, " +
                 offsetName(instant->offsetSeconds) + ")";
    }
    return shown;
}

std::string FactFormat::number(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    std::string out = text;
    if (out.find('.') != std::string::npos) {
        while (out.back() == '0') {
            out.pop_back();
        }
        if (out.back() == '.') {
            out.pop_back();
        }
    }
    return out == "-0" ? "0" : out;
}

std::string FactFormat::megabytes(double megabytes) {
    if (megabytes < 0) {
        return "unknown";
    }
    if (megabytes < 1) {
        return number(megabytes * 1024, megabytes * 1024 < 10 ? 1 : 0) + " KB";
    }
    if (megabytes < 1024) {
        return number(megabytes, megabytes < 100 ? 1 : 0) + " MB";
    }
    const double gigabytes = megabytes / 1024;
    if (gigabytes < 1024) {
        return number(gigabytes, 2) + " GB";
    }
    return number(gigabytes / 1024, 2) + " TB";
}

std::string FactFormat::batteryFraction(double fraction) {
    return fraction < 0 ? "unknown" : batteryPercent(fraction * 100);
}

std::string FactFormat::batteryPercent(double percent) {
    return percent < 0 ? "unknown" : number(percent, percent < 10 ? 1 : 0) + " %";
}

std::string FactFormat::batteryState(std::string_view value) {
    if (value == "0" || value == "unknown") {
        return "Unknown";
    }
    if (value == "1" || value == "unplugged") {
        return "Unplugged";
    }
    if (value == "2" || value == "charging") {
        return "Charging";
    }
    if (value == "3" || value == "full") {
        return "Full";
    }
    return std::string(value);
}

std::string FactFormat::deviceOrientation(std::int64_t value) {
    switch (value) {
        case 0:
            return "Unknown";
        case 1:
            return "Portrait";
        case 2:
            return "Portrait, upside down";
        case 3:
            return "Landscape left";
        case 4:
            return "Landscape right";
        case 5:
            return "Face up";
        case 6:
            return "Face down";
        default:
            return "Unknown (" + std::to_string(value) + ")";
    }
}

std::string FactFormat::orientationWord(std::string_view word) {
    return capitalized(word);
}

std::string FactFormat::networkType(std::string_view type) {
    static constexpr std::string_view kRadioPrefix = "CTRadioAccessTechnology";
    if (type == "wifi") {
        return "Wi-Fi";
    }
    if (type == "offline" || type == "Offline") {
        return "Offline";
    }
    if (type.starts_with(kRadioPrefix)) {
        const std::string_view technology = type.substr(kRadioPrefix.size());
        return "Cellular " + std::string(technology == "eHRPD" ? "HRPD" : technology);
    }
    return std::string(type);
}

std::string FactFormat::sessionState(std::string_view code) {
    if (code == "0") {
        return "Foreground";
    }
    if (code == "1") {
        return "Inactive";
    }
    if (code == "2") {
        return "Background";
    }
    return capitalized(code);
}

std::string FactFormat::permissionState(std::string_view state) {
    if (state == "on") {
        return "Granted";
    }
    if (state == "only_while_using_the_app") {
        return "While the app is in use";
    }
    if (state == "off") {
        return "Not granted";
    }
    if (state == "denied") {
        return "Denied";
    }
    return std::string(state);
}

std::string FactFormat::permissionName(std::string_view name) {
    if (name == "medialibrary") {
        return "Media library";
    }
    if (name == "photolibrary") {
        return "Photo library";
    }
    return capitalized(name);
}

std::string FactFormat::duration(double seconds) {
    if (!(seconds >= 0)) {
        return "0 s";
    }
    const auto total = static_cast<std::int64_t>(std::llround(seconds));
    if (total < 60) {
        return std::to_string(total) + " s";
    }
    if (total < 3600) {
        const auto rest = total % 60;
        return std::to_string(total / 60) + " min" +
               (rest ? " " + std::to_string(rest) + " s" : "");
    }
    if (total < 86400) {
        const auto rest = total / 60 % 60;
        return std::to_string(total / 3600) + " h" +
               (rest ? " " + std::to_string(rest) + " min" : "");
    }
    const auto rest = total / 3600 % 24;
    return std::to_string(total / 86400) + " d" + (rest ? " " + std::to_string(rest) + " h" : "");
}

std::string FactFormat::capitalized(std::string_view text) {
    std::string out(text);
    if (!out.empty() && out[0] >= 'a' && out[0] <= 'z') {
        out[0] = static_cast<char>(out[0] - 'a' + 'A');
    }
    return out;
}

}  // namespace vorna::backend
