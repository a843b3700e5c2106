#include "Console/FailureAdvice.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <system_error>

using Console::adviceFor;
using Console::reasonOf;
using testing::HasSubstr;
using testing::Not;

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

TEST(FailureAdvice, UnknownReasonAsksForTheLog) {
    EXPECT_THAT(adviceFor(""), HasSubstr("--log debug"));
}

TEST(FailureAdvice, FileThatIsNoPictureIsNoMatterOfTheDescription) {
    const std::string begin = "Korva picture has the size ";
    const std::string end = ", the camera's resolution is 120 x 80";
    EXPECT_THAT(adviceFor(begin + "60 x 40" + end), HasSubstr("korva describe"));
    EXPECT_THAT(adviceFor(begin + "0 x 0" + end), Not(HasSubstr("korva describe")));
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
