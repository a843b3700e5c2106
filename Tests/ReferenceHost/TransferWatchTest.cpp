#include "TransferWatch.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using ReferenceHost::OperationEnd;
using ReferenceHost::TransferWatch;

namespace {

constexpr TransferWatch::Clock::time_point begin{1000s};
constexpr auto none = std::nullopt;

/// A connection that began at `begin` and may bring 100 bytes a second at least, judged every 10 s.
TransferWatch watchOfSpeed() {
    TransferWatch watch;
    watch.start({.hold = 0s, .bytesPerSecond = 100, .window = 10s}, begin);
    watch.waitFrom(begin);
    return watch;
}

} // namespace

TEST(TransferWatch, HasNoLimitsUnlessTheyAreSet) {
    TransferWatch watch;
    watch.start({}, begin);
    watch.waitFrom(begin);
    watch.look(1, begin);
    watch.look(0, begin + 1000h);
    EXPECT_EQ(watch.passed(none, begin + 1000h), "");
    EXPECT_EQ(watch.deadline(none), TransferWatch::Clock::time_point::max());
}

TEST(TransferWatch, EndsAHoldAtItsTime) {
    TransferWatch watch;
    watch.start({.hold = 20s}, begin);
    watch.look(1000, begin + 1s);
    watch.look(234, begin + 2s);
    EXPECT_EQ(watch.deadline(none), begin + 20s);
    EXPECT_EQ(watch.passed(none, begin + 19'999ms), "");
    EXPECT_EQ(watch.passed(none, begin + 20s),
              "Took too long: 1234 bytes in 20.0 s, the connection may be held 20.0 s");
}

TEST(TransferWatch, EndsWithTheOperationWhateverTheHoldMayLast) {
    TransferWatch watch;
    watch.start({.hold = 20s}, begin);
    const OperationEnd operation{begin - 5s, 15s};
    EXPECT_EQ(watch.deadline(operation), begin + 10s);
    EXPECT_EQ(watch.passed(operation, begin + 9'999ms), "");
    EXPECT_EQ(watch.passed(operation, begin + 10s + 40ms),
              "Took too long: 0 bytes in 15.0 s, the operation may last 15.0 s");
}

TEST(TransferWatch, EndsAnAnswerThatIsTooSlowOverAWindow) {
    TransferWatch watch = watchOfSpeed();
    watch.look(6, begin + 1s);
    EXPECT_EQ(watch.deadline(none), begin + 11s);
    watch.look(993, begin + 10s);
    EXPECT_EQ(watch.passed(none, begin + 10s), "") << "the window is not over";
    EXPECT_EQ(watch.deadline(none), begin + 11s);
    watch.look(0, begin + 11s);
    EXPECT_EQ(watch.passed(none, begin + 11s),
              "Too slow: 999 bytes in 10.0 s, at least 100 bytes a second are asked for");
}

TEST(TransferWatch, LetsPassWhatIsFastEnoughInEachWindow) {
    TransferWatch watch = watchOfSpeed();
    watch.look(0, begin);
    watch.look(1, begin);
    watch.look(999, begin + 10s);
    EXPECT_EQ(watch.passed(none, begin + 10s), "");
    watch.look(1000, begin + 20s);
    EXPECT_EQ(watch.passed(none, begin + 20s), "");
    watch.look(999, begin + 30s);
    EXPECT_NE(watch.passed(none, begin + 30s), "") << "earlier windows do not help";
}

TEST(TransferWatch, DoesNotCountTheWaitForAnAnswersFirstByte) {
    TransferWatch watch = watchOfSpeed();
    watch.look(0, begin + 360s);
    EXPECT_EQ(watch.deadline(none), TransferWatch::Clock::time_point::max());
    watch.look(1, begin + 361s);
    EXPECT_EQ(watch.passed(none, begin + 361s), "");
    watch.requestSent();
    watch.look(0, begin + 1000s);
    EXPECT_EQ(watch.passed(none, begin + 1000s), "") << "another answer, another first byte";
}

TEST(TransferWatch, DoesNotCountWhatTheHostDoesBetweenReads) {
    TransferWatch watch = watchOfSpeed();
    watch.look(1, begin);
    watch.waitFrom(begin + 500s);
    EXPECT_EQ(watch.deadline(none), begin + 510s);
    watch.look(1, begin + 509s);
    EXPECT_EQ(watch.passed(none, begin + 509s), "");
    watch.waitFrom(begin + 600s);
    watch.look(0, begin + 601s);
    EXPECT_NE(watch.passed(none, begin + 601s), "") << "10 s within reads";
}

TEST(TransferWatch, JudgesEachConnectionByItself) {
    TransferWatch watch = watchOfSpeed();
    watch.look(1, begin);
    watch.look(0, begin + 10s);
    ASSERT_NE(watch.passed(none, begin + 10s), "");
    watch.start({.hold = 20s, .bytesPerSecond = 100, .window = 10s}, begin);
    EXPECT_EQ(watch.passed(none, begin + 10s), "");
    EXPECT_EQ(watch.passed(none, begin + 20s),
              "Took too long: 0 bytes in 20.0 s, the connection may be held 20.0 s")
        << "the hold began before it";
}

TEST(TransferWatch, TakesAWindowOfNothingForTheShortest) {
    TransferWatch watch;
    watch.start({.hold = 0s, .bytesPerSecond = 100, .window = 0s}, begin);
    watch.waitFrom(begin);
    watch.look(1, begin);
    EXPECT_EQ(watch.deadline(none), begin + 1ms);
}
