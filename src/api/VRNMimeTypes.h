#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vorna {

// Filename extension → MIME type, from the freedesktop shared-mime-info glob list ("globs2"),
// the registry desktop Linux uses. Only the simple "*.ext" globs matter here: the kit looks up
// a bare extension, never a whole name. Among the globs that match, the heaviest wins; at equal
// weight a case-sensitive glob wins over one that ignores case, then the one listed first.
class VRNMimeTypes {
public:
    // Parses the text of a globs2 file ("weight:type:glob[:flags]" lines).
    explicit VRNMimeTypes(std::string_view globs2);

    // The system's database, read once on first use (from any thread). A system without the
    // database answers nothing for every extension.
    static const VRNMimeTypes& shared();
    static VRNMimeTypes fromFile(const std::filesystem::path& path);

    // The registered type of the extension (without the dot), or nothing.
    std::optional<std::string> mimeTypeForExtension(std::string_view extension) const;
    bool empty() const { return caseSensitive_.empty() && caseInsensitive_.empty(); }

private:
    struct Entry {
        int weight = 0;
        std::string mimeType;
    };
    // Keeps the heavier entry; at equal weight the one listed first stays.
    static void keep(std::unordered_map<std::string, Entry>& map, std::string key, Entry entry);

    std::unordered_map<std::string, Entry> caseSensitive_;    // by exact extension
    std::unordered_map<std::string, Entry> caseInsensitive_;  // by lower-case extension
};

}  // namespace vorna
