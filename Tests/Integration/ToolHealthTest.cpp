// `korva health` as its users see it.

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

using namespace Integration;

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

ToolResult healthOf(const SimulatedCamera& camera) {
    return runTool({"health", "--from", camera.description()});
}

} // namespace

TEST(ToolHealth, CameraThatAnswersIsGood) {
    const SimulatedCamera camera;
    const ToolResult result = healthOf(camera);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "127.0.0.1:" + camera.port() + ": good, the camera answers\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ToolHealth, CameraThatIsGoneGivesCodeMeaningAndReason) {
    SimulatedCamera camera;
    camera.process().signal(SIGTERM);
    EXPECT_EQ(camera.process().wait(), 0);
    const ToolResult result = healthOf(camera);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.output, ": 2056 connection check failed: ")) << result.output;
    EXPECT_TRUE(contains(result.output, "Connection refused")) << result.output;
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, "; try: ")) << result.errors;
}

TEST(ToolHealth, AnswerThatCannotBeReadIsAFailure) {
    const SimulatedCamera camera({"--size", "20x10", "--fault", "any:close"});
    const ToolResult result = healthOf(camera);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.output, ": 2056 connection check failed: ")) << result.output;
}

TEST(ToolHealth, CameraThatHoldsTheCheckFailsItAtItsTime) {
    const SimulatedCamera camera({"--size", "20x10", "--fault", "probe:drip=1/300"});
    const ToolResult result = runTool({"health", "--from", camera.description(), "--max-time", "1"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.output, ": 2056 connection check failed: ")) << result.output;
    EXPECT_TRUE(contains(result.output, ": receive failed: Took too long: ")) << result.output;
    EXPECT_TRUE(contains(result.errors, "--max-time")) << result.errors;
}

TEST(ToolHealth, WatchSaysOnlyWhatIsNewAndEndsAtCtrlC) {
    const SimulatedCamera camera;
    ChildProcess watch(toolCommand({"health", "--from", camera.description(), "--watch"}));
    EXPECT_TRUE(watch.waitForOutput(": good, the camera answers\n"));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait(), 0);
    EXPECT_EQ(lineCount(watch.output()), 1u) << watch.output();
}

TEST(ToolHealth, DescriptionThatIsNoneIsAFailureThatNamesIt) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("a.xml")) << "<Device>";
    std::ofstream(folder.file("b.xml"))
        << "<Device><CameraInfo><cameraTypeEnum>5</cameraTypeEnum></CameraInfo></Device>";
    for (const char* name : {"a.xml", "b.xml", "missing.xml"}) {
        const ToolResult result = runTool({"health", "--from", folder.file(name)});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(contains(result.errors, folder.file(name))) << result.errors;
    }
}
