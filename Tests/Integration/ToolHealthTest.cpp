// `korva health` as its users see it.

#include "ToolRun.h"

#include <csignal>
#include <fstream>
#include <string>

using namespace Integration;

TEST(ToolHealth, CameraThatAnswersIsGood) {
    const SimulatedCamera camera;
    EXPECT_THAT(camera.health(), ended(0, camera.place() + ": good, the camera answers\n", ""));
}

TEST(ToolHealth, CameraThatDoesNotGivesCodeMeaningAndReason) {
    SimulatedCamera gone;
    gone.stop();
    const SimulatedCamera unreadable({"--fault", "any:close"});
    const SimulatedCamera holding({"--fault", "probe:drip=1/300"});
    const auto expect = [](const ProcessResult& result, const std::string& reason,
                           const std::string& advice) {
        EXPECT_THAT(result, ended(1, has({": 2056 connection check failed: ", reason}),
                                  AllOf(oneLine(), has({"; try: ", advice}))));
    };
    expect(gone.health(), "Connection refused", "");
    expect(unreadable.health(), "closed", "");
    expect(holding.health({"--max-time", "1"}), ": receive failed: Took too long: ", "--max-time");
}

TEST(ToolHealth, WatchSaysOnlyWhatIsNewAndEndsAtCtrlC) {
    // Each of the first three checks is told by a fault of its own.
    SimulatedCamera camera(
        {"--fault", "probe:delay=1*1", "--fault", "probe:delay=2*1", "--fault", "probe:delay=3*1"});
    ChildProcess watch(toolCommand({"health", "--from", camera.description(), "--watch"}));
    EXPECT_TRUE(watch.waitForOutput(": good, the camera answers\n"));
    EXPECT_TRUE(camera.process().waitForOutput("fault probe:delay=3"));
    watch.signal(SIGINT);
    EXPECT_THAT(watch.result(), ended(0, oneLine(), ""));
}

TEST(ToolHealth, DescriptionThatIsNoneIsAFailureThatNamesIt) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("a.xml")) << "<Device>";
    std::ofstream(folder.file("b.xml"))
        << "<Device><CameraInfo><cameraTypeEnum>5</cameraTypeEnum></CameraInfo></Device>";
    for (const char* name : {"a.xml", "b.xml", "missing.xml"})
        EXPECT_THAT(runTool({"health", "--from", folder.file(name)}), failed({folder.file(name)}));
}
