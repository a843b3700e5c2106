#include "Platform/Program.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <system_error>

std::string Platform::programFolder() {
    std::error_code code;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", code);
    return code ? std::string() : program.parent_path().string();
}

std::vector<std::string> Platform::programArguments(int argc, const char* const* argv) {
    return {argv, argv + argc};
}

void Platform::useUtf8() {
    std::setlocale(LC_CTYPE, "");
    wchar_t wide = 0;
    const bool utf8 = std::mbtowc(&wide, "\xC3\xA9", 2) == 2 && wide == L'\u00E9';
    if (!utf8)
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

void Platform::endAtOnce(int status) noexcept {
    std::_Exit(status);
}
