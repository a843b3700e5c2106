#pragma once
// The few letters that a contact sheet needs.

#include <array>
#include <cstdint>

namespace Console {

inline constexpr unsigned glyphWidth = 5;
inline constexpr unsigned glyphHeight = 7;

/// The rows of a letter from the top; of a row, bit 4 is the leftmost pixel. Small letters look like
/// capitals, and what the font has not is a box.
const std::array<std::uint8_t, glyphHeight>& glyphOf(char letter);

} // namespace Console
