#include "NativeCameraKorva/CaptureStopwatch.h"

#include "World/Calls.h"
#include "World/Clock.h"
#include "World/System.h"

#include <gtest/gtest.h>

namespace {

using World::System;

struct Stopwatch : ::testing::Test {
    Stopwatch() {
        World::reset();
        System::current().frequency = 1000;
        System::current().counter = 500;
    }

    static void pass(std::int64_t counts) { System::current().counter += counts; }
    void measure(std::int64_t counts) {
        watch.start();
        pass(counts);
        watch.stop();
    }
    void expectCounts(std::int64_t last, std::int64_t total, unsigned int intervals) const {
        EXPECT_EQ(watch.lastCounts(), last);
        EXPECT_EQ(watch.totalCounts(), total);
        EXPECT_EQ(watch.intervals(), intervals);
    }

    Korva::CaptureStopwatch watch;
};

TEST_F(Stopwatch, AddsItsIntervalsUpAndTellsTheLast) {
    EXPECT_FALSE(watch.running());
    expectCounts(0, 0, 0);
    EXPECT_EQ(watch.elapsedMs(), 0.0);
    measure(42);
    pass(1000);
    watch.stop(); // stopped already
    expectCounts(42, 42, 1);
    watch.start();
    pass(10);
    measure(30); // starts anew
    expectCounts(30, 72, 2);
    EXPECT_FALSE(watch.running());
    watch.start();
    pass(5);
    EXPECT_TRUE(watch.running());
    EXPECT_EQ(watch.elapsedMs(), 30.0) << "the last one, while it runs";
}

TEST_F(Stopwatch, DividesByTheCountersFrequencyAndKeepsTheFractionOfLongIntervals) {
    System::current().frequency = 3;
    measure(7);
    EXPECT_EQ(watch.elapsedMs(), (2.0 + 1.0 / 3.0) * 1000.0);
    System::current().frequency = 1;
    measure(7);
    EXPECT_EQ(watch.elapsedMs(), 7000.0);
    // As a single quotient of doubles the last count would be lost.
    constexpr std::int64_t beyondDoubles = std::int64_t{1} << 53;
    System::current().frequency = beyondDoubles;
    measure(beyondDoubles * 2 + 1);
    EXPECT_EQ(watch.elapsedMs(), 2000.0);
    EXPECT_EQ(watch.lastCounts(), beyondDoubles * 2 + 1);
    World::Calls::current().fail("QueryPerformanceFrequency", 0); // no time is told without it
    EXPECT_EQ(watch.elapsedMs(), 0.0);
    System::current().frequency = 0;
    EXPECT_EQ(watch.elapsedMs(), 0.0);
}

} // namespace
