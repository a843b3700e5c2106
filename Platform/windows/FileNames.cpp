#include "Platform/FileNames.h"

#include "Platform/Kernel.h"
#include "Platform/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace {

/// They are devices in every folder, whatever follows behind a dot.
bool isDevice(std::string_view stem) {
    static constexpr std::array<std::string_view, 6> alone = {"CON", "PRN",    "AUX",
                                                              "NUL", "CONIN$", "CONOUT$"};
    static constexpr std::array<std::string_view, 2> numbered = {"COM", "LPT"};
    std::string capitals(stem.substr(0, stem.find_last_not_of(' ') + 1));
    std::transform(capitals.begin(), capitals.end(), capitals.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    const bool isNumbered =
        capitals.size() == 4 && std::isdigit(static_cast<unsigned char>(capitals.back())) != 0;
    return std::find(alone.begin(), alone.end(), capitals) != alone.end() ||
           (isNumbered &&
            std::find(numbered.begin(), numbered.end(), capitals.substr(0, 3)) != numbered.end());
}

} // namespace

std::string Platform::keptName(std::string name) {
    const std::size_t last = name.find_last_not_of(". ");
    std::fill(name.begin() + static_cast<std::ptrdiff_t>(last + 1), name.end(), '_');
    return isDevice(std::string_view(name).substr(0, name.find('.'))) ? '_' + name : name;
}

std::string Platform::comparedPath(const std::string& path) {
    const std::wstring wide = wideFromUtf8(path);
    const int length = static_cast<int>(wide.size());
    std::wstring capitals(wide.size(), L'\0');
    const int converted = LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, wide.data(), length,
                                        capitals.data(), length, nullptr, nullptr, 0);
    return converted == length ? utf8FromWide(capitals) : path;
}
