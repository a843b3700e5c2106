#pragma once
// Whole-string conversion between UTF-8 and the host's wide texts, over the platform's converters.

#include "Platform/Kernel.h"

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace Platform {

/// UTF-8 to wide, malformed text becoming U+FFFD. Empty for an empty text, for one of more than INT_MAX
/// bytes and if the conversion fails.
inline std::wstring wideFromUtf8(std::string_view text) {
    if (text.empty() || text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return {};
    const int bytes = static_cast<int>(text.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    if (needed <= 0)
        return {};
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    const int written = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, wide.data(), needed);
    return written == needed ? wide : std::wstring();
}

/// Wide to UTF-8; the twin of wideFromUtf8.
inline std::string utf8FromWide(std::wstring_view wide) {
    if (wide.empty() || wide.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return {};
    const int count = static_cast<int>(wide.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, wide.data(), count, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        return {};
    std::string text(static_cast<std::size_t>(needed), '\0');
    const int written =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), count, text.data(), needed, nullptr, nullptr);
    return written == needed ? text : std::string();
}

} // namespace Platform
