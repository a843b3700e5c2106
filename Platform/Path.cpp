#include "Platform/Path.h"

#include "Platform/Text.h"

#include <type_traits>

namespace {

using std::filesystem::path;

constexpr bool isWide = std::is_same_v<path::value_type, wchar_t>;

} // namespace

path Platform::pathFromUtf8(std::string_view utf8) {
    if constexpr (isWide)
        return wideFromUtf8(utf8);
    else
        return utf8;
}

std::string Platform::utf8FromPath(const path& path) {
    if constexpr (isWide)
        return utf8FromWide(path.wstring());
    else
        return path.string();
}

bool Platform::isSeparator(char character) noexcept {
    return character == '/' || character == static_cast<char>(path::preferred_separator);
}
