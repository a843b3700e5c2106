// The tool's commands by address alone, against cameras at the ports that real ones have.

#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>

using namespace Integration;
using nlohmann::json;

namespace {

const std::string address = addressOfThisProcess();

/// A camera that holds its identification: a byte every 200 ms, of a sample picture of some hundred.
const Names holding = {"--hardware", "X900", "--size", "40x30", "--fault", "get:drip=1/200"};

} // namespace

TEST(ToolOnTheCamerasOwnPorts, TakesAPictureByAddress) {
    const TemporaryFolder folder;
    CameraAtItsPorts camera;
    EXPECT_EQ(runTool({"capture", address, "--output", folder.file("a.png")}).status, 0);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).pixels.size(), 1676u * 1266u);
    EXPECT_THAT(camera.process().output(), has({"TCP " + address + ":32769", "UDP " + address + ":32768"}));
}

TEST(ToolOnTheCamerasOwnPorts, ExposureReachesTheCamera) {
    const TemporaryFolder folder;
    CameraAtItsPorts camera({"--size", "40x30", "--hardware", "X900"});
    for (const std::string exposure : {"0.1", "1.5", "2.3", "360.0"}) {
        EXPECT_EQ(
            runTool({"capture", address, "--exposure", exposure, "--output", folder.file("a.png")}).status,
            0);
        EXPECT_TRUE(camera.process().waitForOutput("configure: exposure " + exposure + " s"));
    }
}

TEST(ToolOnTheCamerasOwnPorts, SizeOfAnUnknownModelComesFromAPicture) {
    const TemporaryFolder folder;
    const CameraAtItsPorts camera({"--hardware", "X900", "--size", "40x30"});
    EXPECT_EQ(json::parse(runTool({"identify", address, "--json"}).output)["resolution"],
              (json{{"x", 40}, {"y", 30}}));
    EXPECT_EQ(runTool({"capture", address, "--output", folder.file("a.png")}).status, 0);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).pixels.size(), 40u * 30u);
}

TEST(ToolOnTheCamerasOwnPorts, IdentifySaysWhoItIs) {
    const CameraAtItsPorts camera({"--model", "M615", "--firmware", "3.3.1", "--serial", "77", "--api", "2.0",
                                   "--gateway", "127.0.0.1", "--netmask", "255.0.0.0"});
    const ProcessResult said = runTool({"identify", address, "--json"});
    EXPECT_THAT(said, ended(0, oneLine(), ""));
    EXPECT_EQ(json::parse(said.output), json::parse("{\"address\": \"" + address + R"(",
        "macAddress": "", "model": "Korva Meridian M615", "serialNumber": "77", "firmware": "SW-3.3.1_API-2.0",
        "subnetMask": "255.0.0.0", "defaultGateway": "127.0.0.1", "resolution": {"x": 2748, "y": 1836},
        "cameraType": 6})"));
    EXPECT_THAT(
        runTool({"identify", address}),
        ended(0, has({address, "Korva Meridian M615", "77", "SW-3.3.1_API-2.0", "255.0.0.0", "2748 x 1836"}),
              ""));
}

TEST(ToolOnTheCamerasOwnPorts, DescriptionLeadsBackToTheCamera) {
    const TemporaryFolder folder;
    const CameraAtItsPorts camera;
    const ProcessResult description = runTool({"describe", address});
    EXPECT_THAT(description, ended(0, testing::StartsWith("<Device>"), ""));
    std::ofstream(folder.file("camera.xml")) << description.output;
    EXPECT_EQ(
        runTool({"capture", "--from", folder.file("camera.xml"), "--output", folder.file("a.png")}).status,
        0);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).width, 1676u);
}

TEST(ToolOnTheCamerasOwnPorts, OneInterruptEndsAnIdentificationThatTheCameraHolds) {
    for (const auto& [command, signal] :
         {std::pair{"identify", SIGINT}, {"describe", SIGTERM}, {"health", SIGINT}}) {
        CameraAtItsPorts camera(holding);
        ChildProcess tool(toolCommand({command, address}));
        EXPECT_TRUE(camera.process().waitForOutput("fault get:drip")) << camera.process().output();
        const auto sent = std::chrono::steady_clock::now();
        tool.signal(signal);
        EXPECT_THAT(tool.result(), ended(1, "", "korva: interrupted\n")) << command;
        EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(5)) << command;
    }
}

TEST(ToolOnTheCamerasOwnPorts, IdentificationThatTheCameraHoldsEndsAtItsTime) {
    const CameraAtItsPorts camera(holding);
    for (const char* command : {"identify", "describe", "health", "capture"})
        EXPECT_THAT(
            runTool({command, address, "--max-time", "1"}),
            failed({address + ":32769: receive failed: Took too long: ", ", the operation may last 1.0 s"}))
            << command;
}

TEST(ToolOnTheCamerasOwnPorts, HealthByAddressIdentifiesFirst) {
    const CameraAtItsPorts camera;
    EXPECT_THAT(runTool({"health", address}), ended(0, address + ":32769: good, the camera answers\n", ""));
}

TEST(ToolOnTheCamerasOwnPorts, UnidentifiableCameraIsNamedWithThePortAsked) {
    const CameraAtItsPorts camera({"--text", "refused"});
    for (const char* command : {"capture", "identify", "describe", "health"})
        EXPECT_THAT(runTool({command, address}),
                    failed({"korva: no camera identified at " + address + ":32768: ", "Connection refused"}))
            << command;
}

TEST(ToolOnTheCamerasOwnPorts, FirmwareBelowTheFloorIsTheReason) {
    const CameraAtItsPorts camera({"--firmware", "3.2.14"});
    EXPECT_THAT(runTool({"identify", address}),
                failed({"requires Korva SW version at least 3.2.15 found 3.2.14",
                        "; try: update the camera's firmware"}));
}
