#include "Printable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Diagnosis {

namespace {

struct CodePoint {
    std::uint32_t value = 0;
    std::size_t bytes = 0; ///< 0 if the text does not start with a well-formed sequence
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

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

/// Controls, separators of lines, and what is itself not seen but turns, joins, hides, tags, selects or
/// stands in for what is.
constexpr Range unseen[] = {
    {0x00, 0x1F},       {0x7F, 0x9F},     {0xAD, 0xAD},     {0x034F, 0x034F},   {0x061C, 0x061C},
    {0x115F, 0x1160},   {0x17B4, 0x17B5}, {0x180B, 0x180F}, {0x200B, 0x200F},   {0x2028, 0x202E},
    {0x2060, 0x206F},   {0x2800, 0x2800}, {0x3164, 0x3164}, {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},
    {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB}, {0xFFFE, 0xFFFF}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
    {0xE0000, 0xE0FFF},
};

bool isUnseen(std::uint32_t value) {
    return std::any_of(std::begin(unseen), std::end(unseen),
                       [value](const Range& range) { return range.first <= value && value <= range.last; });
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
        if (point.bytes == 0 || isUnseen(point.value))
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
        if (point.bytes != 0 && isUnseen(point.value) && point.value != '\n')
            result += "&#" + std::to_string(point.value) + ";";
        else
            result += xml.substr(0, point.bytes);
        xml.remove_prefix(point.bytes == 0 ? 1 : point.bytes);
    }
    return result;
}

} // namespace Diagnosis
