#pragma once
// IPv4 addresses as people write them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Simulator {

/// "10.77.1.11" as 0x0A4D010B. Nothing if the text is not four numbers from 0 to 255 between three dots,
/// each of at most three digits.
std::optional<std::uint32_t> ipv4FromText(std::string_view text);

/// As ipv4FromText, of a net mask: ones from the left, then zeros.
std::optional<std::uint32_t> netMaskFromText(std::string_view text);

std::string ipv4Text(std::uint32_t address);

} // namespace Simulator
