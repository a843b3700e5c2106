#pragma once
// Bytes written out by hand: "01 0000000D"_hex.

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace HexBytes {

/// Two hexadecimal digits a byte; blanks between bytes mean nothing.
inline std::vector<std::uint8_t> operator""_hex(const char* text, std::size_t length) {
    std::string digits;
    for (std::size_t i = 0; i < length; ++i)
        if (std::isspace(static_cast<unsigned char>(text[i])) == 0)
            digits += text[i];
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

} // namespace HexBytes
