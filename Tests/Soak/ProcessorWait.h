#pragma once
// How busy the machine is, as seen by the threads that play one camera.

#include <chrono>
#include <cstdint>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>

namespace Soak {

/// How long a thread of this process has stood ready and got no processor, since its beginning. 0 where the
/// thread is over or the system does not tell.
inline std::chrono::nanoseconds processorWait(int thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/schedstat");
    std::int64_t running = 0;
    std::int64_t waiting = 0;
    file >> running >> waiting;
    return std::chrono::nanoseconds(file ? waiting : 0);
}

/// Counts from construction how long the calling thread and another have had to wait for a processor,
/// together.
class ProcessorWait {
public:
    explicit ProcessorWait(int other)
        : other_(other), before_(processorWait(gettid()), processorWait(other)) {}

    /// `other` may be another one by now; of that everything counts.
    std::chrono::nanoseconds soFar(int other) const {
        const auto others =
            processorWait(other) - (other == other_ ? before_.second : std::chrono::nanoseconds(0));
        return processorWait(gettid()) - before_.first + others;
    }

private:
    int other_;
    std::pair<std::chrono::nanoseconds, std::chrono::nanoseconds> before_;
};

} // namespace Soak
