#pragma once
// IPv4 addresses as numbers in network byte order, and as texts in dotted decimal.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Diagnosis {

std::string dottedText(std::uint32_t address);

/// Strict: four decimal numbers of at most 255, joined by dots; nothing for any other text.
std::optional<std::uint32_t> addressFromText(std::string_view text);

/// 169.254.x.x, which a computer gives itself where nobody else does.
bool isLinkLocal(std::uint32_t address);

} // namespace Diagnosis
