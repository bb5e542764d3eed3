#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vorna::backend {

// A received report document read for the pages. Clients post whatever JSON they like, so
// every reader here answers "nothing" for a member that is missing or of the wrong kind
// instead of throwing: one odd member must never cost the reader the rest of the report.
class ReportDocument {
public:
    explicit ReportDocument(const std::string& body);

    // False when the body is not JSON at all; a JSON value that is not an object is parsed
    // but has no members.
    bool parsed() const { return parsed_; }
    const nlohmann::json& json() const { return json_; }

    const nlohmann::json& member(std::string_view key) const { return memberOf(json_, key); }
    std::optional<std::string> text(std::string_view key) const { return textOf(member(key)); }
    std::optional<double> number(std::string_view key) const { return numberOf(member(key)); }

    // One text member of a document's top level, read without building the rest of it (a
    // list shows one member of many reports, each with its histories).
    static std::optional<std::string> topLevelText(const std::string& body, std::string_view key);

    // The member of an object; a null value when it is missing or `object` is no object.
    static const nlohmann::json& memberOf(const nlohmann::json& object, std::string_view key);
    // A string as it is, a number or boolean as JSON writes it; nothing for the rest.
    static std::optional<std::string> textOf(const nlohmann::json& value);
    // A finite number, or a string that holds nothing but one (the kit sends some numbers as
    // text: "0.75", "-1.000").
    static std::optional<double> numberOf(const nlohmann::json& value);
    static std::optional<double> parseNumber(std::string_view text);

    // The id of a file this backend handed out, from the absolute URL the client was given
    // ("http://host:port/files/<id>/<name>"), whatever host it used to reach us.
    static std::optional<std::string> localFileId(std::string_view url);

    static std::string firstLine(std::string_view text);

    // A file of a report as the pages link to it.
    struct LinkedFile {
        std::string path;  // on this backend: "/files/<id>/<name>"
        std::string name;
        std::string mimeType;
        std::int64_t size = 0;
        bool picture = false;  // a raster image, which an <img> may show
    };
    // Finds the file behind a URL of a report; nothing for one this backend does not hold.
    using FileLookup = std::function<std::optional<LinkedFile>(const std::string& url)>;

private:
    nlohmann::json json_;
    bool parsed_ = false;
};

}  // namespace vorna::backend
