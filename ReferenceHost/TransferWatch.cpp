#include "TransferWatch.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ReferenceHost {

namespace {

using Seconds = std::chrono::duration<double>;

std::string secondsOf(Seconds time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", time.count());
    return text.data();
}

/// "1234 bytes in 30.0 s".
std::string amount(std::size_t bytes, Seconds time) {
    return std::to_string(bytes) + " bytes in " + secondsOf(time);
}

} // namespace

void TransferWatch::start(const TransportLimits& limits, Clock::time_point begin) {
    limits_ = limits;
    limits_.hold = std::min(limits.hold, longestTime);
    limits_.window = std::min(limits.window, longestTime);
    begin_ = begin;
    received_ = 0;
    answer_ = {};
}

TransferWatch::Clock::duration TransferWatch::window() const {
    return std::max(limits_.window, std::chrono::milliseconds(1));
}

void TransferWatch::look(std::size_t bytes, Clock::time_point now) {
    received_ += bytes;
    if (answer_.hasBegun)
        answer_.time += now - lastLook_;
    // What comes first took its time before: the exposure, or the camera's thinking.
    answer_.hasBegun = answer_.hasBegun || bytes > 0;
    answer_.bytes += bytes;
    lastLook_ = now;
    if (limits_.bytesPerSecond > 0 && answer_.time >= window())
        judgeWindow();
}

void TransferWatch::judgeWindow() {
    const Seconds time = answer_.time;
    if (static_cast<double>(answer_.bytes) < static_cast<double>(limits_.bytesPerSecond) * time.count())
        answer_.tooSlow = "Too slow: " + amount(answer_.bytes, time) + ", at least " +
                          std::to_string(limits_.bytesPerSecond) + " bytes a second are asked for";
    answer_.bytes = 0;
    answer_.time = {};
}

TransferWatch::Clock::time_point TransferWatch::deadline(const std::optional<OperationEnd>& operation) const {
    auto first = Clock::time_point::max();
    if (operation)
        first = std::min(first, operation->end());
    if (limits_.hold > limits_.hold.zero())
        first = std::min(first, begin_ + limits_.hold);
    if (limits_.bytesPerSecond > 0 && answer_.hasBegun)
        first = std::min(first, lastLook_ + (window() - answer_.time));
    return first;
}

std::string TransferWatch::passed(const std::optional<OperationEnd>& operation, Clock::time_point now) const {
    if (operation && now >= operation->end())
        return "Took too long: " + amount(received_, now - operation->begin) + ", the operation may last " +
               secondsOf(operation->time);
    if (limits_.hold > limits_.hold.zero() && now >= begin_ + limits_.hold)
        return "Took too long: " + amount(received_, now - begin_) + ", the connection may be held " +
               secondsOf(limits_.hold);
    return answer_.tooSlow;
}

} // namespace ReferenceHost
