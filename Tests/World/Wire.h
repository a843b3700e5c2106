#pragma once
// A session's end of a connection: what it does is carried out in whatever time its user keeps.

#include "Camera/Session.h"
#include "Platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

namespace World {

/// One thread.
class Wire {
public:
    using Time = Platform::Clock::time_point;

    Wire(std::unique_ptr<Simulator::Session> session, Time now)
        : session_(std::move(session)), asked_(now), ready_(now) {}

    /// The session hears of it once it has done what it is still at.
    void take(const void* data, std::size_t count, Time now);

    /// When the next byte comes or the connection ends; nothing where neither does.
    std::optional<Time> next();

    /// Copies what has come by then; 0 where the connection ends.
    std::size_t copy(void* data, std::size_t count, Time now);

    /// How it ends, where it is the end that comes next.
    bool isReset();

private:
    Simulator::Action* front();
    bool ask();
    std::size_t copyPiece(const Simulator::SendBytes& sending, std::uint8_t* data, std::size_t count);

    std::unique_ptr<Simulator::Session> session_;
    std::deque<Simulator::Action> actions_;
    Time asked_;           ///< when the session last heard something
    Time ready_;           ///< when the action in front can go on
    std::size_t sent_ = 0; ///< of the action in front
};

} // namespace World
