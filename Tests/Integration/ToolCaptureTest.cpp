// `korva capture` as its users see it: exit status, outputs, files.

#include "ExpectedPixels.h"
#include "Support/Environment.h"
#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <string>
#include <tuple>

using namespace Integration;
using nlohmann::json;
using testing::_;
using testing::EndsWith;
using testing::StartsWith;

namespace fs = std::filesystem;

TEST(ToolCapture, WritesThePictureItFetched) {
    const SimulatedCamera camera({"--scene", "noise", "--seed", "9"});
    EXPECT_THAT(camera.capture({"--exposure", "0.7"}),
                ended(0,
                      AllOf(lines(1), StartsWith(camera.pictures.file("a.png") + ": 120 x 80 pixels, mean ")),
                      ""));
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = Simulator::PictureSize{120, 80};
    settings.seed = 9;
    EXPECT_EQ(camera.picture().width, 120u);
    EXPECT_EQ(camera.picture().height, 80u);
    EXPECT_TRUE(camera.picture().pixels == expectedPixels(settings, {}, 7));
    EXPECT_EQ(camera.pictures.names(), Names{"a.png"});
}

TEST(ToolCapture, JsonIsAllThatStandsOnStandardOutput) {
    const SimulatedCamera camera({"--scene", "white"});
    const ProcessResult result = camera.capture({"--json", "--exposure", "2.5"});
    EXPECT_THAT(result, ended(0, lines(1), ""));
    const json said = json::parse(result.output);
    EXPECT_EQ(said["exposureSeconds"], 2.5);
    EXPECT_EQ(said["files"][0]["mean"], 255.0);
    EXPECT_GT(said["files"][0]["milliseconds"], 0.0);
}

TEST(ToolCapture, CountNumbersTheFilesAndThoseBeforeAFailureStay) {
    // Of two faults the first that still applies hits: four harmless delays, then errors.
    const SimulatedCamera camera({"--fault", "take:delay=1*4", "--fault", "take:error=5"});
    EXPECT_THAT(camera.capture({"--count", "2"}, "wall.png"), ended(0, lines(2), ""));
    const ProcessResult result = camera.capture({"--count", "3", "--json"}, "yard.png");
    EXPECT_THAT(result, ended(1, lines(1), lines(1)));
    EXPECT_EQ(json::parse(result.output)["files"].size(), 2u);
    EXPECT_THAT(json::parse(result.output)["error"], has({"error code: 5"}));
    EXPECT_EQ(camera.pictures.names(), (Names{"wall-1.png", "wall-2.png", "yard-1.png", "yard-2.png"}));
    for (const std::string& name : camera.pictures.names())
        EXPECT_EQ(readGreyPng(camera.pictures.file(name)).pixels.size(), 120u * 80u) << name;
}

TEST(ToolCapture, PictureThatThePlugInWarnsOfComesWithTheWarning) {
    for (const auto& [fault, warning] :
         {std::pair<std::string, std::string>{"get:black-picture*1", "All black image from Korva detected"},
          {"take:two-arguments", "Korva returned more arguments than expected: \\x02"}}) {
        const SimulatedCamera camera({"--fault", fault});
        EXPECT_THAT(camera.capture(), ended(0, _, "korva: warning: 127.0.0.1: " + warning + "\n"));
        EXPECT_EQ(camera.pictures.names(), Names{"a.png"});
    }
}

TEST(AFailedCapture, IsOneLineThatSaysWhatToTryAndLeavesNoFile) {
    const Names holding{"--fault", "get:drip=1/20"}; // a picture of twenty minutes
    for (const auto& [ofCamera, arguments, reason, advice] :
         {std::tuple<Names, Names, const char*, const char*>{
              {"--scene", "black"}, {}, "All black image", "lens cap"},
          {{"--fault", "get:empty-picture"}, {}, "has the size 0 x 0", "again"},
          {{"--fault", "get:garbage-picture"}, {}, "has the size 0 x 0", "again"},
          {{"--fault", "get:truncate-close=1000"}, {}, "closed", "again"},
          {holding, {"--max-time", "0.5"}, ": receive failed: Took too long: ", "--max-time"},
          {holding, {"--speed-time", "0.5"}, ": receive failed: Too slow: ", "--min-speed"}}) {
        const SimulatedCamera camera(ofCamera);
        EXPECT_THAT(camera.capture(arguments),
                    failed({"korva: no picture from " + camera.place + ": ", reason, "; try: ", advice}));
        EXPECT_EQ(camera.pictures.names(), Names{});
    }
}

TEST(ToolCapture, WithoutACameraIsAFailureThatNamesItAndLeavesNoFile) {
    SimulatedCamera camera;
    camera.stop();
    EXPECT_THAT(camera.capture(), failed({camera.place, "Connection refused", "; try: "}));
    // Too long for any name, so nobody is asked for it.
    const std::string name(300, 'a');
    EXPECT_THAT(runTool({"capture", name, "--output", camera.pictures.file("a.png")}), failed({name}));
    EXPECT_EQ(camera.pictures.names(), Names{});
}

TEST(ToolCapture, ReadOnlyFolderIsNoticedBeforeTheCameraIsAskedAnything) {
    SimulatedCamera camera;
    fs::permissions(camera.pictures.path(), fs::perms::owner_read | fs::perms::owner_exec);
    const std::string file = camera.pictures.file("a.png");
    const auto failure =
        ended(1, "", "korva: cannot write " + file + ": Permission denied; try: another --output\n");
    EXPECT_THAT(camera.capture(), failure);
    // Nobody is there to be identified.
    EXPECT_THAT(runTool({"capture", addressOfThisProcess(), "--output", file}), failure);
    EXPECT_EQ(camera.pictures.names(), Names{});
    EXPECT_THAT(camera.stop(), Not(has({"connected"})));
}

TEST(ToolCapture, CtrlCEndsItAtOnceAndLeavesNothingBehind) {
    for (const std::string fault : {"get:drip", "take:silent"}) {
        SimulatedCamera camera({"--fault", fault == "get:drip" ? "get:drip=1/20" : fault});
        ChildProcess capture(toolCommand(camera.captureArguments()));
        EXPECT_TRUE(camera.process.waitForOutput("fault " + fault));
        EXPECT_THAT(capture.endBy(SIGINT, std::chrono::seconds(5)),
                    failed({"interrupted while a picture was taken from " + camera.place}));
        EXPECT_EQ(camera.pictures.names(), Names{});
    }
}

TEST(ToolCapture, TerminalSeesAProgressBarThatGoesAwayAndAPipeNone) {
    const SimulatedCamera camera({"--size", "200x100", "--fault", "get:drip=30000/60"});
    ChildProcess capture(toolCommand(camera.captureArguments()), ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(capture.result(), ended(0, _, AllOf(has({"of 120.5 kB", "#"}), EndsWith("\r\x1b[K"))));
    EXPECT_THAT(camera.capture(), ended(0, _, ""));
}

TEST(ToolCapture, TraceShowsThePlugInsLinesAndDumpsTheFetchedFileIntoTheDiagnosticsFolder) {
    const TemporaryFolder folder;
    const fs::path dumps = folder.path() / "\xC3\xA9/deep";
    const SimulatedCamera camera;
    EXPECT_THAT(
        camera.capture({"--log", "trace", "--diagnostics", dumps}),
        ended(0, _,
              has({"INFO Plenar.NativeCameraKorva.KorvaCameraLoader - Initializing KRV camera support...\n",
                   "INFO Plenar.KorvaCamera.KorvaCapture - Pulled Korva image with resolution: 120 80\n",
                   "TRACE Plenar.KorvaCamera.KorvaCapture - Dumping Korva picture to "})));
    ASSERT_EQ(std::distance(fs::directory_iterator(dumps), {}), 1);
    const fs::directory_entry dumped = *fs::directory_iterator(dumps);
    EXPECT_EQ(dumped.path().extension(), ".sgi");
    EXPECT_EQ(dumped.file_size(), 512u + 120u * 80u * 3u * 2u);
}

TEST(ToolCapture, TraceDumpsIntoTheUsersOwnFolderAndSaysWhichThatIs) {
    const TemporaryFolder folder;
    const TestSupport::Variable state("XDG_STATE_HOME", folder.file("\x1b[2J"));
    const std::string own = folder.file("\x1b[2J/korva-diagnostics");
    const std::string shown = folder.file("\\x1b[2J/korva-diagnostics");
    const SimulatedCamera camera;
    EXPECT_THAT(camera.capture({"--log", "debug"}), ended(0, _, Not(has({"dumped"}))));
    EXPECT_EQ(folder.names(), Names{});
    EXPECT_THAT(camera.capture({"--log", "trace"}),
                ended(0, _, StartsWith("korva: fetched picture files are dumped into " + shown + "\n")));
    EXPECT_EQ(std::distance(fs::directory_iterator(own), {}), 1);

    // Somebody else's link leads to another folder.
    fs::remove_all(own);
    fs::create_directory_symlink("..", own);
    EXPECT_THAT(camera.capture({"--log", "trace"}),
                ended(0, _,
                      StartsWith("korva: warning: fetched picture files are not dumped: " + shown +
                                 " is a symbolic link; try: --diagnostics DIR\n")));
    EXPECT_EQ(folder.names(), Names{"\x1b[2J"});
}
