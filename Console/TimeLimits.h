#pragma once
// How long the tool lets a camera keep it waiting.

#include "CommandLine/CommandLine.h"
#include "Communicator/TransportLimits.h"

#include <chrono>
#include <cstddef>
#include <optional>

namespace Console {

/// What no honest camera comes near to, unless the command line says otherwise. A time of zero is no limit.
struct TimeLimits {
    using Time = std::chrono::milliseconds;
    static constexpr Time shortestSearch = std::chrono::seconds(2); ///< that is not cut short by itself

    std::optional<Time> ofEachStep;      ///< unset: each kind of step has its own
    std::size_t bytesPerSecond = 65'536; ///< of answers that take longer than speedTime; 0: any speed
    Time speedTime = std::chrono::seconds(30);

    /// A search of the local networks, with the identification of all that answer.
    Time ofSearch() const { return ofEachStep.value_or(std::chrono::seconds(60)); }
    Time ofIdentification() const { return ofEachStep.value_or(std::chrono::seconds(20)); }
    /// Of that, how long datagrams may keep it listening: half, and what a search without any such trouble
    /// needs, unless that leaves no time for questions.
    Time ofListening() const;
    /// What ofListening() may be too short for: a search listens for a second after the last answer.
    bool isTooShortToListen() const { return ofSearch() < shortestSearch; }
    /// A third of the search's time, so that one camera that holds it does not keep the others from their
    /// turn.
    Time ofIdentificationInASearch() const { return ofSearch() / 3; }
    Time ofProbe() const { return ofEachStep.value_or(std::chrono::seconds(15)); }
    /// Both attempts at a picture; `exposureUnits` of 100 ms.
    Time ofPicture(int exposureUnits) const;

    /// For connections whose whole time is bounded elsewhere.
    TransportLimits ofSpeed() const { return {Time::zero(), bytesPerSecond, speedTime}; }
};

/// Adds --max-time, --min-speed and --speed-time; `limits` must outlive the parse.
void addTimeLimits(const CommandLine::Options& command, TimeLimits& limits);

} // namespace Console
