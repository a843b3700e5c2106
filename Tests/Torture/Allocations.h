#pragma once
// Counts the plug-in's allocations and fails one of them. For a program that links Allocations.cpp and
// Tests/Support/OperatorNew.cpp. One thread.

#include <algorithm>

namespace Torture {

/// From construction to destruction the plug-in is at work. Its allocations, and those of the libraries that
/// it calls, are numbered from 1; what happens outside the plug-in (TestSupport::OutsidePlugin) is not
/// counted.
class PluginAtWork {
public:
    PluginAtWork();
    PluginAtWork(const PluginAtWork&) = delete;
    PluginAtWork& operator=(const PluginAtWork&) = delete;
    ~PluginAtWork();

    static bool isNow();
};

/// From construction to destruction the `number`-th allocation from now on fails, and none after it. With 0
/// none fails.
class AllocationFailure {
public:
    explicit AllocationFailure(long number);
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    ~AllocationFailure();

    /// True where so many were asked for.
    bool wasReached() const;
};

/// How many pieces of memory this process holds of operator new and of the plug-in's malloc.
long liveAllocations();

/// The pieces of memory that `work` leaves behind each time that it runs. What stays from a first time only,
/// as what the log library keeps, is none of them.
template <class Work>
long leakOf(const Work& work) {
    const auto leftOnce = [&work] {
        const long before = liveAllocations();
        work();
        return liveAllocations() - before;
    };
    return std::min(leftOnce(), leftOnce());
}

} // namespace Torture
