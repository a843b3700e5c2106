// The tool's commands by address alone, against cameras at the ports that real ones have.

#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <string>

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
         {std::pair{"identify", SIGINT}, {"describe", SIGTERM}, {"health", SIGINT}}) {
        CameraAtItsPorts camera(holding);
        ChildProcess tool(toolCommand({command, address}));
        EXPECT_TRUE(camera.process.waitForOutput("fault get:drip")) << camera.process.output();
        EXPECT_THAT(tool.endBy(signal, std::chrono::seconds(5)), ended(1, "", "korva: interrupted\n"));
    }
}

TEST(ToolOnTheCamerasOwnPorts, HealthByAddressIdentifiesFirst) {
    const CameraAtItsPorts camera;
    EXPECT_THAT(camera.process.output(), has({"TCP " + address + ":32769", "UDP " + address + ":32768"}));
    EXPECT_THAT(runTool({"health", address}), ended(0, address + ":32769: good, the camera answers\n", ""));
}

TEST(ToolOnTheCamerasOwnPorts, CameraThatCannotBeIdentifiedIsAFailureThatSaysWhy) {
    for (const auto& [ofCamera, reasons] :
         {std::pair<Names, Names>{
              {"--text", "refused"},
              {"korva: no camera identified at " + address + ":32768: ", "Connection refused"}},
          {holding, {address + ":32769: receive failed: Took too long: ", ", the operation may last 1.0 s"}},
          {{"--firmware", "3.2.14"},
           {"requires Korva SW version at least 3.2.15 found 3.2.14",
            "; try: update the camera's firmware"}}}) {
        const CameraAtItsPorts camera(ofCamera);
        for (const char* command : {"capture", "identify", "describe", "health"})
            EXPECT_THAT(runTool({command, address, "--max-time", "1"}), failed(reasons)) << command;
    }
}
