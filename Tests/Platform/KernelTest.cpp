#include "Platform/Kernel.h"
#include "Support/LoopbackPeer.h"

#include <gtest/gtest.h>
#include <thread>

using namespace std::chrono_literals;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

TEST(KernelSleep, LastsAtLeastAsLongAsAsked) {
    const Stopwatch stopwatch;
    Sleep(0);
    Sleep(15);
    EXPECT_GE(stopwatch.elapsed(), 15ms);
}

TEST(KernelSleep, IsNotShortenedBySignals) {
    const SignalStorm storm;
    int sleeps = 0;
    do {
        const Stopwatch stopwatch;
        Sleep(30);
        EXPECT_GE(stopwatch.elapsed(), 30ms);
    } while (storm.handled() == 0 && ++sleeps < 100);
    EXPECT_GT(storm.handled(), 0);
}

TEST(PerformanceCounter, CountsAtItsFrequency) {
    LARGE_INTEGER frequency{};
    LARGE_INTEGER before{};
    LARGE_INTEGER after{};
    EXPECT_NE(QueryPerformanceFrequency(&frequency), 0);
    ASSERT_GT(frequency.QuadPart, 0);

    const Stopwatch outer;
    EXPECT_NE(QueryPerformanceCounter(&before), 0);
    Sleep(10);
    EXPECT_NE(QueryPerformanceCounter(&after), 0);
    const auto outside = std::chrono::duration<double>(outer.elapsed()).count();

    const double seconds =
        static_cast<double>(after.QuadPart - before.QuadPart) / static_cast<double>(frequency.QuadPart);
    EXPECT_GE(seconds, 0.010);
    EXPECT_LE(seconds, outside);
}

TEST(LastError, IsTheThreadsOwn) {
    SetLastError(ERROR_INVALID_FLAGS);
    DWORD atStart = ERROR_INVALID_FLAGS;
    std::thread other([&atStart] {
        atStart = GetLastError();
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
    });
    other.join();
    EXPECT_EQ(atStart, ERROR_SUCCESS);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_FLAGS);
}
