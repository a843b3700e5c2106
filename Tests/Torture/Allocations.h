#pragma once
// Every allocation of the plug-in's is a call "allocation" of World::Calls, and so are those of the libraries
// that it calls. For a program that links Allocations.cpp and Tests/Support/OperatorNew.cpp. One thread.

#include "Support/OutsidePlugin.h"
#include "World/Calls.h"

#include <algorithm>

namespace Torture {

/// Does `work`, the plug-in's, of whose allocations the `number`-th fails; with 0 none. False where it asks
/// for fewer.
template <class Work>
bool failAllocation(int number, const Work& work) {
    auto& calls = World::Calls::current();
    if (number != 0)
        calls.fail("allocation", 0, number);
    {
        const TestSupport::PluginAtWork scope;
        work();
    }
    const bool wasReached = !calls.isToFail();
    calls.failNoMore();
    return wasReached;
}

/// How many pieces of memory this process holds of operator new.
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
    const long first = leftOnce();
    return first > 0 ? std::min(first, leftOnce()) : first;
}

} // namespace Torture
