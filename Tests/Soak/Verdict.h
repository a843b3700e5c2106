#pragma once
// Whether what a process holds stays the same over a run.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Soak {

/// What the process holds at one moment.
struct Holding {
    std::uint64_t heapBytes = 0;     ///< in use, of all heaps
    std::uint64_t residentBytes = 0; ///< after free memory has been given back to the system
    std::uint64_t descriptors = 0;
    std::uint64_t threads = 0;

    /// Of this process, now.
    static Holding now();

    /// To be called before the first thread: all threads share one heap from then on. Of any other, the
    /// system does not get back what is free at its end, so that resident memory says little.
    static void prepare();
};

/// How one of these changed from the first third of a run, without its first fifth, to its last third.
struct Drift {
    std::string text; ///< "descriptors, first third to last: 11 to 11 open", the medians
    bool isFlat = true;
};

inline constexpr std::size_t fewestHoldings = 15;

/// In the order of Holding. Flat is what did not rise, and memory where it rose by no more than the noise of
/// a run of one minute: heap in use by 64 KiB, resident memory by 4 MiB or a twentieth. Without `judgeMemory`
/// memory always is. Throws std::invalid_argument for fewer than `fewestHoldings`, which say nothing.
std::vector<Drift> driftsOf(const std::vector<Holding>& holdings, bool judgeMemory);

} // namespace Soak
