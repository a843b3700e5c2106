#pragma once
// A connection to a scripted camera, in virtual time.

#include "Communicator/Communicator.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<std::uint8_t>;

/// Moves only where a line waits.
struct VirtualClock {
    std::chrono::milliseconds now{0};
};

/// What reaches the plug-in's end of a connection.
struct Arrival {
    enum class What { bytes, endless, closed, reset } what = What::bytes;
    Bytes bytes = {}; ///< `endless`: they come again every millisecond, and nothing behind them
    std::chrono::milliseconds after{0}; ///< since the request, or the arrival before it if that is later
};
using Arrivals = std::vector<Arrival>;

/// Answers every request as its camera says, and waits, reads, drops, breaks and throws as the reference
/// host's PosixEthernetCommunicator does: a read of up to 16 bytes waits for all of them, a larger one ends
/// when the line is quiet for 20 ms; what a peer's end or reset leaves is a broken connection. One thread.
class TimedLine final : public Communicator {
public:
    using Camera = std::function<Arrivals(const Bytes& request)>;

    /// `clock` outlives the line. `endpoint` is the address and port as exceptions name them.
    TimedLine(VirtualClock& clock, std::wstring endpoint, Camera camera);

    int connects() const { return connects_; }
    int disconnects() const { return disconnects_; }
    int reads() const { return reads_; }
    int writes() const { return writes_; }
    /// The time-outs of all reads together.
    std::chrono::milliseconds patience() const { return patience_; }

    void writeBytes(const void* data, unsigned int count, bool discardUnread, int reserved) override;
    int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) override;
    bool isConnected() const override { return open_; }

protected:
    void connect() override;
    void disconnect() noexcept override;

private:
    using Time = std::chrono::milliseconds;
    struct Due {
        Arrival arrival;
        Time at{0};
    };
    enum class Outcome { arrived, timedOut, ended };

    Outcome await(Time deadline);
    void take(std::size_t count);
    void dropUnread();
    void requireConnection(const wchar_t* operation) const;
    [[noreturn]] void fail(const wchar_t* operation) const;

    VirtualClock& clock_;
    std::wstring endpoint_;
    Camera camera_;
    std::deque<Due> pending_;
    Time lastDue_{0};
    std::wstring brokenBecause_;
    bool open_ = false;
    int connects_ = 0;
    int disconnects_ = 0;
    int reads_ = 0;
    int writes_ = 0;
    Time patience_{0};
};

} // namespace TestSupport
