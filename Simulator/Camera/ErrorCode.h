#pragma once
// Why the simulated camera refuses a request: the value of its `Error` argument.

#include <cstdint>
#include <string_view>

namespace Simulator {

/// Travels as u32, big-endian. The numbers are the simulator's own.
enum class ErrorCode : std::uint32_t {
    none = 0,
    badChecksum = 1,       ///< the two last bytes are not the sum of the bytes before them
    badLength = 2,         ///< announced lengths that do not fit each other, or no request's length at all
    unknownCommand = 3,    ///< a command other than 1
    unknownArgument = 4,   ///< an argument code that no request carries
    wrongArguments = 5,    ///< known arguments, but not those of a request, or not in its order
    badArgumentLength = 6, ///< an argument whose value is shorter or longer than its code asks
    valueOutOfRange = 7,   ///< exposure, mode, format, depth or shift that the camera does not have
    notConfigured = 8,     ///< a take request before any configuration
    noPicture = 9,         ///< a get request without a take request since the last configuration
};

/// Two or three words for a log line ("wrong checksum").
std::string_view describe(ErrorCode code);

} // namespace Simulator
