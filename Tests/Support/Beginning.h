#pragma once
// Cut-off bytes: what of an answer or a file has come so far.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TestSupport {

/// The first `count` of the bytes; there must be as many.
inline std::vector<std::uint8_t> beginningOf(const std::vector<std::uint8_t>& bytes, std::size_t count) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

} // namespace TestSupport
