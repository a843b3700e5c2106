// `korva capture` as its users see it: exit status, outputs, files.

#include "ServedCamera.h"
#include "Support/Environment.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

using namespace Integration;

namespace {

using Names = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// A failure of the camera or the network: status 1, one line that says what to try, no file.
void expectCameraFailure(const ToolResult& result, const std::string& reason, const TemporaryFolder& folder) {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(result.errors.starts_with("korva: no picture")) << result.errors;
    EXPECT_TRUE(contains(result.errors, "127.0.0.1:")) << result.errors;
    EXPECT_TRUE(contains(result.errors, reason)) << result.errors;
    EXPECT_TRUE(contains(result.errors, "; try: ")) << result.errors;
    EXPECT_EQ(folder.names(), Names{});
}

/// Sends Ctrl-C once the camera has got the request that `sign` names, and waits for the end.
ToolResult interruptedAt(SimulatedCamera& camera, const std::string& sign, const TemporaryFolder& folder) {
    ChildProcess capture(toolCommand(camera.captureArguments({"--output", folder.file("a.png")})));
    EXPECT_TRUE(camera.process().waitForOutput(sign));
    const auto sent = std::chrono::steady_clock::now();
    capture.signal(SIGINT);
    const int status = capture.wait();
    EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(5));
    return {status, capture.output(), capture.errors()};
}

} // namespace

TEST(ToolCapture, WritesThePictureItFetched) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--scene", "noise", "--seed", "9"});
    const ToolResult result =
        runTool(camera.captureArguments({"--exposure", "0.7", "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_TRUE(result.output.starts_with(folder.file("a.png") + ": 120 x 80 pixels, mean "))
        << result.output;
    EXPECT_EQ(lineCount(result.output), 1u);

    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = Simulator::PictureSize{120, 80};
    settings.seed = 9;
    const GreyPicture picture = readGreyPng(folder.file("a.png"));
    EXPECT_EQ(picture.width, 120u);
    EXPECT_EQ(picture.height, 80u);
    EXPECT_TRUE(picture.pixels == expectedPixels(settings, {}, 7));
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST(ToolCapture, JsonIsAllThatStandsOnStandardOutput) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--scene", "white"});
    const ToolResult result =
        runTool(camera.captureArguments({"--json", "--exposure", "2.5", "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const auto json = nlohmann::json::parse(result.output);
    EXPECT_EQ(json["exposureSeconds"], 2.5);
    ASSERT_EQ(json["files"].size(), 1u);
    EXPECT_EQ(json["files"][0]["address"], "127.0.0.1");
    EXPECT_EQ(json["files"][0]["file"], folder.file("a.png"));
    EXPECT_EQ(json["files"][0]["width"], 120);
    EXPECT_EQ(json["files"][0]["height"], 80);
    EXPECT_EQ(json["files"][0]["mean"], 255.0);
    EXPECT_GT(json["files"][0]["milliseconds"].get<double>(), 0.0);
    EXPECT_FALSE(json.contains("error"));
}

TEST(ToolCapture, JsonOfAFailureSaysWhy) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--fault", "take:error=7"});
    const ToolResult result = runTool(camera.captureArguments({"--json", "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    const auto json = nlohmann::json::parse(result.output);
    EXPECT_TRUE(contains(json["error"].get<std::string>(), "error code: 7"));
    EXPECT_TRUE(json["files"].empty());
}

TEST(ToolCapture, CountNumbersTheFiles) {
    const TemporaryFolder folder;
    const SimulatedCamera camera;
    const ToolResult result =
        runTool(camera.captureArguments({"--count", "3", "--output", folder.file("wall.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(lineCount(result.output), 3u);
    EXPECT_EQ(folder.names(), (Names{"wall-1.png", "wall-2.png", "wall-3.png"}));
    for (const std::string& name : folder.names())
        EXPECT_EQ(readGreyPng(folder.file(name)).pixels.size(), 120u * 80u) << name;
}

TEST(ToolCapture, PicturesTakenBeforeAFailureStay) {
    const TemporaryFolder folder;
    // Of two faults the first that still applies hits: two harmless delays, then errors.
    const SimulatedCamera camera(
        {"--size", "120x80", "--fault", "take:delay=1*2", "--fault", "take:error=5"});
    const ToolResult result =
        runTool(camera.captureArguments({"--count", "3", "--json", "--output", folder.file("wall.png")}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(folder.names(), (Names{"wall-1.png", "wall-2.png"}));
    EXPECT_EQ(nlohmann::json::parse(result.output)["files"].size(), 2u);
}

TEST(ToolCapture, PictureTakenAtTheSecondAttemptComesWithAWarning) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--fault", "get:black-picture*1"});
    const ToolResult result = runTool(camera.captureArguments({"--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "korva: warning: 127.0.0.1: All black image from Korva detected\n");
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST(ToolCapture, BlackPictureIsAFailureThatAsksForLight) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--scene", "black"});
    const ToolResult result = runTool(camera.captureArguments({"--output", folder.file("a.png")}));
    expectCameraFailure(result, "All black image", folder);
    EXPECT_TRUE(contains(result.errors, "lens cap"));
}

TEST(ToolCapture, EmptyOrUnreadablePictureIsAFailureWithoutAFile) {
    for (const char* fault : {"get:empty-picture", "get:garbage-picture"}) {
        const TemporaryFolder folder;
        const SimulatedCamera camera({"--size", "120x80", "--fault", fault});
        expectCameraFailure(runTool(camera.captureArguments({"--output", folder.file("a.png")})),
                            "has the size 0 x 0", folder);
    }
}

TEST(ToolCapture, RefusedConnectionIsAFailure) {
    const TemporaryFolder folder;
    SimulatedCamera camera;
    camera.process().signal(SIGTERM);
    EXPECT_EQ(camera.process().wait(), 0);
    expectCameraFailure(runTool(camera.captureArguments({"--output", folder.file("a.png")})),
                        "Connection refused", folder);
}

TEST(ToolCapture, BrokenConnectionIsAFailure) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--fault", "get:truncate-close=1000"});
    expectCameraFailure(runTool(camera.captureArguments({"--output", folder.file("a.png")})), "closed",
                        folder);
}

TEST(ToolCapture, DrippingCameraEndsAtALimitThatTheReasonNames) {
    const SimulatedCamera camera({"--size", "120x80", "--fault", "get:drip=1/20"});
    for (const auto& [option, reason] : {std::pair{"--max-time", ": receive failed: Took too long: "},
                                         {"--speed-time", ": receive failed: Too slow: "}}) {
        const TemporaryFolder folder;
        const auto begin = std::chrono::steady_clock::now();
        expectCameraFailure(
            runTool(camera.captureArguments({option, "0.5", "--output", folder.file("a.png")})), reason,
            folder);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << option;
    }
}

TEST(ToolCapture, SlowPictureIsTakenWhereNoSpeedIsAskedFor) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "40x30", "--fault", "get:drip=500/50"}); // 7.7 kB in 0.8 s
    EXPECT_EQ(runTool(camera.captureArguments(
                          {"--speed-time", "0.3", "--min-speed", "0", "--output", folder.file("a.png")}))
                  .status,
              0);
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST(ToolCapture, NameThatIsNoneIsAFailure) {
    const TemporaryFolder folder;
    // Too long for any name, so nobody is asked for it.
    const std::string name(300, 'a');
    const ToolResult result = runTool({"capture", name, "--output", folder.file("a.png")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, name)) << result.errors;
    EXPECT_EQ(folder.names(), Names{});
}

TEST(ToolCapture, ReadOnlyFolderIsNoticedBeforeThePictureIsTaken) {
    const TemporaryFolder folder;
    std::filesystem::permissions(folder.path(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    SimulatedCamera camera;
    const ToolResult result = runTool(camera.captureArguments({"--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "korva: cannot write " + folder.file("a.png") + ": Permission denied; try: another --output\n");
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(folder.names(), Names{});
    camera.process().signal(SIGTERM);
    EXPECT_EQ(camera.process().wait(), 0);
    EXPECT_FALSE(contains(camera.process().output(), "connected"));
}

TEST(ToolCapture, FullStandardOutputIsAFailure) {
    const TemporaryFolder folder;
    const SimulatedCamera camera;
    const std::string command = std::string(KORVA_TOOL) + " capture --from " + camera.description() +
                                " --json --output " + folder.file("a.png") + " >/dev/full";
    ChildProcess shell({"/bin/sh", "-c", command});
    EXPECT_EQ(shell.wait(), 1);
    EXPECT_TRUE(contains(shell.errors(), "standard output")) << shell.errors();
}

TEST(ToolCapture, WrongUsageEndsWithStatusTwo) {
    for (const Names& arguments :
         {Names{}, Names{"frobnicate"}, Names{"capture"}, Names{"capture", "a", "--exposure", "0"},
          Names{"capture", "a", "--exposure", "360.1"}, Names{"capture", "a", "--exposure", "0.25"},
          Names{"capture", "a", "--count", "0"}, Names{"capture", "a", "--log", "loud"},
          Names{"capture", "a", "--unknown"}, Names{"capture", "a", "b"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors, "");
    }
}

TEST(ToolCapture, HelpAndVersionGoToStandardOutput) {
    for (const Names& arguments :
         {Names{"--help"}, Names{"capture", "--help"}, Names{"simulate", "--help"}, Names{"--version"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments);
        EXPECT_NE(result.output, "");
        EXPECT_EQ(result.errors, "");
    }
}

TEST(ToolCapture, CtrlCInTheMiddleOfAPictureLeavesNothingBehind) {
    const TemporaryFolder folder;
    SimulatedCamera camera({"--size", "400x300", "--fault", "get:drip=1000/20"});
    const ToolResult result = interruptedAt(camera, "fault get:drip", folder);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, "interrupted while a picture was taken from 127.0.0.1:"))
        << result.errors;
    EXPECT_EQ(folder.names(), Names{});
}

TEST(ToolCapture, CtrlCEndsTheWaitForASilentCamera) {
    const TemporaryFolder folder;
    SimulatedCamera camera({"--size", "120x80", "--fault", "take:silent"});
    const ToolResult result = interruptedAt(camera, "fault take:silent", folder);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.errors, "interrupted while a picture was taken from 127.0.0.1:"))
        << result.errors;
    EXPECT_EQ(folder.names(), Names{});
}

TEST(ToolCapture, TerminalSeesAProgressBarThatGoesAway) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "200x100", "--fault", "get:drip=30000/60"});
    ChildProcess capture(toolCommand(camera.captureArguments({"--output", folder.file("a.png")})),
                         ChildProcess::ErrorStream::terminal);
    EXPECT_EQ(capture.wait(), 0);
    EXPECT_TRUE(contains(capture.errors(), "of 120.5 kB")) << capture.errors();
    EXPECT_TRUE(contains(capture.errors(), "#")) << capture.errors();
    EXPECT_TRUE(capture.errors().ends_with("\r\x1b[K")) << capture.errors();
}

TEST(ToolCapture, PipeSeesNoProgressBar) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "200x100", "--fault", "get:drip=30000/60"});
    const ToolResult result = runTool(camera.captureArguments({"--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST(ToolCapture, LogShowsThePlugInsLines) {
    const TemporaryFolder folder;
    const SimulatedCamera camera;
    const ToolResult result =
        runTool(camera.captureArguments({"--log", "info", "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    for (const char* line :
         {"INFO Plenar.NativeCameraKorva.KorvaCameraLoader - Initializing KRV camera support...\n",
          "INFO Plenar.KorvaCamera.KorvaCapture - Pulled Korva image with resolution: 120 80\n"})
        EXPECT_TRUE(contains(result.errors, line)) << result.errors;
}

TEST(ToolCapture, TraceDumpsTheFetchedFileIntoTheDiagnosticsFolder) {
    const TemporaryFolder folder;
    const SimulatedCamera camera;
    const ToolResult result = runTool(camera.captureArguments(
        {"--log", "trace", "--diagnostics", folder.file("dump"), "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.errors, "TRACE Plenar.KorvaCamera.KorvaCapture - Dumping Korva picture to "));
    std::vector<std::filesystem::path> dumps;
    for (const auto& entry : std::filesystem::directory_iterator(folder.file("dump")))
        dumps.push_back(entry.path());
    ASSERT_EQ(dumps.size(), 1u);
    EXPECT_EQ(dumps[0].extension(), ".sgi");
    EXPECT_EQ(std::filesystem::file_size(dumps[0]), 512u + 120u * 80u * 3u * 2u);
}

TEST(ToolCapture, TraceDumpsIntoTheUsersOwnFolderAndSaysWhichThatIs) {
    const TemporaryFolder folder;
    const TestSupport::Variable state("XDG_STATE_HOME", folder.file("state"));
    const std::string own = folder.file("state/korva-diagnostics");
    const SimulatedCamera camera;
    const std::vector<std::string> command =
        camera.captureArguments({"--log", "trace", "--output", folder.file("a.png")});
    const ToolResult result = runTool(command);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.errors.starts_with("korva: fetched picture files are dumped into " + own + "\n"))
        << result.errors;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(own), {}), 1);

    // Somebody else's link leads to another folder.
    std::filesystem::remove_all(own);
    std::filesystem::create_directory_symlink("..", own);
    const ToolResult warned = runTool(command);
    EXPECT_EQ(warned.status, 0);
    EXPECT_TRUE(warned.errors.starts_with("korva: warning: fetched picture files are not dumped: " + own +
                                          " is a symbolic link; try: --diagnostics DIR\n"))
        << warned.errors;
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png", "state"}));
}

TEST(ToolCapture, CameraCannotSteerTheTerminalThroughTheLog) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "120x80", "--fault", "take:two-arguments"});
    const ToolResult result = runTool(camera.captureArguments({"--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors,
              "korva: warning: 127.0.0.1: Korva returned more arguments than expected: \\x02\n");
}
