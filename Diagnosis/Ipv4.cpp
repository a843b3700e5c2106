#include "Ipv4.h"

#include <bit>
#include <charconv>
#include <system_error>

namespace Diagnosis {

std::optional<std::uint32_t> ipv4Number(std::string_view text) {
    std::uint32_t address = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && (at == end || *at++ != '.'))
            return std::nullopt;
        unsigned value = 0;
        const auto [behind, error] = std::from_chars(at, end, value);
        const bool hasFurtherZero = behind - at > 1 && *at == '0';
        if (error != std::errc() || value > 255 || hasFurtherZero)
            return std::nullopt;
        address = (address << 8) | value;
        at = behind;
    }
    if (at != end)
        return std::nullopt;
    return address;
}

std::string ipv4Text(std::uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += (text.empty() ? "" : ".") + std::to_string((address >> shift) & 255u);
    return text;
}

bool isLinkLocal(std::string_view address) {
    return (ipv4Number(address).value_or(0) >> 16) == 0xA9FE;
}

bool isInNetworkOf(const OwnAddress& own, std::string_view address) {
    const auto mine = ipv4Number(own.address);
    const auto mask = ipv4Number(own.mask);
    const auto other = ipv4Number(address);
    if (!mine || !mask || !other || *mine == 0 || *other == 0)
        return false;
    return (*mine & *mask) == (*other & *mask);
}

bool areNeighbours(std::string_view one, std::string_view other) {
    const auto first = ipv4Number(one);
    const auto second = ipv4Number(other);
    return first && second && (*first >> 8) == (*second >> 8);
}

std::string withMask(const OwnAddress& own) {
    const auto mask = ipv4Number(own.mask);
    const bool hasLength = mask && std::countl_one(*mask) + std::countr_zero(*mask) == 32;
    return own.address + "/" + (hasLength ? std::to_string(std::countl_one(*mask)) : own.mask);
}

} // namespace Diagnosis
