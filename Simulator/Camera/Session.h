#pragma once
// One client's conversation with the camera, as bytes in and actions out; whoever owns the socket and the
// clock carries the actions out.

#include "Camera/Camera.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Simulator {

/// Send `length` bytes of `bytes` from their front: all at once, or in pieces with a pause between them;
/// once, or again and again until the client goes.
struct SendBytes {
    SharedBytes bytes;
    std::size_t length = 0;
    std::size_t pieceBytes = 0; ///< 0: all at once
    std::chrono::milliseconds pause{0};
    bool endless = false;
};

struct Pause {
    std::chrono::milliseconds length{0};
};

/// Close the connection once everything before has been sent.
struct CloseConnection {};

/// Break the connection off at once, so that the client sees a reset.
struct ResetConnection {};

using Action = std::variant<SendBytes, Pause, CloseConnection, ResetConnection>;

/// What follows from one request.
struct Reaction {
    std::vector<Action> actions;     ///< in their order; none: the camera stays silent
    std::vector<std::string> events; ///< for the log, one line each
};

/// Used by one thread. Nothing that a client sends makes a session throw (short of std::bad_alloc).
class Session {
public:
    Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    virtual ~Session() = default;

    /// Adds bytes that the client sent. After a session closed its connection they are dropped.
    virtual void append(ByteView input) = 0;

    /// Answers the next whole request among the bytes so far; nothing if there is none, or if its answer
    /// takes more work (isWorking). Asked again only once the actions of the last reaction are done, so that
    /// one client cannot pile up answers.
    virtual std::optional<Reaction> next() = 0;

    /// True if a call of next() brings an answer on without further bytes: each does only so much of the
    /// work.
    virtual bool isWorking() const { return false; }

    /// Bytes that wait for next(); the owner stops reading from a client that runs ahead.
    virtual std::size_t waitingBytes() const = 0;
};

} // namespace Simulator
