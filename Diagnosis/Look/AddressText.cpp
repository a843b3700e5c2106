#include "AddressText.h"

#include <array>
#include <charconv>
#include <cstring>

namespace Diagnosis {

namespace {

using Bytes = std::array<unsigned char, 4>;

Bytes bytesOf(std::uint32_t address) {
    Bytes bytes{};
    std::memcpy(bytes.data(), &address, sizeof address);
    return bytes;
}

} // namespace

std::string dottedText(std::uint32_t address) {
    std::string text;
    for (const unsigned char byte : bytesOf(address))
        text.append(text.empty() ? "" : ".").append(std::to_string(byte));
    return text;
}

std::optional<std::uint32_t> addressFromText(std::string_view text) {
    Bytes bytes{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (unsigned char& byte : bytes) {
        if (&byte != bytes.data() && (at == end || *at++ != '.'))
            return std::nullopt;
        const auto [behind, error] = std::from_chars(at, end, byte);
        const bool hasZeroBefore = behind - at > 1 && *at == '0';
        if (error != std::errc() || hasZeroBefore)
            return std::nullopt;
        at = behind;
    }
    std::uint32_t address = 0;
    std::memcpy(&address, bytes.data(), sizeof address);
    return at == end ? std::optional(address) : std::nullopt;
}

bool isLinkLocal(std::uint32_t address) {
    const Bytes bytes = bytesOf(address);
    return bytes[0] == 169 && bytes[1] == 254;
}

} // namespace Diagnosis
