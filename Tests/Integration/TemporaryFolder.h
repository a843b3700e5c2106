#pragma once
// A folder of one test's own, and what the files in it hold.

#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <vector>

namespace Integration {

using TestSupport::TemporaryFolder;

inline std::vector<unsigned char> fileBytes(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace Integration
