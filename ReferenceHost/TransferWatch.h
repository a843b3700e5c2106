#pragma once
// Holds a connection to the limits that its host has set. Knows no socket, and asks no clock.

#include "Communicator/TransportLimits.h"
#include "Platform/TcpSocket.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace ReferenceHost {

using TransferClock = Platform::TcpSocket::Clock;

/// A century counts for whatever is longer: the clock's numbers would wrap.
constexpr std::chrono::milliseconds longestTime = std::chrono::hours(24) * 36'500;

/// The end that the calling thread's OperationLimits set to whatever communicators do.
struct OperationEnd {
    TransferClock::time_point begin;
    std::chrono::milliseconds time;

    TransferClock::time_point end() const { return begin + time; }
};

/// That of the calling thread; nothing if it has none.
std::optional<OperationEnd> currentOperationEnd();

/// What a communicator without limits of its own is to obey that connects now on the calling thread.
TransportLimits currentTransportLimits();

/// When a hold begins that a communicator takes now on the calling thread: with the other holds that there
/// are under the limits which OperationLimits set for each, else now. Kept as long as the hold.
std::shared_ptr<const TransferClock::time_point> beginHold(TransferClock::time_point now);

/// One connection's time and bytes. Every moment given is not before the one given before it. One thread.
class TransferWatch {
public:
    using Clock = TransferClock;

    /// The connection is made, for a hold that began at `begin`; bytes and answers count from here.
    void start(const TransportLimits& limits, Clock::time_point begin);

    /// A request goes out: what comes is another answer.
    void requestSent() { answer_ = {}; }

    /// A read begins or goes on: the time from here on counts where an answer has begun.
    void waitFrom(Clock::time_point now) { lastLook_ = now; }

    /// `bytes` have arrived since the last look, 0 if none have.
    void look(std::size_t bytes, Clock::time_point now);

    /// When a limit will be past if nothing arrives; the clock's last moment where none will.
    Clock::time_point deadline(const std::optional<OperationEnd>& operation) const;

    /// Which limit is past at `now`, in words for an exception; empty if none is.
    std::string passed(const std::optional<OperationEnd>& operation, Clock::time_point now) const;

private:
    /// Since an answer's first byte.
    struct Answer {
        bool hasBegun = false;
        std::size_t bytes = 0; ///< in the current window
        Clock::duration time{0};
        std::string tooSlow; ///< what is wrong with the last window that ended
    };

    Clock::duration window() const;
    void judgeWindow();

    TransportLimits limits_;
    Clock::time_point begin_{};
    Clock::time_point lastLook_{};
    std::size_t received_ = 0;
    Answer answer_;
};

} // namespace ReferenceHost
