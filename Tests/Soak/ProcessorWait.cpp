#include "ProcessorWait.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <unistd.h>

namespace Soak {

int thisThread() {
    return gettid();
}

std::chrono::nanoseconds processorWait(int thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/schedstat");
    std::int64_t running = 0;
    std::int64_t waiting = 0;
    file >> running >> waiting;
    return std::chrono::nanoseconds(file ? waiting : 0);
}

ProcessorWait::ProcessorWait(int other)
    : own_(processorWait(thisThread())), other_(other), others_(processorWait(other)) {}

std::chrono::nanoseconds ProcessorWait::soFar(int other) const {
    const auto before = other == other_ ? others_ : std::chrono::nanoseconds(0);
    return processorWait(thisThread()) - own_ + processorWait(other) - before;
}

} // namespace Soak
