#include "Camera/Ipv4.h"

#include <charconv>

namespace Simulator {

namespace {

constexpr int parts = 4;
constexpr std::size_t mostDigits = 3;

} // namespace

std::optional<std::uint32_t> ipv4FromText(std::string_view text) {
    std::uint32_t address = 0;
    for (int part = 1; part <= parts; ++part) {
        const std::string_view digits = text.substr(0, text.find('.'));
        std::uint8_t number = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, failure] = std::from_chars(digits.data(), end, number);
        const bool dotDue = part < parts;
        const bool dotThere = digits.size() < text.size();
        if (failure != std::errc() || stop != end || digits.size() > mostDigits || dotDue != dotThere)
            return std::nullopt;
        address = address << 8 | number;
        text.remove_prefix(digits.size() + (dotDue ? 1 : 0));
    }
    return address;
}

std::optional<std::uint32_t> netMaskFromText(std::string_view text) {
    const std::optional<std::uint32_t> mask = ipv4FromText(text);
    const std::uint32_t hostPart = ~mask.value_or(0);
    if (!mask || (hostPart & (hostPart + 1)) != 0)
        return std::nullopt;
    return mask;
}

std::string ipv4Text(std::uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (!text.empty())
            text += '.';
        text += std::to_string(address >> shift & 255U);
    }
    return text;
}

} // namespace Simulator
