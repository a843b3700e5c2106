#include "Camera/QuotedText.h"

namespace Simulator {

namespace {

constexpr std::size_t mostShown = 300;

} // namespace

std::string quotedText(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string shown;
    for (const char character : text.substr(0, mostShown)) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte >= ' ' && byte <= '~' && byte != '\\')
            shown += character;
        else
            shown.append("\\x").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    if (text.size() > mostShown)
        shown += "... (" + std::to_string(text.size()) + " bytes)";
    return shown;
}

std::string quotedText(ByteView bytes) {
    return quotedText(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

} // namespace Simulator
