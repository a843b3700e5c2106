#include "Platform/Kernel.h"
#include "Support/LoopbackPeer.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

namespace {

void sleepThirtyMilliseconds() {
    const Stopwatch stopwatch;
    Sleep(0);
    Sleep(30);
    EXPECT_GE(stopwatch.elapsed(), 30ms);
}

} // namespace

TEST(KernelSleep, LastsAtLeastAsLongAsAsked) {
    sleepThirtyMilliseconds();
}

TEST(KernelSleep, LastsAsLongAmidstSignals) {
    const SignalStorm storm;
    int sleeps = 0;
    do
        sleepThirtyMilliseconds();
    while (storm.handled() == 0 && ++sleeps < 100);
    EXPECT_GT(storm.handled(), 0);
}

TEST(PerformanceCounter, CountsAtItsFrequency) {
    LARGE_INTEGER frequency{}, before{}, after{};
    EXPECT_NE(QueryPerformanceFrequency(&frequency), 0);
    ASSERT_GT(frequency.QuadPart, 0);

    const Stopwatch outer;
    EXPECT_NE(QueryPerformanceCounter(&before), 0);
    Sleep(10);
    EXPECT_NE(QueryPerformanceCounter(&after), 0);
    const std::chrono::duration<double> outside = outer.elapsed();

    const auto counts = static_cast<double>(after.QuadPart - before.QuadPart);
    EXPECT_GE(counts / static_cast<double>(frequency.QuadPart), 0.010);
    EXPECT_LE(counts / static_cast<double>(frequency.QuadPart), outside.count());
}
