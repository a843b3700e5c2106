#pragma once
// The host's transport as its rules are, in a time of the oracle's own.

#include "World/Wire.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace Faults {

/// What the host throws.
struct Broken {
    std::string operation;
    std::string reason;
    /// False where the end is met behind unread bytes and later than they: it may not have come by then.
    bool isSure = true;
};

class Connection {
public:
    using Time = Platform::Clock::duration;

    /// The time, moved on by what waits, and how often something has; it outlives its connections.
    struct Clock {
        World::Wire::Time now{};
        int waits = 0;
    };

    Connection(std::unique_ptr<Simulator::Session> session, Clock& clock, Time longestRead)
        : wire_(std::move(session), clock.now), clock_(clock), longestRead_(longestRead) {}

    /// Drops what came and was not read, and sends. True where nothing was dropped. Throws Broken.
    bool send(const Simulator::Bytes& request);

    /// Up to `count` bytes. Up to 16 are waited for; more end when the line is quiet for 20 ms. Throws Broken
    /// where the connection ended before the first.
    Simulator::Bytes receive(std::size_t count, Time patience);

private:
    bool await(World::Wire::Time deadline);
    void requireOpen(const char* operation) const;
    void end() {
        brokenBecause_ = wire_.isReset() ? "Connection reset by peer" : "Connection closed by the peer";
    }

    World::Wire wire_;
    Clock& clock_;
    Time longestRead_;
    std::string brokenBecause_;
};

} // namespace Faults
