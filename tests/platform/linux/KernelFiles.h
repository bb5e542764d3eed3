#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace vorna::test {

// Writes a /proc or /sys file of a fake tree, making its folders. The file is rewritten in
// place, so a descriptor a probe keeps open reads the new text.
inline void writeKernelFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

}  // namespace vorna::test
