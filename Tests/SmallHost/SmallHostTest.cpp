// The documents' small host is the file that is compiled, and it works.

#include "ToolRun.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

using Integration::ChildProcess;
using Integration::toolCommand;

namespace {

const std::string address = Integration::addressOfThisProcess();

std::string textOf(const std::string& file) {
    std::ifstream stream(std::string(KORVA_SOURCE_DIR) + "/" + file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

TEST(SmallHost, IsWhatTheDocumentShows) {
    const std::string source = textOf("Tests/SmallHost/SmallHost.cpp");
    ASSERT_FALSE(source.empty());
    EXPECT_NE(textOf("Docs/Integration.md").find("```cpp\n" + source + "```\n"), std::string::npos);
}

TEST(SmallHost, TakesAPictureOfTheCameraAtAnAddress) {
    ChildProcess camera(
        toolCommand({"simulate", "--address", address, "--model", "M615", "--serial", "77", "--for", "60"}));
    ASSERT_TRUE(camera.waitForOutput("Take a picture with: ")) << camera.output();
    ChildProcess host({KORVA_SMALL_HOST, KORVA_PLUGIN, address});
    EXPECT_EQ(host.wait(), 0) << host.errors();
    EXPECT_NE(host.output().find("2748 x 1836 pixels, health 2\n"), std::string::npos) << host.output();
}

TEST(SmallHost, FollowsNoLoggingConfigurationOfTheWorkingFolder) {
    const Integration::TemporaryFolder folder;
    std::ofstream(folder.file("log4j.properties"))
        << "log4j.rootLogger=TRACE, F\nlog4j.appender.F=org.apache.log4j.FileAppender\n"
           "log4j.appender.F.File=victim\nlog4j.appender.F.layout=org.apache.log4j.SimpleLayout\n";
    ChildProcess host(
        {"/usr/bin/env", "-C", folder.path().string(), KORVA_SMALL_HOST, KORVA_PLUGIN, address});
    EXPECT_EQ(host.wait(), 1);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"log4j.properties"});
}

TEST(SmallHost, FailsWhereNobodyAnswers) {
    ChildProcess host({KORVA_SMALL_HOST, KORVA_PLUGIN, address});
    EXPECT_EQ(host.wait(), 1);
    EXPECT_EQ(host.output(), "");
}
