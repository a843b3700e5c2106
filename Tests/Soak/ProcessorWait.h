#pragma once
// How busy the machine is, as seen by the threads that play one camera.

#include <chrono>

namespace Soak {

/// The calling thread's number within the system.
int thisThread();

/// How long a thread of this process has stood ready and got no processor, since its beginning. 0 where the
/// thread is over or the system does not tell.
std::chrono::nanoseconds processorWait(int thread);

/// Counts from construction how long two threads have had to wait for a processor, together. Used by the
/// first of them.
class ProcessorWait {
public:
    /// The calling thread and `other`.
    explicit ProcessorWait(int other);

    /// `other` may be another one by now; of that everything counts.
    std::chrono::nanoseconds soFar(int other) const;

private:
    std::chrono::nanoseconds own_;
    int other_;
    std::chrono::nanoseconds others_;
};

} // namespace Soak
