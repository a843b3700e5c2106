#pragma once
// One client's conversation in the binary protocol: configure, take, get, and the probe at any time.

#include "Camera/Session.h"

#include <cstddef>
#include <optional>

namespace Simulator {

/// A session has its own configuration and picture, so that two clients do not disturb each other.
/// A configuration drops the picture taken before it; a picture may be fetched more than once. It is rendered
/// once it is fetched: to take it costs nothing.
/// A header that announces a length no request has is answered with `Error`, and the connection is closed:
/// where the next message would begin is unknown. Every other wrong request leaves the connection open.
class BinarySession : public Session {
public:
    /// `camera` outlives the session.
    explicit BinarySession(Camera& camera) : camera_(camera) {}

    void append(ByteView input) override;
    std::optional<Reaction> next() override;
    bool isWorking() const override { return underWay_.has_value(); }
    std::size_t waitingBytes() const override { return input_.size(); }

private:
    /// A granted request whose answer is not ready.
    struct UnderWay {
        std::optional<Fault> fault;
        SharedOrder black; ///< the picture of a fault; null if none is due
    };

    std::optional<Reaction> answerMessage(ByteView message);
    std::optional<Reaction> grant(const Request& request);
    UnderWay begin(const Request& request);
    bool hasPictures(const UnderWay& underWay);
    SharedBytes answerTo(const Request& request) const;
    ErrorCode stateError(RequestKind request) const;
    Reaction loseFraming();
    void stopListening();

    Camera& camera_;
    Bytes input_;
    SharedBytes before_; ///< what was due to the message before; null to the first
    bool closed_ = false;
    std::optional<Configuration> configuration_;
    std::optional<Configuration> taken_; ///< of the picture; nothing until one was taken
    SharedOrder picture_;                ///< null until it was fetched
    std::optional<UnderWay> underWay_;
};

} // namespace Simulator
