#include "Columns.h"

#include "Platform/Columns.h"

#include <algorithm>

namespace Console {

namespace {

struct Character {
    std::string_view bytes;
    std::size_t columns = 0;
};

/// Of a text that is well-formed and not empty.
Character firstOf(std::string_view text) {
    const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const std::size_t count = byte(0) < 0x80 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    const std::string_view bytes = text.substr(0, count);
    char32_t value = count == 1 ? byte(0) : byte(0) & (0x7Fu >> count);
    for (std::size_t i = 1; i < bytes.size(); ++i)
        value = value << 6 | (byte(i) & 0x3Fu);
    return {bytes, static_cast<std::size_t>(Platform::columnsOf(value))};
}

/// What fits into so many columns.
std::string_view beginOf(std::string_view text, std::size_t columns) {
    std::size_t end = 0;
    while (end < text.size()) {
        const Character next = firstOf(text.substr(end));
        if (next.columns > columns)
            break;
        columns -= next.columns;
        end += next.bytes.size();
    }
    return text.substr(0, end);
}

} // namespace

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const Character next = firstOf(text);
        columns += next.columns;
        text.remove_prefix(next.bytes.size());
    }
    return columns;
}

std::string shortened(std::string_view text, std::size_t columns) {
    if (columnsOf(text) <= columns)
        return std::string(text);
    return std::string(beginOf(text, columns - 1)) + "\u2026";
}

std::string padded(std::string text, std::size_t columns) {
    const std::size_t taken = columnsOf(text);
    text.append(std::max(columns, taken) - taken, ' ');
    return text;
}

} // namespace Console
