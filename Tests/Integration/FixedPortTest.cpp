// The tool's commands by address alone, against cameras at the ports that real ones have.

#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <tuple>

using namespace Integration;
using nlohmann::json;
using testing::_;

namespace {

const std::string address = addressOfThisProcess();

/// It holds its identification: a byte every 200 ms of a sample picture of some hundred.
const Names holding = {"--hardware", "X900", "--size", "40x30", "--fault", "get:drip=1/200"};

} // namespace

TEST(ToolOnTheCamerasOwnPorts, IdentifySaysWhoItIs) {
    CameraAtItsPorts camera({"--model", "M615", "--firmware", "3.3.1", "--serial", "77", "--api", "2.0",
                             "--gateway", "127.0.0.1", "--netmask", "255.0.0.0"});
    const ProcessResult said = runTool({"identify", address, "--json"});
    EXPECT_THAT(said, ended(0, lines(1), ""));
    EXPECT_EQ(json::parse(said.output), json::parse("{\"address\": \"" + address + R"(",
        "macAddress": "", "model": "Korva Meridian M615", "serialNumber": "77", "firmware": "SW-3.3.1_API-2.0",
        "subnetMask": "255.0.0.0", "defaultGateway": "127.0.0.1", "resolution": {"x": 2748, "y": 1836},
        "cameraType": 6})"));
    EXPECT_THAT(camera.stop(), has({"(text) [SerialNumber --Camera] -> [SerialNumber --Camera 77]\n"}));
}

TEST(ToolOnTheCamerasOwnPorts, OneInterruptEndsAnIdentificationThatTheCameraHolds) {
    for (const auto& [command, signal] : {std::pair<Names, int>{{"identify"}, SIGINT},
                                          {{"describe"}, SIGTERM},
                                          {{"health"}, SIGINT},
                                          {{"health", "--watch"}, SIGINT},
                                          {{"discover"}, SIGINT},
                                          {{"capture"}, SIGINT}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        CameraAtItsPorts camera(holding);
        ChildProcess tool(toolCommand(joined(command, {address})));
        EXPECT_TRUE(camera.process.waitForOutput("fault get:drip")) << camera.process.output();
        EXPECT_THAT(tool.endBy(signal, promptly), ended(130, "", "korva: interrupted\n"));
    }
}

TEST(ToolOnTheCamerasOwnPorts, OneInterruptEndsAWatchWhateverItWaitsFor) {
    const CameraAtItsPorts camera;
    for (const char* command : {"health", "discover"})
        for (const auto& [who, sign] : {std::pair{address, address}, {"127.0.0.2", "; try: "}}) {
            SCOPED_TRACE(command + (" " + who));
            ChildProcess watch(toolCommand({command, "--watch", who}));
            EXPECT_TRUE(watch.waitForOutput(sign)) << watch.errors();
            EXPECT_THAT(watch.endBy(SIGINT, promptly).status, testing::AnyOf(0, 1));
        }
}

TEST(ToolOnTheCamerasOwnPorts, AnInterruptIsToldToProgramsToo) {
    CameraAtItsPorts camera(holding);
    ChildProcess tool(toolCommand({"identify", address, "--json"}));
    EXPECT_TRUE(camera.process.waitForOutput("fault get:drip")) << camera.process.output();
    const ProcessResult result = tool.endBy(SIGINT, promptly);
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(json::parse(result.output)["error"]["code"], "interrupted");
}

TEST(ToolOnTheCamerasOwnPorts, DescribeTellsProgramsTheSameDescription) {
    const CameraAtItsPorts camera;
    const ProcessResult plain = runTool({"describe", address});
    EXPECT_THAT(plain, ended(0, testing::StartsWith("<Device>"), ""));
    const ProcessResult told = runTool({"describe", address, "--json"});
    EXPECT_THAT(told, ended(0, lines(1), ""));
    EXPECT_EQ(json::parse(told.output), (json{{"address", address}, {"description", plain.output}}));
}

TEST(ToolOnTheCamerasOwnPorts, CaptureAsksForTheRoomWhereTheNameSaysIt) {
    const TemporaryFolder folder;
    const Names capture = {"capture", address, "--output", folder.file("{room}.png")};
    {
        const CameraAtItsPorts camera({"--room", "Lab 2"});
        EXPECT_THAT(runTool(joined(capture, {"--json"})), ended(0, has({R"("room":"Lab 2")"}), ""));
    }
    const CameraAtItsPorts mute({"--discovery", "silent"});
    EXPECT_THAT(runTool(capture), ended(0, has({"/unknown.png: "}), ""));
    EXPECT_EQ(folder.names(), (Names{"Lab_2.png", "unknown.png"}));
}

TEST(ToolOnTheCamerasOwnPorts, HealthByAddressIdentifiesFirst) {
    const CameraAtItsPorts camera;
    EXPECT_THAT(camera.process.output(), has({"TCP " + address + ":32769", "UDP " + address + ":32768"}));
    EXPECT_THAT(runTool({"health", address}), ended(0, address + ":32769: good, the camera answers\n", ""));
}

TEST(ToolOnTheCamerasOwnPorts, HealthOfSeveralSaysWhoOfThemAnswers) {
    const CameraAtItsPorts camera;
    const std::string other = "127.0.0.2"; // nobody
    const ProcessResult result = runTool({"health", address, other, "--json"});
    EXPECT_EQ(result.status, 4);
    const json object = json::parse(result.output);
    EXPECT_EQ(object["results"][0], (json{{"address", address}, {"ok", true}}));
    EXPECT_EQ(object["results"][1]["address"], other);
    EXPECT_EQ(object["results"][1]["error"]["code"], "no-camera-there");
    EXPECT_EQ(object["error"], object["results"][1]["error"]);
    EXPECT_THAT(runTool({"health", address, other}),
                ended(4, has({address + ":32769: good, the camera answers\n" + other + ": "}), ""));
    EXPECT_EQ(runTool({"health", other, "127.0.0.3"}).status, 1);
}

TEST(ToolOnTheCamerasOwnPorts, HealthWatchTellsProgramsWhenACameraComesOnALineOfItsOwn) {
    ChildProcess watch(toolCommand({"health", addressOfThisProcess(), "--watch", "--json"}));
    EXPECT_TRUE(watch.waitForOutput("\"ok\":false"));
    const CameraAtItsPorts camera;
    EXPECT_TRUE(watch.waitForOutput("\"ok\":true"));
    const ProcessResult result = watch.endBy(SIGINT, promptly);
    EXPECT_THAT(result, ended(0, eachLine(testing::StartsWith("{\"time\":\"2")), ""));
}

TEST(ToolOnTheCamerasOwnPorts, HealthWatchDoesNotHaveOneCameraWaitForAnother) {
    // The first one holds its identification for as long as it may.
    const CameraAtItsPorts camera(holding);
    ChildProcess watch(toolCommand({"health", address, "127.0.0.2", "--watch", "--max-time", "60"}));
    EXPECT_TRUE(watch.waitForOutput("127.0.0.2: "));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(watch.endBy(SIGINT, std::chrono::seconds(5)),
                ended(1, AllOf(lines(1), has({"; try: "})), ""));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    std::printf("figure: Ctrl-C ends health --watch: %.2f s, at most 0.5 s on an idle machine\n",
                took.count());
}

TEST(ToolOnTheCamerasOwnPorts, HealthOfADescriptionRefusesAnotherCamera) {
    const TemporaryFolder folder;
    const std::string file = folder.file("camera.xml");
    {
        const CameraAtItsPorts described({"--serial", "old"});
        std::ofstream(file) << runTool({"describe", address}).output;
        EXPECT_THAT(runTool({"health", "--from", file}), ended(0, has({": good"}), ""));
    }
    const CameraAtItsPorts other({"--serial", "new"});
    EXPECT_THAT(runTool({"health", "--from", file}),
                ended(1, has({"another camera: its serial number is new, the description's is old"}), ""));
    EXPECT_EQ(json::parse(runTool({"health", "--from", file, "--json"}).output)["error"]["code"],
              "another-camera");
    EXPECT_EQ(runTool({"health", "--from", file, "--any-camera"}).status, 0);
}

TEST(ToolOnTheCamerasOwnPorts, WhatDoesNotAnswerAsACameraIsAFailureOfHealthAndDiscoverAndAWarningOfOthers) {
    const CameraAtItsPorts camera({"--fault", "text:garbage"});
    for (const char* command : {"health", "discover"}) {
        const ProcessResult result = runTool({command, address, "--json"});
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(json::parse(result.output)["error"]["code"], "garbage") << command;
    }
    EXPECT_THAT(runTool({"health", address}),
                ended(1, has({address + ": answers on TCP 32768, but not as a camera does; try: "}), ""));
    for (const char* command : {"identify", "describe"}) {
        const ProcessResult result = runTool({command, address, "--json"});
        EXPECT_THAT(result, ended(0, _, has({"korva: warning: " + address + ": answers on TCP 32768, but "})))
            << command;
        EXPECT_EQ(json::parse(result.output)["note"]["code"], "garbage") << command;
    }
}

TEST(ToolOnTheCamerasOwnPorts, DiscoverWatchEndsWithItsTimeAndTheStatusOfWhatItSaw) {
    const CameraAtItsPorts camera;
    const Names watch = {"discover", "--watch", "--timeout", "1.5", "--json"};
    const ProcessResult result = runTool(joined(watch, {address}));
    EXPECT_THAT(result, ended(0, AllOf(lines(1), has({"\"event\":\"came\""})), ""));
    EXPECT_THAT(runTool(joined(watch, {"127.0.0.2"})),
                ended(1, AllOf(lines(1), has({"\"event\":\"trouble\",\"address\":\"127.0.0.2\""})), ""));
    EXPECT_EQ(runTool(joined(watch, {address, "127.0.0.2"})).status, 4);
}

TEST(ToolOnTheCamerasOwnPorts, DiscoverWatchThatHasToldNothingSaysWhyItEnds) {
    const CameraAtItsPorts camera(holding);
    const ProcessResult result = runTool({"discover", address, "--watch", "--timeout", "0.5", "--json"});
    EXPECT_THAT(result, ended(1, lines(1), has({"korva: " + address + ": not asked to the end; try: "})));
    EXPECT_EQ(json::parse(result.output)["error"]["code"], "search-cut");
}

TEST(ToolOnTheCamerasOwnPorts, DiscoverAsksAddressesUntilItsTimeIsOver) {
    ChildProcess discover(toolCommand({"discover", address, "--timeout", "20"}));
    // As long as nobody is there it goes on.
    const CameraAtItsPorts camera;
    EXPECT_THAT(discover.result(), ended(0, has({"1 ready, 0 unusable."}), _));
}

TEST(ToolOnTheCamerasOwnPorts, DiscoverAsksAddressesDirectly) {
    const CameraAtItsPorts camera({"--room", "Attic"});
    const ProcessResult result = runTool({"discover", address, "127.0.0.2", "--json"});
    EXPECT_THAT(result, ended(4, lines(1), has({"  ready\n", "1 ready, 1 unusable.\n"})));
    const json object = json::parse(result.output);
    EXPECT_EQ(object["cameras"][0]["address"], address);
    EXPECT_EQ(object["problems"][0]["address"], "127.0.0.2");
    EXPECT_EQ(object["error"]["code"], "no-camera-there");
}

TEST(ToolOnTheCamerasOwnPorts, DiscoverHasColoursAndSaysWhatItDoesOnATerminalOnly) {
    const CameraAtItsPorts camera;
    const Names discover = toolCommand({"discover", address, "--json"});
    const auto onTerminal = [](const Names& command) {
        return ChildProcess(command, ChildProcess::ErrorStream::terminal).result().errors;
    };
    EXPECT_THAT(onTerminal(discover), has({"asking...", "\r\x1b[K", "\x1b[32mready\x1b[0m"}));
    EXPECT_THAT(onTerminal(joined({"/usr/bin/env", "NO_COLOR=1"}, discover)),
                AllOf(has({"asking...", "  ready"}), Not(has({"\x1b[32m"}))));
    EXPECT_THAT(onTerminal(joined(discover, {"--watch", "--timeout", "1"})), has({"asking...", "\r\x1b[K"}));
    EXPECT_THAT(run(discover).errors, AllOf(Not(has({"asking..."})), Not(has({"\x1b"}))));
}

TEST(ToolOnTheCamerasOwnPorts, CameraThatCannotBeIdentifiedIsAFailureThatSaysWhy) {
    for (const auto& [ofCamera, code, reasons] :
         {std::tuple<Names, std::string, Names>{
              {"--text", "refused"}, "text-port-refused", {"refuses TCP 32768", "; try: "}},
          {holding, "took-too-long", {"took too long: ", "the operation may last 1.0 s", "; try: "}},
          {{"--firmware", "3.2.14"},
           "old-firmware",
           {"firmware 3.2.14, needs 3.2.15", "; try: update the camera's firmware"}}}) {
        const CameraAtItsPorts camera(ofCamera);
        for (const char* command : {"identify", "describe"})
            EXPECT_THAT(runTool({command, address, "--max-time", "1"}),
                        failed(joined({"korva: " + address + " (Lab): "}, reasons)))
                << command;
        for (const char* command : {"identify", "health", "discover"}) {
            const ProcessResult result = runTool({command, address, "--max-time", "1", "--json"});
            EXPECT_EQ(result.status, 1);
            EXPECT_EQ(json::parse(result.output)["error"]["code"], code) << command << result.output;
        }
    }
}
