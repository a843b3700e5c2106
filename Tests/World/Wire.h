#pragma once
// A session's end of a connection: what it does is carried out in whatever time its user keeps.

#include "Camera/Session.h"
#include "Platform/Clock.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

namespace World {

/// One thread.
class Wire {
public:
    using Time = Platform::Clock::time_point;

    Wire(std::unique_ptr<Simulator::Session> session, Time now)
        : session_(std::move(session)), asked_(now), ready_(now) {}

    /// The session hears of it once it has done what it is still at.
    void take(const void* data, std::size_t count, Time now) {
        session_->append({static_cast<const std::uint8_t*>(data), count});
        asked_ = now;
    }

    /// True where the next byte comes, or the connection ends, by then. Moves `now` on to that moment, or
    /// else to the deadline, where it is not past.
    bool await(Time deadline, Time& now) {
        const bool comes = front() != nullptr && ready_ <= std::max(deadline, now);
        now = std::max(now, comes ? ready_ : deadline);
        return comes;
    }

    /// Copies what has come by then; 0 where the connection ends.
    std::size_t copy(void* data, std::size_t count, Time now) {
        auto* const bytes = static_cast<std::uint8_t*>(data);
        std::size_t copied = 0;
        while (copied < count && front() != nullptr && ready_ <= now) {
            const auto* const sending = std::get_if<Simulator::SendBytes>(front());
            if (sending == nullptr)
                break;
            copied += copyPiece(*sending, bytes + copied, count - copied);
        }
        return copied;
    }

    /// How it ends, where it is the end that comes next.
    bool isReset() { return std::holds_alternative<Simulator::ResetConnection>(*front()); }

private:
    /// What comes endlessly comes as fast as this, if its sender does not pause.
    static constexpr std::chrono::milliseconds endlessPause{1};

    bool ask() {
        std::optional<Simulator::Reaction> reaction = session_->next();
        while (!reaction && session_->isWorking())
            reaction = session_->next();
        if (!reaction)
            return false;
        ready_ = std::max(ready_, asked_);
        std::ranges::move(reaction->actions, std::back_inserter(actions_));
        return true;
    }

    /// The action in front that has an effect here; null where there is none.
    Simulator::Action* front() {
        while (!actions_.empty() || ask()) {
            if (actions_.empty())
                continue;
            const auto* const bytes = std::get_if<Simulator::SendBytes>(&actions_.front());
            const auto* const pause = std::get_if<Simulator::Pause>(&actions_.front());
            if (pause != nullptr)
                ready_ += pause->length;
            else if (bytes == nullptr || sent_ < bytes->length)
                return &actions_.front();
            actions_.pop_front();
            sent_ = 0;
        }
        return nullptr;
    }

    std::size_t copyPiece(const Simulator::SendBytes& sending, std::uint8_t* data, std::size_t count) {
        const std::size_t left = sending.length - sent_;
        const std::size_t pieceLeft =
            sending.pieceBytes == 0 ? left : std::min(left, sending.pieceBytes - sent_ % sending.pieceBytes);
        const std::size_t copied = std::min(count, pieceLeft);
        std::memcpy(data, sending.bytes->data() + sent_, copied);
        sent_ += copied;
        if (copied == pieceLeft && sent_ < sending.length)
            ready_ += sending.pause;
        if (sending.endless && sent_ == sending.length) {
            sent_ = 0;
            ready_ += std::max(sending.pause, endlessPause);
        }
        return copied;
    }

    std::unique_ptr<Simulator::Session> session_;
    std::deque<Simulator::Action> actions_;
    Time asked_;           ///< when the session last heard something
    Time ready_;           ///< when the action in front can go on
    std::size_t sent_ = 0; ///< of the action in front
};

} // namespace World
