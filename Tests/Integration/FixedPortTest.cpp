// `korva simulate` at the ports that real cameras have.

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Integration;

TEST(ToolOnTheCamerasOwnPorts, FindsItWithoutNamingAPort) {
    const TemporaryFolder folder;
    // An address of its own within loopback, so that a camera somebody else plays is not in the way.
    ChildProcess simulate(
        toolCommand({"simulate", "--address", "127.83.7.5", "--size", "20x10", "--for", "60"}));
    ASSERT_TRUE(simulate.waitForOutput("Take a picture with: korva capture 127.83.7.5"));
    const ToolResult result = runTool({"capture", "127.83.7.5", "--output", folder.file("a.png")});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.png"});
    EXPECT_NE(simulate.output().find("TCP 127.83.7.5:32769"), std::string::npos);
    EXPECT_NE(simulate.output().find("UDP 127.83.7.5:32768"), std::string::npos);
}
