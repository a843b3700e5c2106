#pragma once
// What a faulty camera sends, written byte by byte.

#include "FaultMatrixKinds.h"
#include "Support/TimedLine.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace FaultMatrix {

using TestSupport::Arrival;
using TestSupport::Arrivals;
using TestSupport::Bytes;

/// How late an answer is that comes behind every time-out.
inline constexpr std::chrono::milliseconds lateness{10500};
/// Where the answer is cut off.
inline constexpr std::size_t cutBeforeClosing = 3; ///< of a message: in its header
inline constexpr std::size_t cutBeforeSilence = 8; ///< of a message: in its argument's header
inline constexpr std::uint8_t endlessByte = 'U';   ///< without an answer before it
inline constexpr std::uint8_t trailingByte = 0;    ///< behind a message
inline constexpr std::size_t garbageBytes = 64;

/// The bytes as they come, at once.
Arrivals whole(Bytes bytes);

/// The first half of a reply; three quarters of it.
std::string beginningBeforeClosing(const std::string& reply);
std::string beginningBeforeSilence(const std::string& reply);

/// Meaningless bytes: read as a message, they announce a value that is too long for its code.
const Bytes& garbage();

/// `due` is the right answer, `before` the answer to the message before it.
Arrivals faultyMessage(Kind kind, const Bytes& due, const Bytes& before);
Arrivals faultyReply(Kind kind, const std::string& due, const std::string& before);
/// The datagrams that come before a second of silence.
std::vector<std::string> faultyDatagrams(Kind kind, const std::string& due);

} // namespace FaultMatrix
