#pragma once
// Times the phases of a capture with the performance counter.

#include <cstdint>

namespace Korva {

/// Counts are QueryPerformanceCounter's. One thread.
class CaptureStopwatch {
public:
    /// Records the counter and sets the watch running; a running watch starts anew.
    void start();

    /// If the watch runs: stores the interval since start(), adds it to the total and counts it. In any
    /// case the watch does not run afterwards.
    void stop();

    /// The last interval in milliseconds: the counts divided by the frequency as whole seconds plus the
    /// remainder over the frequency in double, times 1000.0. 0 if the frequency cannot be had.
    double elapsedMs() const;

    bool running() const { return running_; }
    std::int64_t totalCounts() const { return totalCounts_; }
    std::int64_t lastCounts() const { return lastCounts_; }
    std::uint32_t intervals() const { return intervals_; }

private:
    bool running_ = false;
    std::int64_t startCount_ = 0;
    std::int64_t totalCounts_ = 0;
    std::int64_t lastCounts_ = 0;
    std::uint32_t intervals_ = 0;
};

} // namespace Korva
