#include "Console/FailureAdvice.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <system_error>

using Console::adviceFor;
using Console::reasonOf;

TEST(FailureAdvice, DiffersForWhatDiffersToTheEngineer) {
    const std::set<std::string> advices = {
        adviceFor("connect: " + std::make_error_code(std::errc::connection_refused).message()),
        adviceFor("connect: " + std::make_error_code(std::errc::host_unreachable).message()),
        adviceFor("All black image from Korva detected"),
        adviceFor("Korva returned an error code: 5"),
        adviceFor("parseIncomingMessage failed for take image request"),
        adviceFor("something else"),
    };
    EXPECT_EQ(advices.size(), 6u);
}

TEST(FailureAdvice, BlackPictureAsksForLight) {
    EXPECT_NE(adviceFor("All black image from Korva detected").find("lens cap"), std::string::npos);
}

TEST(FailureAdvice, FileThatIsNoPictureIsNoMatterOfTheDescription) {
    const auto advice = [](const char* size) {
        return adviceFor(std::string("Korva picture has the size ") + size +
                         ", the camera's resolution is 120 x 80");
    };
    EXPECT_NE(advice("60 x 40").find("korva describe"), std::string::npos);
    EXPECT_EQ(advice("0 x 0").find("korva describe"), std::string::npos);
}

TEST(FailureAdvice, LimitsNameTheirOption) {
    const std::string place = "Communicator error: 10.0.0.7:32769: receive failed: ";
    EXPECT_NE(adviceFor(place + "Too slow: 1 bytes in 30.0 s, at least 65536 bytes a second are asked for")
                  .find("--min-speed"),
              std::string::npos);
    EXPECT_NE(adviceFor(place + "Took too long: 1 bytes in 20.0 s, the operation may last 20.0 s")
                  .find("--max-time"),
              std::string::npos);
}

TEST(FailureAdvice, UnknownReasonAsksForTheLog) {
    EXPECT_NE(adviceFor("").find("--log debug"), std::string::npos);
}

TEST(FailureReason, SaysEachOnceAndNothingThatOnlySaysThereWasAFailure) {
    EXPECT_EQ(reasonOf({"no version info", "DeviceException while determining camera info.",
                        "    no version info"}),
              "no version info");
    EXPECT_EQ(reasonOf({"one", "two", "Failed to capture Korva image"}), "one; two");
}

TEST(FailureReason, AdmitsThatThereIsNone) {
    EXPECT_EQ(reasonOf({}), "the plug-in gave no reason");
    EXPECT_EQ(reasonOf({"Failed to capture Korva image"}), "the plug-in gave no reason");
}
