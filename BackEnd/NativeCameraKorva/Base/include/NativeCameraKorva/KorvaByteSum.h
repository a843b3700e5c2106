#pragma once
// The sum of many bytes, vectorised for the processor that runs it.

#include <cstddef>
#include <cstdint>

namespace Korva {

/// The sum, modulo 65536, of `count` bytes. Null is allowed for 0 bytes.
std::uint16_t sumOfBytes(const unsigned char* bytes, std::size_t count) noexcept;

} // namespace Korva
