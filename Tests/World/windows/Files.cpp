#include "World/System.h"

#include <filesystem>

std::FILE* World::openFile(const char* utf8Path, const char* mode) {
    // Not by Platform's conversion: its calls are the test's.
    const std::filesystem::path path(reinterpret_cast<const char8_t*>(utf8Path));
    return _wfopen(path.c_str(), std::filesystem::path(mode).c_str());
}
