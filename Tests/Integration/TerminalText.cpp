#include "TerminalText.h"

#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace Integration {

namespace {

// Unicode's category of format characters, as far as scripts do not need them, and fillers and blanks that
// look like a space.
constexpr std::wstring_view unseenCharacters =
    L"\u00AD\u061C\u180E\u200B\u200C\u200D\u200E\u200F\u202A\u202B\u202C\u202D\u202E\u2060\u2061\u2062\u2063"
    L"\u2064\u2066\u2067\u2068\u2069\u206A\u206B\u206C\u206D\u206E\u206F\uFEFF\uFFF9\uFFFA\uFFFB"
    L"\u115F\u1160\u2800\u3164\uFFA0";

bool isDangerous(wchar_t character) {
    const bool isTag = character >= L'\U000E0000' && character <= L'\U000E0FFF';
    const bool isSelector = character >= L'\uFE00' && character <= L'\uFE0F';
    return (character != L'\n' && std::iswcntrl(static_cast<std::wint_t>(character)) != 0) || isTag ||
           isSelector || unseenCharacters.find(character) != std::wstring_view::npos;
}

std::string described(const char* what, unsigned int number, std::size_t at) {
    char text[64];
    std::snprintf(text, sizeof text, "%s %X at byte %zu", what, number, at);
    return text;
}

} // namespace

std::string whatSteersATerminal(const std::string& text) {
    std::mbstate_t state{};
    for (std::size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        const std::size_t bytes = std::mbrtowc(&character, text.data() + at, text.size() - at, &state);
        if (bytes == 0 || bytes > text.size())
            return described("the byte", static_cast<unsigned char>(text[at]), at);
        if (isDangerous(character))
            return described("the character U+", static_cast<unsigned int>(character), at);
        at += bytes;
    }
    return {};
}

} // namespace Integration
