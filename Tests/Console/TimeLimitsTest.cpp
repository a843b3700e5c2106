#include "Console/TimeLimits.h"

#include "Parsed.h"

#include <utility>

using namespace std::chrono_literals;
using Console::TimeLimits;

namespace {

TimeLimits parsed(const std::string& line) {
    return ConsoleTests::parsed(Console::addTimeLimits, line);
}

} // namespace

TEST(TimeLimits, AreWhatNoHonestCameraMeets) {
    const TimeLimits limits = parsed("");
    EXPECT_EQ(limits.ofSearch(), 60s);
    EXPECT_EQ(limits.ofIdentification(), 20s);
    EXPECT_EQ(limits.ofIdentificationInASearch(), 20s);
    EXPECT_EQ(limits.ofProbe(), 15s);
    EXPECT_EQ(limits.ofPicture(1), 60'100ms);
    EXPECT_EQ(limits.ofPicture(3600), 420s);
    EXPECT_EQ(limits.ofSpeed().hold, 0s);
    EXPECT_EQ(limits.ofSpeed().bytesPerSecond, 65'536u);
    EXPECT_EQ(limits.ofSpeed().window, 30s);
}

TEST(TimeLimits, TakeOneTimeForEachStep) {
    for (const auto& [text, time] :
         {std::pair{"90", 90'000ms}, {"0.25", 250ms}, {"0", 0ms}, {"86400", 24h}}) {
        const TimeLimits limits = parsed(std::string("--max-time ") + text);
        EXPECT_EQ(limits.ofSearch(), time);
        EXPECT_EQ(limits.ofIdentification(), time);
        EXPECT_EQ(limits.ofIdentificationInASearch(), time / 3) << "others get their turn";
        EXPECT_EQ(limits.ofProbe(), time);
        EXPECT_EQ(limits.ofPicture(15), time);
    }
}

TEST(TimeLimits, LeaveHalfASearchToListenInAndWhatThatNeedsIfTheyCan) {
    for (const auto& [text, time] :
         {std::pair{"60", 30'000ms}, {"3", 1500ms}, {"2.5", 1500ms}, {"2", 1500ms}, {"1.9", 950ms}}) {
        const TimeLimits limits = parsed(std::string("--max-time ") + text);
        EXPECT_EQ(limits.ofListening(), time) << text;
        EXPECT_EQ(limits.isTooShortToListen(), time < 1s) << text;
    }
}

TEST(TimeLimits, TakeASpeedAndItsTime) {
    const TransportLimits limits = parsed("--min-speed 0 --speed-time 0.1").ofSpeed();
    EXPECT_EQ(limits.bytesPerSecond, 0u);
    EXPECT_EQ(limits.window, 100ms);
    EXPECT_EQ(parsed("--min-speed 1000000000").ofSpeed().bytesPerSecond, 1'000'000'000u);
}

TEST(TimeLimits, RefuseWhatIsNone) {
    using Console::addTimeLimits;
    using ConsoleTests::expectRefusal;
    for (const std::string option : {"--max-time ", "--min-speed ", "--speed-time "})
        for (const char* text : {"''", "-1", "x", "1e3", "nan", "inf", "86400.1x", "1000000001"})
            expectRefusal(addTimeLimits, {option + text});
    expectRefusal(addTimeLimits, {"--max-time 86400.1", "--speed-time 0", "--min-speed 1.5"});
}
