#include "Console/TimeLimits.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace std::chrono_literals;
using Console::TimeLimits;

namespace {

TimeLimits parsed(std::vector<std::string> arguments) {
    CLI::App app;
    TimeLimits limits;
    addTimeLimits(app, limits);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
    return limits;
}

} // namespace

TEST(TimeLimits, AreWhatNoHonestCameraMeets) {
    const TimeLimits limits = parsed({});
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
        const TimeLimits limits = parsed({"--max-time", text});
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
        const TimeLimits limits = parsed({"--max-time", text});
        EXPECT_EQ(limits.ofListening(), time) << text;
        EXPECT_EQ(limits.isTooShortToListen(), time < 1s) << text;
    }
}

TEST(TimeLimits, TakeASpeedAndItsTime) {
    const TransportLimits limits = parsed({"--min-speed", "0", "--speed-time", "0.1"}).ofSpeed();
    EXPECT_EQ(limits.bytesPerSecond, 0u);
    EXPECT_EQ(limits.window, 100ms);
    EXPECT_EQ(parsed({"--min-speed", "1000000000"}).ofSpeed().bytesPerSecond, 1'000'000'000u);
}

TEST(TimeLimits, RefuseWhatIsNone) {
    for (const char* option : {"--max-time", "--min-speed", "--speed-time"})
        for (const char* text : {"", "-1", "x", "1e3", "nan", "inf", "86400.1x", "1000000001"})
            EXPECT_THROW(parsed({option, text}), CLI::ParseError) << option << " " << text;
    EXPECT_THROW(parsed({"--speed-time", "0"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--min-speed", "1.5"}), CLI::ParseError);
}
