#pragma once
// The files of this tree as texts.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace Structure {

inline const std::filesystem::path root = KORVA_SOURCE_DIR;

inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// The files below a folder that end so, sorted.
inline std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder,
                                                     const std::set<std::string>& extensions) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (extensions.contains(entry.path().extension().string()))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace Structure
