#include "Platform/Program.h"

#include <filesystem>
#include <system_error>

std::string Platform::programFolder() {
    std::error_code code;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", code);
    return code ? std::string() : program.parent_path().string();
}
