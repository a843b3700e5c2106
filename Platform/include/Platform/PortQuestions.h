#pragma once
// What TCP ports do, many of them asked side by side.

#include "Platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Platform {

/// What one port is asked.
struct PortQuestion {
    std::uint32_t address = 0; ///< IPv4, in network byte order
    std::uint16_t port = 0;
    std::string text = {}; ///< sent once it is connected; empty: nothing is, and no answer is waited for
    char last = 0;         ///< with which an answer is complete
};

/// What became of it.
struct PortAnswer {
    enum class Outcome {
        open,
        refused,     ///< somebody is there, and nothing serves this port
        silent,      ///< nothing came back
        unreachable, ///< the system or a router says that there is no way, or that nobody is there
        failed,      ///< this system could not ask
        notAsked     ///< its turn did not come by the deadline
    };

    Outcome outcome = Outcome::notAsked;
    std::string text;   ///< what an open port answered, the first bytes, whether complete or not
    bool ended = false; ///< the other end closed the connection, or broke it, before the answer was complete
    std::string reason; ///< of `unreachable` and `failed`, UTF-8
};

/// How much of an answer is read.
inline constexpr std::size_t portAnswerBytes = 200;

/// How many ports are asked at a time.
inline constexpr std::size_t portsAtATime = 256;

/// Asks each, with one connection that is closed after its answer, and returns their answers in their order,
/// as soon as all have come, at `deadline`, or within 100 ms of an interrupt (see interrupted()). Throws only
/// std::bad_alloc.
std::vector<PortAnswer> askPorts(const std::vector<PortQuestion>& questions, Clock::time_point deadline);

} // namespace Platform
