// The documents' small host is the file that is compiled, and it works.

#include "ToolRun.h"

#include <chrono>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>

using namespace Integration;
using testing::_;
using testing::StartsWith;

static const std::string address = addressOfThisProcess();

namespace {

/// The host's run in a folder, by the plug-in, for the camera at `address`.
ProcessResult runIn(const TemporaryFolder& folder) {
    return run({"/usr/bin/env", "-C", folder.path(), KORVA_SMALL_HOST, KORVA_PLUGIN, address});
}

std::string textOf(const char* file) {
    return run({"/usr/bin/env", "-C", KORVA_SOURCE_DIR, "cat", file}).output;
}

} // namespace

TEST(SmallHost, IsWhatTheDocumentShowsAndIsBuiltAsItSays) {
    const std::string document = textOf("Docs/Integration.md");
    const std::string source = textOf("Tests/SmallHost/SmallHost.cpp");
    ASSERT_NE(source, "");
    EXPECT_THAT(document, has({"```cpp\n" + source + "```\n"}));
    const std::size_t begin = document.find("```cmake\n") + 9;
    const std::string lines = document.substr(begin, document.find("```", begin) - begin);
    EXPECT_THAT(lines, has({"find_package(", "target_link_libraries(SmallHost "}));
    EXPECT_THAT(textOf("Tests/InstalledHost/CMakeLists.txt"), has({lines}));
}

TEST(SmallHost, SavesAPictureOfTheCameraAtAnAddressAsLongExposedAsItSays) {
    const CameraAtItsPorts camera({"--model", "M615", "--wait-exposure"});
    const TemporaryFolder folder;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(runIn(folder), ended(0, has({"2748 x 1836 pixels, health 2\n"}), _));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
    std::ifstream file(folder.file("camera-1.pgm"), std::ios::binary);
    const std::string picture{std::istreambuf_iterator<char>(file), {}};
    const std::string head = "P5\n2748 1836\n255\n";
    EXPECT_EQ(picture.substr(0, head.size()), head);
    EXPECT_EQ(picture.size(), head.size() + 2748 * 1836);
}

TEST(SmallHost, SaysWhyThereIsNoPicture) {
    const CameraAtItsPorts camera({"--fault", "get:close"});
    const TemporaryFolder folder;
    EXPECT_THAT(runIn(folder), ended(1, has({"health 1032\nno picture:\n  ", "closed"}), _));
    EXPECT_EQ(folder.names(), Names{});
}

TEST(SmallHost, FailsWhereNobodyAnswersAndFollowsNoLoggingConfigurationOfTheWorkingFolder) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("log4j.properties")) << everyLineIntoAFile("log4j.properties");
    EXPECT_THAT(runIn(folder), ended(1, StartsWith("no picture:\n  "), _));
    EXPECT_EQ(folder.names(), Names{"log4j.properties"});
}
