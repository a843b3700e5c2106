// The documents' small host is the file that is compiled, and it works.

#include "ToolRun.h"

#include <fstream>
#include <string>

using namespace Integration;
using testing::_;

static const std::string address = addressOfThisProcess();

TEST(SmallHost, IsWhatTheDocumentShows) {
    const auto textOf = [](const char* file) {
        return run({"/usr/bin/env", "-C", KORVA_SOURCE_DIR, "cat", file}).output;
    };
    const std::string source = textOf("Tests/SmallHost/SmallHost.cpp");
    ASSERT_NE(source, "");
    EXPECT_THAT(textOf("Docs/Integration.md"), has({"```cpp\n" + source + "```\n"}));
}

TEST(SmallHost, TakesAPictureOfTheCameraAtAnAddress) {
    const CameraAtItsPorts camera({"--model", "M615", "--serial", "77"});
    EXPECT_THAT(run({KORVA_SMALL_HOST, KORVA_PLUGIN, address}),
                ended(0, has({"2748 x 1836 pixels, health 2\n"}), _));
}

TEST(SmallHost, FailsWhereNobodyAnswersAndFollowsNoLoggingConfigurationOfTheWorkingFolder) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("log4j.properties")) << everyLineIntoAFile("log4j.properties");
    EXPECT_THAT(run({"/usr/bin/env", "-C", folder.path(), KORVA_SMALL_HOST, KORVA_PLUGIN, address}),
                ended(1, "", _));
    EXPECT_EQ(folder.names(), Names{"log4j.properties"});
}
