#include "World/Wire.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace std::chrono_literals;

namespace World {
namespace {

/// What comes endlessly comes as fast as this, if its sender does not pause.
constexpr Platform::Clock::duration endlessPause = 1ms;

} // namespace

void Wire::take(const void* data, std::size_t count, Time now) {
    session_->append({static_cast<const std::uint8_t*>(data), count});
    asked_ = now;
}

bool Wire::ask() {
    std::optional<Simulator::Reaction> reaction = session_->next();
    while (!reaction && session_->isWorking())
        reaction = session_->next();
    if (!reaction)
        return false;
    ready_ = std::max(ready_, asked_);
    for (Simulator::Action& action : reaction->actions)
        actions_.push_back(std::move(action));
    return true;
}

/// The action in front that has an effect here; null where there is none.
Simulator::Action* Wire::front() {
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

std::optional<Wire::Time> Wire::next() {
    return front() == nullptr ? std::nullopt : std::optional(ready_);
}

std::size_t Wire::copy(void* data, std::size_t count, Time now) {
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

std::size_t Wire::copyPiece(const Simulator::SendBytes& sending, std::uint8_t* data, std::size_t count) {
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
        ready_ += std::max<Platform::Clock::duration>(sending.pause, endlessPause);
    }
    return copied;
}

bool Wire::isReset() {
    return std::holds_alternative<Simulator::ResetConnection>(*front());
}

} // namespace World
