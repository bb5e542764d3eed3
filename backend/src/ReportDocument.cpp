#include "ReportDocument.h"

#include <charconv>
#include <cmath>

namespace vorna::backend {

ReportDocument::ReportDocument(const std::string& body) {
    try {
        json_ = nlohmann::json::parse(body);
        parsed_ = true;
    } catch (const nlohmann::json::exception&) {
        json_ = nullptr;
    }
}

const nlohmann::json& ReportDocument::memberOf(const nlohmann::json& object, std::string_view key) {
    static const nlohmann::json kNothing;
    if (!object.is_object()) {
        return kNothing;
    }
    const auto it = object.find(key);
    return it == object.end() ? kNothing : *it;
}

std::optional<std::string> ReportDocument::topLevelText(const std::string& body,
                                                        std::string_view key) {
    using Event = nlohmann::json::parse_event_t;
    // Every member but the one asked for is dropped as soon as its key has been read, so
    // nothing below the top level is ever kept.
    const auto keep = [key](int depth, Event event, nlohmann::json& parsed) {
        return !(event == Event::key && depth == 1 && parsed.get_ref<const std::string&>() != key);
    };
    try {
        const auto document = nlohmann::json::parse(body, keep);
        return textOf(memberOf(document, key));
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

std::optional<std::string> ReportDocument::textOf(const nlohmann::json& value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_number() || value.is_boolean()) {
        return value.dump();
    }
    return std::nullopt;
}

std::optional<double> ReportDocument::parseNumber(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    double value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() ||
        !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ReportDocument::numberOf(const nlohmann::json& value) {
    if (value.is_number()) {
        const double number = value.get<double>();
        return std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
    }
    if (value.is_string()) {
        return parseNumber(value.get_ref<const std::string&>());
    }
    return std::nullopt;
}

std::optional<std::string> ReportDocument::localFileId(std::string_view url) {
    const std::size_t scheme = url.find("://");
    if (scheme == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t pathStart = url.find('/', scheme + 3);
    if (pathStart == std::string_view::npos) {
        return std::nullopt;
    }
    static constexpr std::string_view kPrefix = "/files/";
    const std::string_view path = url.substr(pathStart);
    if (!path.starts_with(kPrefix)) {
        return std::nullopt;
    }
    const std::string_view rest = path.substr(kPrefix.size());
    const std::string_view id = rest.substr(0, rest.find_first_of("/?#"));
    if (id.empty() || id.size() > 64 ||
        id.find_first_not_of("0123456789abcdef") != std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(id);
}

std::string ReportDocument::firstLine(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(start);
    std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) {
        line.remove_suffix(1);
    }
    return std::string(line);
}

}  // namespace vorna::backend
