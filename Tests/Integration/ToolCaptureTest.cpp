// `korva capture` as its users see it: exit status, outputs, files.

#include "ExpectedPixels.h"
#include "Support/Environment.h"
#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
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
    EXPECT_GT(said["results"][0]["milliseconds"], 0.0);
    EXPECT_EQ(said["results"][0]["clipped"], 1.0);
    EXPECT_EQ(said["results"][0]["verdict"]["code"], "overexposed");
}

TEST(ToolCapture, CountNumbersTheFilesAndThoseBeforeAFailureStay) {
    // Of two faults the first that still applies hits: four harmless delays, then errors.
    const SimulatedCamera camera({"--fault", "take:delay=1*4", "--fault", "take:error=5"});
    EXPECT_THAT(camera.capture({"--count", "2"}, "wall.png"), ended(0, lines(2), ""));
    const ProcessResult result = camera.capture({"--count", "3", "--json"}, "yard.png");
    EXPECT_THAT(result, ended(4, lines(1), lines(1)));
    EXPECT_EQ(json::parse(result.output)["files"].size(), 2u);
    EXPECT_EQ(json::parse(result.output)["results"][2]["error"]["code"], "camera-error");
    EXPECT_EQ(json::parse(result.output)["error"]["text"], "2 of 3 pictures; failed: 127.0.0.1");
    EXPECT_EQ(camera.pictures.names(), (Names{"wall-1.png", "wall-2.png", "yard-1.png", "yard-2.png"}));
    for (const std::string& name : camera.pictures.names())
        EXPECT_EQ(readGreyPng(camera.pictures.file(name)).pixels.size(), 120u * 80u) << name;
}

TEST(ToolCapture, PictureThatIsOddComesWithTheWarning) {
    for (const auto& [fault, warning] :
         {std::pair<std::string, std::string>{"get:black-picture*1", "only the second try gave a picture"},
          {"get:checksum", "what the camera sent was damaged on its way"}}) {
        const SimulatedCamera camera({"--fault", fault});
        EXPECT_THAT(camera.capture(),
                    ended(0, lines(1), AllOf(lines(1), has({"korva: warning: 127.0.0.1: ", warning}))));
        EXPECT_EQ(camera.pictures.names(), Names{"a.png"});
    }
}

TEST(AFailedCapture, IsOneLineThatSaysWhatToTryAndLeavesNoFile) {
    const Names holding{"--fault", "get:drip=1/20"}; // a picture of twenty minutes
    for (const auto& [ofCamera, arguments, reason, advice] :
         {std::tuple<Names, Names, const char*, const char*>{
              {"--scene", "black"}, {}, "all black", "lens cap"},
          {{"--fault", "get:empty-picture"}, {}, "what the camera sent is no picture", "again"},
          {{"--fault", "get:garbage-picture"}, {}, "what the camera sent is no picture", "again"},
          {{"--fault", "get:truncate-close=1000"}, {}, "closed", "again"},
          {holding, {"--exposure", "0.1", "--max-time", "1.2"}, "took too long: ", "--max-time"},
          {holding, {"--speed-time", "0.5"}, "too slow: ", "--min-speed"}}) {
        const SimulatedCamera camera(ofCamera);
        EXPECT_THAT(camera.capture(arguments), failed({"korva: 127.0.0.1: ", reason, "; try: ", advice}));
        EXPECT_EQ(camera.pictures.names(), Names{});
    }
}

TEST(AFailedCapture, OfAPictureOfAnotherSizeSaysBothAndWritesNothingSheared) {
    const SimulatedCamera camera({"--size", "60x40"});
    std::ofstream(camera.description)
        << "<Device><CameraInfo><cameraTypeEnum>6</cameraTypeEnum><resolutionX>30"
           "</resolutionX><resolutionY>20</resolutionY><model>Korva Meridian X99</model>"
           "</CameraInfo><connection><address>127.0.0.1</address><port>"
        << camera.port << "</port></connection></Device>";
    EXPECT_THAT(camera.capture(),
                failed({"the camera sent 60 x 40, it should send 30 x 20 (model ", "X99 is unknown)"}));
    const TemporaryFolder logs;
    for (const char* const hiding :
         {"log4j.rootLogger=OFF\n", "log4j.rootLogger=INFO\nlog4j.threshold=OFF\n",
          "log4j.rootLogger=ERROR\nlog4j.logger.Plenar.KorvaCamera.KorvaInternals=OFF\n",
          "log4j.rootLogger=INFO\nlog4j.additivity.Plenar.KorvaCamera=false\n"}) {
        SCOPED_TRACE(hiding);
        std::ofstream(logs.file("log.properties")) << hiding;
        EXPECT_THAT(camera.capture({"--log-config", logs.file("log.properties")}),
                    failed({"the camera sent 60 x 40, it should send 30 x 20"}));
    }
    EXPECT_EQ(camera.pictures.names(), Names{});
}

TEST(AFailedCapture, OfALongExposureWasToldBefore) {
    const SimulatedCamera camera({"--fault", "take:silent"});
    EXPECT_THAT(camera.capture({"--exposure", "9.6", "--max-time", "0.5"}),
                ended(1, "",
                      AllOf(lines(3), StartsWith("korva: warning: this camera may not answer in time: "),
                            has({"; try: --exposure 9 and",
                                 "\nkorva: warning: no picture comes within that --max-time: "}))));
}

TEST(ToolCapture, WithoutACameraIsAFailureThatNamesItAndLeavesNoFile) {
    SimulatedCamera camera;
    camera.stop();
    EXPECT_THAT(camera.capture(), failed({"korva: 127.0.0.1: ", "; try: "}));
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
        EXPECT_THAT(capture.endBy(SIGINT, promptly), ended(130, "", "korva: interrupted\n"));
        EXPECT_EQ(camera.pictures.names(), Names{});
    }
}

TEST(ToolCapture, CtrlCEndsItBetweenThePicturesOfAnInterval) {
    const SimulatedCamera camera;
    ChildProcess capture(toolCommand(camera.captureArguments({"--count", "2", "--interval", "60"})));
    EXPECT_TRUE(capture.waitForOutput("a-1.png: "));
    EXPECT_THAT(capture.endBy(SIGINT, promptly), ended(130, lines(1), "korva: interrupted\n"));
    EXPECT_EQ(camera.pictures.names(), Names{"a-1.png"});
}

TEST(ToolCapture, TerminalSeesAProgressBarThatGoesAwayAndAPipeNone) {
    const SimulatedCamera camera({"--size", "200x100", "--fault", "get:drip=30000/60"});
    ChildProcess capture(toolCommand(camera.captureArguments()), ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(capture.result(), ended(0, _, AllOf(has({"of 120.5 kB", "#"}), EndsWith("\r\x1b[K"))));
    EXPECT_THAT(camera.capture(), ended(0, _, ""));
}

TEST(ToolCapture, TerminalSeesHowLongItExposes) {
    const SimulatedCamera camera({"--wait-exposure"});
    ChildProcess capture(toolCommand(camera.captureArguments({"--exposure", "1.2"})),
                         ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(capture.result(),
                ended(0, _,
                      AllOf(has({"\r\x1b[Kexposing 0/1.2 s\r\x1b[Kexposing 1/1.2 s\r\x1b[K"}),
                            EndsWith("\r\x1b[K"))));
    ChildProcess dumb(
        joined({"/usr/bin/env", "TERM=dumb"}, toolCommand(camera.captureArguments({"--exposure", "0.5"}))),
        ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(dumb.result(), ended(0, _, ""));
}

TEST(ToolCapture, ContactSheetThatCannotBeWrittenIsSaidAfterThePicturesWithItsOwnOption) {
    const SimulatedCamera camera;
    const std::string folder = camera.own.file("sheets");
    fs::create_directory(folder);
    // The folder goes between the check and the end.
    const std::string script = "(for i in $(seq 200); do [ -e " + camera.pictures.file("a-1.png") +
                               " ] && break; sleep 0.05; done; rmdir " + folder + ") & \"$0\" \"$@\"";
    EXPECT_THAT(
        runToolBy(script, camera.captureArguments(
                              {"--count", "2", "--interval", "1", "--contact-sheet", folder + "/sheet.png"})),
        ended(4, lines(2), AllOf(lines(1), has({"cannot write ", "; try: another --contact-sheet"}))));
    EXPECT_EQ(camera.pictures.names().size(), 2u);
}

TEST(ToolCapture, ContactSheetTakesNoPicturesPlace) {
    const SimulatedCamera camera;
    const std::string sheet = camera.pictures.file("127.0.0.1.png");
    EXPECT_THAT(camera.capture({"--contact-sheet", sheet}, "{address}.png"), ended(0, has({"_2.png: "}), ""));
    EXPECT_EQ(camera.pictures.names(), (Names{"127.0.0.1.png", "127.0.0.1_2.png"}));
    EXPECT_EQ(readGreyPng(camera.pictures.file("127.0.0.1_2.png")).width, 120u);
    EXPECT_THAT(camera.capture({"--contact-sheet", camera.pictures.file("./a.png")}),
                ended(2, "", has({"korva: --contact-sheet and the picture ", " are the same file"})));
}

TEST(ToolCapture, OnAFullDiskNothingIsCutOffWithoutAWord) {
    const SimulatedCamera camera({"--scene", "noise"});
    const std::string disk = camera.own.file("disk");
    fs::create_directory(disk);
    if (runToolBy("unshare -rm mount -t tmpfs none " + disk, {}).status != 0)
        GTEST_SKIP() << "This system lets its users mount nothing.";
    const std::string script = "exec unshare -rm bash -c 'mount -t tmpfs -o size=8k none " + disk +
                               R"( && exec "$0" "$@"' "$0" "$@")";
    const std::string noRoom = ": No space left on device; try: ";
    for (const auto& [file, more, status, complaint] :
         {std::tuple<std::string, Names, int, Names>{
              "a.png", {"--diagnostics", disk}, 4, {" is not whole, ", " of 58112 bytes" + noRoom}},
          {"a.png", {"--contact-sheet", disk + "/s.png"}, 4, {"s.png" + noRoom + "another --contact-sheet"}},
          {disk + "/b.png", {}, 1, {"b.png" + noRoom + "another --output"}}}) {
        SCOPED_TRACE(file);
        EXPECT_THAT(runToolBy(script, camera.captureArguments(more, file)),
                    ended(status, lines(status == 1 ? 0 : 1), AllOf(lines(1), has(complaint))));
    }
    const ProcessResult told = runToolBy(script, camera.captureArguments({"--diagnostics", disk, "--json"}));
    EXPECT_EQ(json::parse(told.output)["error"]["code"], "file-failed");
    EXPECT_EQ(json::parse(told.output)["results"][0]["ok"], true);
    EXPECT_EQ(camera.picture().width, 120u);
}

TEST(ToolCapture, FindsTheExposureThatFitsAndSaysIt) {
    const SimulatedCamera camera({"--scene", "ramp"});
    const ProcessResult result = camera.capture({"--exposure", "auto", "--json"});
    EXPECT_THAT(result, ended(0, lines(1), ""));
    const json taken = json::parse(result.output)["results"][0];
    EXPECT_EQ(taken["verdict"], nullptr);
    EXPECT_EQ(taken["clipped"], 0.0);
    EXPECT_LT(taken["exposure"], 1.5);
    EXPECT_THAT(camera.capture({"--exposure", "auto"}), ended(0, has({" s chosen with ", " pictures"}), ""));
}

TEST(ToolCapture, TakesABracketAndTellsItsFilesApart) {
    const SimulatedCamera camera;
    EXPECT_THAT(camera.capture({"--exposure", "0.5,1,2"}, "{exposure}.png"), ended(0, lines(3), ""));
    EXPECT_EQ(camera.pictures.names(), (Names{"0.5.png", "1.png", "2.png"}));
}

TEST(ToolCapture, GoesOnWithABracketBehindAnExposureThatFails) {
    // A black picture costs both tries of an exposure, then the pictures come.
    const SimulatedCamera camera({"--fault", "get:black-picture*2"});
    const ProcessResult told = camera.capture({"--exposure", "0.1,0.2,0.3", "--json"}, "{number}.png");
    EXPECT_THAT(told, ended(4, lines(1), has({"korva: 127.0.0.1: ", ", exposure 0.1 s; try: "})));
    const json said = json::parse(told.output);
    ASSERT_EQ(said["results"].size(), 3u);
    for (const auto& [at, exposure] : {std::pair{0u, 0.1}, {1u, 0.2}, {2u, 0.3}}) {
        EXPECT_EQ(said["results"][at]["exposure"], exposure);
        EXPECT_EQ(said["results"][at]["ok"], at != 0) << at;
        EXPECT_GT(said["results"][at]["milliseconds"], 0.0) << at;
    }
    EXPECT_EQ(said["error"]["text"], "2 of 3 pictures; failed: 127.0.0.1");
    EXPECT_EQ(camera.pictures.names(), (Names{"2.png", "3.png"}));
}

TEST(ToolCapture, FindsTheExposureThatFitsAlsoBehindAPictureThatIsAllBlack) {
    const SimulatedCamera camera({"--scene", "ramp", "--fault", "get:black-picture*2"});
    EXPECT_THAT(camera.capture({"--exposure", "auto"}), ended(0, has({" s chosen with ", " pictures"}), ""));
    const SimulatedCamera black({"--scene", "black"});
    EXPECT_THAT(black.capture({"--exposure", "auto"}), failed({"korva: 127.0.0.1: ", "all black"}));
    EXPECT_EQ(black.pictures.names(), Names{});
}

TEST(ToolCapture, NamesAPictureByTheExposureThatIsFoundAndByNoOther) {
    const SimulatedCamera camera({"--scene", "ramp"});
    fs::create_directory(camera.pictures.file("nc"));
    std::ofstream(camera.pictures.file("nc/1.5.png")) << "older";
    EXPECT_THAT(camera.capture({"--exposure", "auto", "--no-clobber"}, "nc/{exposure}.png"),
                ended(0, lines(1), ""));
    EXPECT_THAT(camera.capture({"--exposure", "auto"}, "{exposure}/a.png"), ended(0, lines(1), ""));
    EXPECT_EQ(camera.pictures.names().size(), 2u) << "nc, and the folder of the picture";
    std::ofstream(camera.pictures.file("b.png")) << "older";
    EXPECT_THAT(camera.capture({"--exposure", "auto", "--no-clobber"}, "b.png"),
                failed({"b.png: it exists"}));
}

TEST(ToolCapture, WritesThePictureToStandardOutputAndNotToATerminal) {
    const SimulatedCamera camera;
    const std::string file = camera.pictures.file("a.png");
    Names arguments = camera.captureArguments();
    arguments[4] = "-";
    EXPECT_EQ(runToolBy("\"$0\" \"$@\" > " + file, arguments).status, 0);
    EXPECT_EQ(camera.picture().width, 120u);
    arguments.emplace_back("--json");
    EXPECT_THAT(runTool(arguments), ended(2, _, has({"korva: --output - leaves no room for --json"})));
    arguments.pop_back();
    EXPECT_THAT(run({"/usr/bin/script", "-qec",
                     [&] {
                         std::string line;
                         for (const std::string& word : toolCommand(arguments))
                             line += "'" + word + "' ";
                         return line;
                     }(),
                     "/dev/null"}),
                ended(2, has({"korva: --output - would write a picture to the terminal"}), _));
}

TEST(ToolCapture, KeepsFilesWhereItIsAskedTo) {
    const SimulatedCamera camera;
    EXPECT_EQ(camera.capture({"--no-clobber"}).status, 0);
    EXPECT_THAT(camera.capture({"--no-clobber"}), failed({"a.png: it exists, and --no-clobber keeps it"}));
    EXPECT_EQ(camera.capture().status, 0);
}

TEST(ToolCapture, WaitsBetweenThePicturesOfAnInterval) {
    constexpr int interval = 500; // ms
    const SimulatedCamera camera;
    const auto begin = std::chrono::steady_clock::now();
    const ProcessResult result =
        camera.capture({"--count", "3", "--interval", "0.5", "--json"}, "{time}-{number}.png");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(2 * interval));
    EXPECT_THAT(result, ended(0, lines(1), ""));
    const json results = json::parse(result.output)["results"];
    const auto millisecondsOf = [](const std::string& time) {
        return std::stoi(time.substr(14, 2)) * 60'000 + std::stoi(time.substr(17, 2)) * 1000 +
               std::stoi(time.substr(20, 3));
    };
    for (const std::size_t second : {1u, 2u}) {
        const int passed =
            millisecondsOf(results[second]["takenAt"]) - millisecondsOf(results[second - 1]["takenAt"]);
        // The time is read when the camera is asked, which may come a little after its turn has begun.
        EXPECT_GE((passed + 3'600'000) % 3'600'000, interval / 2);
    }
}

TEST(ToolCapture, DumpsWhereAFolderForThatIsNamedEachUnderANameOfItsOwn) {
    const TemporaryFolder dumps;
    const SimulatedCamera camera;
    EXPECT_THAT(camera.capture({"--count", "3", "--diagnostics", dumps.path()}, "b.png"),
                ended(0, lines(3), ""));
    const Names names = dumps.names();
    EXPECT_EQ(names.size(), 3u);
    for (const std::string& name : names)
        EXPECT_THAT(name, testing::MatchesRegex("KorvaImage .* 127.0.0.1-[123].sgi"));
    const std::string log = camera.own.file("log.properties");
    std::ofstream(log) << "log4j.rootLogger=OFF\nlog4j.logger.Plenar.KorvaCamera.KorvaCapture=TRACE\n";
    EXPECT_THAT(camera.capture({"--count", "3", "--log-config", log, "--diagnostics", dumps.path()}, "c.png"),
                ended(0, lines(3), ""));
    EXPECT_EQ(dumps.names().size(), 6u) << "a configuration's dumps";
    std::ofstream(log) << "log4j.rootLogger=OFF\n";
    EXPECT_THAT(camera.capture({"--log-config", log, "--diagnostics", dumps.path()}),
                ended(0, lines(1), has({"korva: warning: no picture file is dumped into ", "TRACE"})));
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
