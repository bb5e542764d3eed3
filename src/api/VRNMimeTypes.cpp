#include "api/VRNMimeTypes.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <vector>

namespace vorna {
namespace {

constexpr const char* kSystemGlobs2 = "/usr/share/mime/globs2";

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return result;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    for (;;) {
        const size_t at = text.find(separator, start);
        parts.push_back(text.substr(start, at == std::string_view::npos ? at : at - start));
        if (at == std::string_view::npos) {
            return parts;
        }
        start = at + 1;
    }
}

}  // namespace

VRNMimeTypes::VRNMimeTypes(std::string_view globs2) {
    for (std::string_view line : split(globs2, '\n')) {
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const auto fields = split(line, ':');
        if (fields.size() < 3) {
            continue;
        }
        int weight = 0;
        const auto [end, error] =
            std::from_chars(fields[0].data(), fields[0].data() + fields[0].size(), weight);
        if (error != std::errc() || end != fields[0].data() + fields[0].size()) {
            continue;
        }
        const std::string_view glob = fields[2];
        if (glob.size() < 3 || glob.substr(0, 2) != "*.") {
            continue;
        }
        // Only a literal extension can match a bare extension: "*.tar.gz" or "*.[ch]" cannot.
        const std::string_view extension = glob.substr(2);
        if (extension.find_first_of("*?[]\\.") != std::string_view::npos) {
            continue;
        }
        bool caseSensitive = false;
        if (fields.size() > 3) {
            for (std::string_view flag : split(fields[3], ',')) {
                caseSensitive = caseSensitive || flag == "cs";
            }
        }
        Entry entry{weight, std::string(fields[1])};
        if (caseSensitive) {
            keep(caseSensitive_, std::string(extension), std::move(entry));
        } else {
            keep(caseInsensitive_, lowered(extension), std::move(entry));
        }
    }
}

void VRNMimeTypes::keep(std::unordered_map<std::string, Entry>& map, std::string key, Entry entry) {
    const auto existing = map.find(key);
    if (existing == map.end()) {
        map.emplace(std::move(key), std::move(entry));
    } else if (entry.weight > existing->second.weight) {
        existing->second = std::move(entry);
    }
}

const VRNMimeTypes& VRNMimeTypes::shared() {
    // A function-local static: read once, and safely when first asked from several threads.
    static const VRNMimeTypes database = fromFile(kSystemGlobs2);
    return database;
}

VRNMimeTypes VRNMimeTypes::fromFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file) {
        text << file.rdbuf();
    }
    return VRNMimeTypes(text.str());
}

std::optional<std::string> VRNMimeTypes::mimeTypeForExtension(std::string_view extension) const {
    if (extension.empty()) {
        return std::nullopt;
    }
    const Entry* best = nullptr;
    if (const auto exact = caseSensitive_.find(std::string(extension));
        exact != caseSensitive_.end()) {
        best = &exact->second;
    }
    if (const auto folded = caseInsensitive_.find(lowered(extension));
        folded != caseInsensitive_.end()) {
        const Entry& candidate = folded->second;
        if (best == nullptr || candidate.weight > best->weight) {
            best = &candidate;
        }
    }
    if (best == nullptr) {
        return std::nullopt;
    }
    return best->mimeType;
}

}  // namespace vorna
