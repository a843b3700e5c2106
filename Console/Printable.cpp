#include "Printable.h"

#include <cstddef>
#include <cstdint>

namespace Console {

namespace {

struct CodePoint {
    std::uint32_t value = 0;
    std::size_t bytes = 0; ///< 0 where the text does not start with a well-formed sequence
};

std::uint8_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

CodePoint firstCodePoint(std::string_view text) {
    const std::uint8_t lead = byteAt(text, 0);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes)
        return {};

    std::uint32_t value = lead & (0x7Fu >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((byteAt(text, i) & 0xC0) != 0x80)
            return {};
        value = (value << 6) | (byteAt(text, i) & 0x3Fu);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < smallest[bytes] || value > 0x10FFFF || surrogate)
        return {};
    return {value, bytes};
}

bool steersTerminal(std::uint32_t value) {
    const bool control = value < 0x20 || (value >= 0x7F && value <= 0x9F);
    const bool separator = value == 0x2028 || value == 0x2029;
    const bool direction = value == 0x061C || value == 0x200E || value == 0x200F ||
                           (value >= 0x202A && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
    return control || separator || direction;
}

void appendEscaped(std::string& result, std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    for (const char byte : bytes) {
        const auto number = static_cast<std::uint8_t>(byte);
        result += "\\x";
        result += digits[number >> 4];
        result += digits[number & 15];
    }
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const CodePoint point = firstCodePoint(text);
        const std::string_view bytes = text.substr(0, point.bytes == 0 ? 1 : point.bytes);
        if (point.bytes == 0 || steersTerminal(point.value))
            appendEscaped(result, bytes);
        else
            result += bytes;
        text.remove_prefix(bytes.size());
    }
    return result;
}

std::string printableXml(std::string_view xml) {
    std::string result;
    result.reserve(xml.size());
    while (!xml.empty()) {
        const CodePoint point = firstCodePoint(xml);
        if (point.bytes != 0 && steersTerminal(point.value) && point.value != '\n')
            result += "&#" + std::to_string(point.value) + ";";
        else
            result += xml.substr(0, point.bytes);
        xml.remove_prefix(point.bytes == 0 ? 1 : point.bytes);
    }
    return result;
}

} // namespace Console
