// The tool's commands by address alone, against cameras at the ports that real ones have.

#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <tuple>

using namespace Integration;
using nlohmann::json;

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
    for (const auto& [command, signal] :
         {std::pair{"identify", SIGINT}, {"describe", SIGTERM}, {"health", SIGINT}, {"discover", SIGINT}}) {
        CameraAtItsPorts camera(holding);
        ChildProcess tool(toolCommand({command, address}));
        EXPECT_TRUE(camera.process.waitForOutput("fault get:drip")) << camera.process.output();
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_THAT(tool.endBy(signal, std::chrono::seconds(5)), ended(130, "", "korva: interrupted\n"));
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        std::printf("figure: Ctrl-C ends %s: %.2f s, at most 0.5 s on an idle machine\n", command,
                    took.count());
    }
}

TEST(ToolOnTheCamerasOwnPorts, AnInterruptIsToldToProgramsToo) {
    CameraAtItsPorts camera(holding);
    ChildProcess tool(toolCommand({"identify", address, "--json"}));
    EXPECT_TRUE(camera.process.waitForOutput("fault get:drip")) << camera.process.output();
    const ProcessResult result = tool.endBy(SIGINT, std::chrono::seconds(5));
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(json::parse(result.output)["error"]["code"], "interrupted");
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
    const ProcessResult result = watch.endBy(SIGINT);
    EXPECT_THAT(result, ended(0, eachLine(testing::StartsWith("{\"time\":\"2")), ""));
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
