// `korva capture` as its users see it: exit status, outputs, files.

#include "ServedCamera.h"
#include "Support/Environment.h"
#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

using namespace Integration;
using nlohmann::json;
using testing::_;
using testing::EndsWith;
using testing::Ne;
using testing::StartsWith;

namespace fs = std::filesystem;

TEST(ToolCapture, WritesThePictureItFetched) {
    const SimulatedCamera camera({"--scene", "noise", "--seed", "9"});
    EXPECT_THAT(
        camera.capture({"--exposure", "0.7"}),
        ended(0, AllOf(oneLine(), StartsWith(camera.pictures().file("a.png") + ": 120 x 80 pixels, mean ")),
              ""));
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = Simulator::PictureSize{120, 80};
    settings.seed = 9;
    EXPECT_EQ(camera.picture().width, 120u);
    EXPECT_EQ(camera.picture().height, 80u);
    EXPECT_TRUE(camera.picture().pixels == expectedPixels(settings, {}, 7));
    EXPECT_EQ(camera.pictures().names(), Names{"a.png"});
}

TEST(ToolCapture, JsonIsAllThatStandsOnStandardOutput) {
    const SimulatedCamera camera({"--scene", "white"});
    const ProcessResult result = camera.capture({"--json", "--exposure", "2.5"});
    EXPECT_THAT(result, ended(0, oneLine(), ""));
    const json said = json::parse(result.output);
    EXPECT_EQ(said["exposureSeconds"], 2.5);
    ASSERT_EQ(said["files"].size(), 1u);
    EXPECT_EQ(said["files"][0]["address"], "127.0.0.1");
    EXPECT_EQ(said["files"][0]["file"], camera.pictures().file("a.png"));
    EXPECT_EQ(said["files"][0]["mean"], 255.0);
    EXPECT_GT(said["files"][0]["milliseconds"].get<double>(), 0.0);
}

TEST(ToolCapture, JsonOfAFailureSaysWhy) {
    const SimulatedCamera camera({"--fault", "take:error=7"});
    const ProcessResult result = camera.capture({"--json"});
    EXPECT_THAT(result, ended(1, oneLine(), oneLine()));
    EXPECT_THAT(json::parse(result.output)["error"], has({"error code: 7"}));
    EXPECT_EQ(json::parse(result.output)["files"], json::array());
}

TEST(ToolCapture, CountNumbersTheFiles) {
    const SimulatedCamera camera;
    EXPECT_THAT(camera.capture({"--count", "3"}, "wall.png"), ended(0, testing::ResultOf(lineCount, 3u), ""));
    EXPECT_EQ(camera.pictures().names(), (Names{"wall-1.png", "wall-2.png", "wall-3.png"}));
    for (const std::string& name : camera.pictures().names())
        EXPECT_EQ(readGreyPng(camera.pictures().file(name)).pixels.size(), 120u * 80u) << name;
}

TEST(ToolCapture, PicturesTakenBeforeAFailureStay) {
    // Of two faults the first that still applies hits: two harmless delays, then errors.
    const SimulatedCamera camera({"--fault", "take:delay=1*2", "--fault", "take:error=5"});
    const ProcessResult result = camera.capture({"--count", "3", "--json"}, "wall.png");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(camera.pictures().names(), (Names{"wall-1.png", "wall-2.png"}));
    EXPECT_EQ(json::parse(result.output)["files"].size(), 2u);
}

TEST(ToolCapture, PictureThatThePlugInWarnsOfComesWithTheWarning) {
    for (const auto& [fault, warning] :
         {std::pair<std::string, std::string>{"get:black-picture*1", "All black image from Korva detected"},
          {"take:two-arguments", "Korva returned more arguments than expected: \\x02"}}) {
        const SimulatedCamera camera({"--fault", fault});
        EXPECT_THAT(camera.capture(), ended(0, _, "korva: warning: 127.0.0.1: " + warning + "\n"));
        EXPECT_EQ(camera.pictures().names(), Names{"a.png"});
    }
}

namespace {

struct Failure {
    const char* name;
    Names ofCamera;
    Names arguments;
    const char* reason;
    const char* advice;
};

class AFailedCapture : public testing::TestWithParam<Failure> {};

} // namespace

TEST_P(AFailedCapture, IsOneLineThatSaysWhatToTryAndLeavesNoFile) {
    const SimulatedCamera camera(GetParam().ofCamera);
    EXPECT_THAT(camera.capture(GetParam().arguments),
                failed({"korva: no picture from " + camera.place() + ": ", GetParam().reason,
                        "; try: ", GetParam().advice}));
    EXPECT_EQ(camera.pictures().names(), Names{});
}

INSTANTIATE_TEST_SUITE_P(
    ToolCapture, AFailedCapture,
    testing::Values(
        Failure{"BlackPicture", {"--scene", "black"}, {}, "All black image", "lens cap"},
        Failure{"EmptyPicture", {"--fault", "get:empty-picture"}, {}, "has the size 0 x 0", "again"},
        Failure{"UnreadablePicture", {"--fault", "get:garbage-picture"}, {}, "has the size 0 x 0", "again"},
        Failure{"BrokenConnection", {"--fault", "get:truncate-close=1000"}, {}, "closed", "again"},
        // A picture of twenty minutes.
        Failure{"BeyondItsTime",
                {"--fault", "get:drip=1/20"},
                {"--max-time", "0.5"},
                ": receive failed: Took too long: ",
                "--max-time"},
        Failure{"BelowItsSpeed",
                {"--fault", "get:drip=1/20"},
                {"--speed-time", "0.5"},
                ": receive failed: Too slow: ",
                "--min-speed"}),
    [](const auto& failure) { return failure.param.name; });

TEST(ToolCapture, RefusedConnectionIsAFailure) {
    SimulatedCamera camera;
    camera.stop();
    EXPECT_THAT(camera.capture(), failed({camera.place(), "Connection refused", "; try: "}));
    EXPECT_EQ(camera.pictures().names(), Names{});
}

TEST(ToolCapture, SlowPictureIsTakenWhereNoSpeedIsAskedFor) {
    const SimulatedCamera camera({"--size", "40x30", "--fault", "get:drip=500/50"}); // 7.7 kB in 0.8 s
    EXPECT_EQ(camera.capture({"--speed-time", "0.3", "--min-speed", "0"}).status, 0);
    EXPECT_EQ(camera.pictures().names(), Names{"a.png"});
}

TEST(ToolCapture, NameThatIsNoneIsAFailure) {
    const TemporaryFolder folder;
    // Too long for any name, so nobody is asked for it.
    const std::string name(300, 'a');
    EXPECT_THAT(runTool({"capture", name, "--output", folder.file("a.png")}), failed({name}));
    EXPECT_EQ(folder.names(), Names{});
}

TEST(ToolCapture, ReadOnlyFolderIsNoticedBeforeTheCameraIsAskedAnything) {
    SimulatedCamera camera;
    fs::permissions(camera.pictures().path(), fs::perms::owner_read | fs::perms::owner_exec);
    const std::string file = camera.pictures().file("a.png");
    const auto failure =
        ended(1, "", "korva: cannot write " + file + ": Permission denied; try: another --output\n");
    EXPECT_THAT(camera.capture(), failure);
    // Nobody is there to be identified.
    EXPECT_THAT(runTool({"capture", addressOfThisProcess(), "--output", file}), failure);
    EXPECT_EQ(camera.pictures().names(), Names{});
    EXPECT_THAT(camera.stop(), Not(has({"connected"})));
}

TEST(ToolCapture, FullStandardOutputIsAFailure) {
    const SimulatedCamera camera;
    EXPECT_THAT(runToolBy(R"("$0" "$@" >/dev/full)", camera.captureArguments({"--json"})),
                failed({"standard output"}));
}

TEST(Tool, RefusesWrongUsageWithStatusTwo) {
    EXPECT_THAT(runTool({}), ended(2, "", Ne("")));
    EXPECT_THAT(runTool({"frobnicate"}), ended(2, "", has({"not expected: frobnicate"})));
    EXPECT_THAT(runTool({"capture", "a", "--exposure", "0"}), ended(2, "", has({"--exposure"})));
    EXPECT_THAT(runTool({"capture", "a", "--log", "loud"}), ended(2, "", has({"--log"})));
    EXPECT_THAT(runTool({"simulate", "--scene", "sunset"}), ended(2, "", has({"--scene"})));
}

TEST(Tool, PrintsHelpAndVersionOnStandardOutput) {
    for (const Names& arguments :
         {Names{"--help"}, Names{"capture", "--help"}, Names{"simulate", "--help"}, Names{"--version"}})
        EXPECT_THAT(runTool(arguments), ended(0, Ne(""), "")) << testing::PrintToString(arguments);
}

TEST(ToolCapture, CtrlCEndsItAtOnceAndLeavesNothingBehind) {
    for (const char* fault : {"get:drip=1000/20", "take:silent"}) {
        SimulatedCamera camera({"--size", "400x300", "--fault", fault});
        ChildProcess capture(toolCommand(camera.captureArguments()));
        const std::string sign = std::string("fault ") + fault;
        EXPECT_TRUE(camera.process().waitForOutput(sign.substr(0, sign.find('='))));
        const auto sent = std::chrono::steady_clock::now();
        capture.signal(SIGINT);
        EXPECT_THAT(capture.result(),
                    failed({"interrupted while a picture was taken from " + camera.place()}));
        EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(5));
        EXPECT_EQ(camera.pictures().names(), Names{});
    }
}

TEST(ToolCapture, TerminalSeesAProgressBarThatGoesAwayAndAPipeNone) {
    const SimulatedCamera camera({"--size", "200x100", "--fault", "get:drip=30000/60"});
    ChildProcess capture(toolCommand(camera.captureArguments()), ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(capture.result(), ended(0, _, AllOf(has({"of 120.5 kB", "#"}), EndsWith("\r\x1b[K"))));
    EXPECT_THAT(camera.capture(), ended(0, _, ""));
}

TEST(ToolCapture, LogShowsThePlugInsLines) {
    const SimulatedCamera camera;
    EXPECT_THAT(
        camera.capture({"--log", "info"}),
        ended(0, _,
              has({"INFO Plenar.NativeCameraKorva.KorvaCameraLoader - Initializing KRV camera support...\n",
                   "INFO Plenar.KorvaCamera.KorvaCapture - Pulled Korva image with resolution: 120 80\n"})));
}

TEST(ToolCapture, TraceDumpsTheFetchedFileIntoTheDiagnosticsFolder) {
    const TemporaryFolder dumps;
    const SimulatedCamera camera;
    EXPECT_THAT(camera.capture({"--log", "trace", "--diagnostics", dumps.path()}),
                ended(0, _, has({"TRACE Plenar.KorvaCamera.KorvaCapture - Dumping Korva picture to "})));
    ASSERT_THAT(dumps.names(), testing::ElementsAre(EndsWith(".sgi")));
    EXPECT_EQ(fs::file_size(dumps.file(dumps.names()[0])), 512u + 120u * 80u * 3u * 2u);
}

TEST(ToolCapture, TraceDumpsIntoTheUsersOwnFolderAndSaysWhichThatIs) {
    const TemporaryFolder folder;
    const TestSupport::Variable state("XDG_STATE_HOME", folder.file("state"));
    const std::string own = folder.file("state/korva-diagnostics");
    const SimulatedCamera camera;
    EXPECT_THAT(camera.capture({"--log", "trace"}),
                ended(0, _, StartsWith("korva: fetched picture files are dumped into " + own + "\n")));
    EXPECT_EQ(std::distance(fs::directory_iterator(own), {}), 1);

    // Somebody else's link leads to another folder.
    fs::remove_all(own);
    fs::create_directory_symlink("..", own);
    EXPECT_THAT(camera.capture({"--log", "trace"}),
                ended(0, _,
                      StartsWith("korva: warning: fetched picture files are not dumped: " + own +
                                 " is a symbolic link; try: --diagnostics DIR\n")));
    EXPECT_EQ(folder.names(), Names{"state"});
}
