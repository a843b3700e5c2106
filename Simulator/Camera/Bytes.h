#pragma once
// Bytes as they travel: big-endian numbers in and out of byte vectors.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Simulator {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

inline void append16(Bytes& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

inline void append32(Bytes& bytes, std::uint32_t value) {
    append16(bytes, value >> 16);
    append16(bytes, value);
}

/// Reads two bytes at `offset`; the caller has checked that they are there.
inline std::uint16_t read16(ByteView bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

/// Reads four bytes at `offset`; the caller has checked that they are there.
inline std::uint32_t read32(ByteView bytes, std::size_t offset) {
    return static_cast<std::uint32_t>(read16(bytes, offset)) << 16 | read16(bytes, offset + 2);
}

} // namespace Simulator
