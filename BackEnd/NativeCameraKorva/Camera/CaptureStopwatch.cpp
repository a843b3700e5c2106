#include "NativeCameraKorva/CaptureStopwatch.h"

#include "Platform/Kernel.h"

namespace Korva {
namespace {

std::int64_t now() {
    LARGE_INTEGER count{};
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

} // namespace

void CaptureStopwatch::start() {
    startCount_ = now();
    running_ = true;
}

void CaptureStopwatch::stop() {
    if (running_) {
        lastCounts_ = now() - startCount_;
        totalCounts_ += lastCounts_;
        ++intervals_;
    }
    running_ = false;
}

double CaptureStopwatch::elapsedMs() const {
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    const std::int64_t perSecond = frequency.QuadPart;
    if (perSecond <= 0)
        return 0; // a counter whose frequency nobody knows tells no time
    const std::int64_t wholeSeconds = lastCounts_ / perSecond;
    const double remainder = static_cast<double>(lastCounts_ % perSecond) / static_cast<double>(perSecond);
    return (static_cast<double>(wholeSeconds) + remainder) * 1000.0;
}

} // namespace Korva
