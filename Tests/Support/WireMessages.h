#pragma once
// Writes the binary protocol's messages byte by byte, without the plug-in's code.

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<std::uint8_t>;

struct WireArg {
    std::uint8_t type = 0;
    Bytes value;
};

inline void appendBig32(Bytes& bytes, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

/// The bytes with their checksum behind them.
inline Bytes withChecksum(Bytes bytes) {
    const std::uint32_t sum = std::accumulate(bytes.begin(), bytes.end(), std::uint32_t{0});
    bytes.push_back(static_cast<std::uint8_t>(sum >> 8));
    bytes.push_back(static_cast<std::uint8_t>(sum));
    return bytes;
}

/// A correct message with those arguments. An Arg has a `type` and a `value`, as WireArg does.
template <class Arg>
Bytes messageOf(const std::vector<Arg>& args, std::uint8_t command) {
    std::size_t length = 8;
    for (const Arg& arg : args)
        length += 5 + arg.value.size();
    Bytes bytes;
    bytes.reserve(length);
    bytes.push_back(command);
    appendBig32(bytes, static_cast<std::uint32_t>(length));
    bytes.push_back(static_cast<std::uint8_t>(args.size()));
    for (const Arg& arg : args) {
        bytes.push_back(arg.type);
        appendBig32(bytes, static_cast<std::uint32_t>(arg.value.size()));
        bytes.insert(bytes.end(), arg.value.begin(), arg.value.end());
    }
    return withChecksum(std::move(bytes));
}

inline Bytes wireMessage(const std::vector<WireArg>& args, std::uint8_t command = 1) {
    return messageOf(args, command);
}

} // namespace TestSupport
