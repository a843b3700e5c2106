#pragma once
// A camera's languages as Docs/Protocol.md tells of them, over the host's transport as its rules are, in a
// time of the oracle's own.

#include "Oracle.h"

#include "World/Wire.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Faults {

/// What ends an operation; its message is the host's exception.
struct Failure {
    std::string message;
};

class Connection {
public:
    /// Of an operation, which outlives its connections.
    struct Course {
        World::Wire::Time now{}; ///< moved on by what waits
        int waits = 0;           ///< how often something has
        /// False where an end is met behind unread bytes and later than they: it may not have come by then.
        bool isSure = true;
    };

    /// `place` is what the host calls it.
    Connection(std::unique_ptr<Simulator::Session> session, std::string place, Course& course,
               Time longestRead)
        : wire_(std::move(session), course.now), place_(std::move(place)), course_(course),
          longestRead_(longestRead) {}

    /// Drops what came and was not read, and sends. True where nothing was dropped. Throws Failure.
    bool send(const Bytes& request);

    /// Up to `count` bytes. Up to 16 are waited for; more end when the line is quiet for 20 ms. Throws
    /// Failure where the connection ended before the first.
    Bytes receive(std::size_t count, Time patience);

private:
    /// True where something comes, or the connection ends, by then.
    bool await(World::Wire::Time deadline) {
        ++course_.waits;
        return wire_.await(deadline, course_.now);
    }
    void requireOpen(const char* operation) const;
    void end() {
        brokenBecause_ = wire_.isReset() ? "Connection reset by peer" : "Connection closed by the peer";
    }

    World::Wire wire_;
    std::string place_;
    Course& course_;
    Time longestRead_;
    std::string brokenBecause_;
};

/// An answer of the binary protocol.
struct Message {
    struct Argument {
        std::uint8_t code = 0;
        Bytes value = {};
    };
    std::uint8_t command = 0;
    std::vector<Argument> arguments;
};

/// None, with a line, where it cannot be read. Throws Failure.
std::optional<Message> readMessage(Connection& connection, Lines& lines);

/// Whether it is what was asked for; with a line where it is not.
bool isWanted(const Message& message, bool wantsPicture, Lines& lines);

/// The entries of a text reply, which ends at its first zero byte.
std::vector<std::string> entriesOf(const std::string& reply);

/// What follows the first entry equal to `key`; empty where nothing does.
std::string valueOf(const std::vector<std::string>& entries, const std::string& key);

/// True for three dotted numbers, each of its low 8 bits, of 3.2.15 or above.
bool isNewEnough(const std::string& firmware);

/// The picture size of a known hardware identifier.
std::optional<Size> knownSize(const std::string& hardware);
/// Whether its firmware must be new enough.
bool isM61(const std::string& hardware);

} // namespace Faults
