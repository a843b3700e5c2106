#pragma once
// Reads from a stream without an exception, whatever the stream's owner asked for.

#include <cstddef>
#include <istream>

namespace Korva {

/// Reads up to `count` bytes and returns how many came: fewer at the end of the stream, and none of those
/// that a stream buffer delivered in a call that it left by an exception. The bytes behind them are
/// undefined.
inline std::size_t readBytes(std::istream& file, unsigned char* bytes, std::size_t count) noexcept {
    try {
        file.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count));
    } catch (...) {
        // From the stream's exception mask or from its buffer. The count tells all that a decoder asks for.
    }
    return static_cast<std::size_t>(file.gcount());
}

} // namespace Korva
