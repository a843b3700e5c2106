// The tool's commands by address alone, against cameras at the ports that real ones have.

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <vector>

using namespace Integration;

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

const std::string address = addressOfThisProcess();

} // namespace

TEST(ToolOnTheCamerasOwnPorts, TakesAPictureByAddress) {
    const TemporaryFolder folder;
    CameraAtItsPorts camera;
    const ToolResult result = runTool({"capture", address, "--output", folder.file("a.png")});
    EXPECT_EQ(result.status, 0) << result.errors;
    const GreyPicture picture = readGreyPng(folder.file("a.png"));
    EXPECT_EQ(picture.width, 1676u);
    EXPECT_EQ(picture.height, 1266u);
    EXPECT_TRUE(contains(camera.process().output(), "TCP " + address + ":32769"));
    EXPECT_TRUE(contains(camera.process().output(), "UDP " + address + ":32768"));
}

TEST(ToolOnTheCamerasOwnPorts, ExposureReachesTheCamera) {
    const TemporaryFolder folder;
    CameraAtItsPorts camera;
    for (const char* exposure : {"0.1", "1.5", "2.3", "360.0"})
        EXPECT_EQ(
            runTool({"capture", address, "--exposure", exposure, "--output", folder.file("a.png")}).status,
            0);
    camera.process().signal(SIGTERM);
    EXPECT_EQ(camera.process().wait(), 0);
    for (const char* exposure : {"0.1", "1.5", "2.3", "360.0"})
        EXPECT_TRUE(
            contains(camera.process().output(), std::string("configure: exposure ") + exposure + " s"))
            << exposure << " is not in:\n"
            << camera.process().output();
}

TEST(ToolOnTheCamerasOwnPorts, SizeOfAnUnknownModelComesFromAPicture) {
    const TemporaryFolder folder;
    const CameraAtItsPorts camera({"--hardware", "X900", "--size", "40x30"});
    const auto json = nlohmann::json::parse(runTool({"identify", address, "--json"}).output);
    EXPECT_EQ(json["resolution"], (nlohmann::json{{"x", 40}, {"y", 30}}));
    EXPECT_EQ(runTool({"capture", address, "--output", folder.file("a.png")}).status, 0);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).pixels.size(), 40u * 30u);
}

TEST(ToolOnTheCamerasOwnPorts, IdentifySaysWhoItIs) {
    const CameraAtItsPorts camera({"--model", "M615", "--firmware", "3.3.1", "--serial", "77", "--api", "2.0",
                                   "--gateway", "127.0.0.1", "--netmask", "255.0.0.0"});
    const ToolResult json = runTool({"identify", address, "--json"});
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(json.errors, "");
    EXPECT_EQ(nlohmann::json::parse(json.output), nlohmann::json::parse("{\"address\": \"" + address + R"(",
        "macAddress": "", "model": "Korva Meridian M615", "serialNumber": "77", "firmware": "SW-3.3.1_API-2.0",
        "subnetMask": "255.0.0.0", "defaultGateway": "127.0.0.1", "resolution": {"x": 2748, "y": 1836},
        "cameraType": 6})"));
    const ToolResult words = runTool({"identify", address});
    EXPECT_EQ(words.status, 0);
    for (const char* part :
         {address.c_str(), "Korva Meridian M615", "77", "SW-3.3.1_API-2.0", "255.0.0.0", "2748 x 1836"})
        EXPECT_TRUE(contains(words.output, part)) << words.output;
}

TEST(ToolOnTheCamerasOwnPorts, HostileTextsAreShownEscaped) {
    const CameraAtItsPorts camera({"--fault", "text:hostile"});
    for (const char* command : {"identify", "describe"}) {
        const ToolResult result = runTool({command, address});
        EXPECT_EQ(result.status, 0) << result.errors;
        for (const char byte : result.output + result.errors)
            EXPECT_TRUE(byte == '\n' || (byte & 0x60) != 0) << command << ": " << result.output;
    }
}

TEST(ToolOnTheCamerasOwnPorts, DescriptionLeadsBackToTheCamera) {
    const TemporaryFolder folder;
    const CameraAtItsPorts camera;
    const ToolResult description = runTool({"describe", address});
    EXPECT_EQ(description.status, 0) << description.errors;
    EXPECT_TRUE(description.output.starts_with("<Device>")) << description.output;
    std::ofstream(folder.file("camera.xml")) << description.output;
    const ToolResult result =
        runTool({"capture", "--from", folder.file("camera.xml"), "--output", folder.file("a.png")});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(readGreyPng(folder.file("a.png")).width, 1676u);
}

TEST(ToolOnTheCamerasOwnPorts, OneInterruptEndsAnIdentificationThatTheCameraHolds) {
    struct Interrupted {
        const char* command;
        int signal;
    };
    for (const auto& [command, signal] :
         {Interrupted{"identify", SIGINT}, {"describe", SIGTERM}, {"health", SIGINT}}) {
        // A byte every 200 ms, of a sample picture of some hundred.
        CameraAtItsPorts camera({"--hardware", "X900", "--size", "40x30", "--fault", "get:drip=1/200"});
        ChildProcess tool(toolCommand({command, address}));
        EXPECT_TRUE(camera.process().waitForOutput("fault get:drip")) << camera.process().output();
        const auto sent = std::chrono::steady_clock::now();
        tool.signal(signal);
        EXPECT_EQ(tool.wait(), 1) << command;
        EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(5)) << command;
        EXPECT_EQ(tool.output(), "") << command;
        EXPECT_EQ(tool.errors(), "korva: interrupted\n") << command;
    }
}

TEST(ToolOnTheCamerasOwnPorts, IdentificationThatTheCameraHoldsEndsAtItsTime) {
    const CameraAtItsPorts camera({"--hardware", "X900", "--size", "40x30", "--fault", "get:drip=1/200"});
    for (const char* command : {"identify", "describe", "health", "capture"}) {
        const ToolResult result = runTool({command, address, "--max-time", "1"});
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.output, "") << command;
        EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
        EXPECT_TRUE(contains(result.errors, address + ":32769: receive failed: Took too long: "))
            << result.errors;
        EXPECT_TRUE(contains(result.errors, ", the operation may last 1.0 s")) << result.errors;
    }
}

TEST(ToolOnTheCamerasOwnPorts, HealthByAddressIdentifiesFirst) {
    const CameraAtItsPorts camera;
    const ToolResult result = runTool({"health", address});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, address + ":32769: good, the camera answers\n");
}

TEST(ToolOnTheCamerasOwnPorts, UnidentifiableCameraIsNamedWithThePortAsked) {
    const TemporaryFolder folder;
    const CameraAtItsPorts camera({"--text", "refused"});
    for (const char* command : {"capture", "identify", "describe", "health"}) {
        const ToolResult result = runTool({command, address});
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.output, "") << command;
        EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
        EXPECT_TRUE(contains(result.errors, address + ":32768")) << result.errors;
        EXPECT_TRUE(contains(result.errors, "Connection refused")) << result.errors;
    }
}

TEST(ToolOnTheCamerasOwnPorts, FirmwareBelowTheFloorIsTheReason) {
    const CameraAtItsPorts camera({"--firmware", "3.2.14"});
    const ToolResult result = runTool({"identify", address});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.errors, "requires Korva SW version at least 3.2.15 found 3.2.14"))
        << result.errors;
    EXPECT_TRUE(contains(result.errors, "; try: update the camera's firmware")) << result.errors;
}
