#pragma once
// Whether what a process holds stays the same over a run.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Soak {

/// What the process holds at one moment.
struct Holding {
    std::uint64_t residentBytes = 0; ///< after free memory has been given back to the system
    std::uint64_t heapBytes = 0;     ///< in use, of all heaps
    std::uint64_t descriptors = 0;
    std::uint64_t threads = 0;

    /// Of this process, now.
    static Holding now();

    /// To be called before the first thread: all threads share one heap from then on. Of any other, the
    /// system does not get back what is free at its end, so that resident memory says little.
    static void prepare();
};

/// What changed from the first third of a run, without its first fifth, to its last third.
struct Drift {
    Holding first; ///< medians of the first third
    Holding last;  ///< medians of the last third

    /// Throws std::invalid_argument for fewer than `fewestHoldings`, which say nothing.
    explicit Drift(const std::vector<Holding>& holdings);

    static constexpr std::size_t fewestHoldings = 15;
};

/// Bounds of what is still flat: the noise of a run of one minute. A leak that is smaller shows in an hour.
inline constexpr std::uint64_t heapSlackBytes = std::uint64_t{64} << 10;
inline constexpr std::uint64_t residentSlackBytes = std::uint64_t{4} << 20;
inline constexpr double residentSlackPart = 0.05;

/// What is not flat, a line each: heap in use more than its slack above, resident memory more than the larger
/// of its slacks above, more descriptors, more threads. `judgeMemory` false: the last two only.
std::vector<std::string> notFlat(const Drift& drift, bool judgeMemory);

} // namespace Soak
