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
    explicit BinarySession(Camera& camera) : m_camera(camera) {}

    void append(ByteView input) override;
    std::optional<Reaction> next() override;
    bool isWorking() const override { return m_underWay.has_value(); }
    std::size_t waitingBytes() const override { return m_input.size(); }

private:
    /// A granted request whose answer is not ready.
    struct UnderWay {
        std::optional<Fault> fault;
        SharedOrder black; ///< the picture of a fault; null where none is due
    };

    std::optional<Reaction> answerMessage(ByteView message);
    std::optional<Reaction> grant(const Request& request);
    UnderWay begin(const Request& request);
    bool hasPictures(const UnderWay& underWay);
    SharedBytes answerTo(const Request& request) const;
    ErrorCode stateError(RequestKind request) const;
    Reaction loseFraming();
    void stopListening();

    Camera& m_camera;
    Bytes m_input;
    SharedBytes m_before; ///< what was due to the message before; null to the first
    bool m_closed = false;
    std::optional<Configuration> m_configuration;
    std::optional<Configuration> m_taken; ///< of the picture; nothing until one was taken
    SharedOrder m_picture;                ///< null until it was fetched
    std::optional<UnderWay> m_underWay;
};

} // namespace Simulator
