#include "Console/SimulateOptions.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using Console::SimulateOptions;
using Simulator::pictureSizeFromText;

namespace {

SimulateOptions parsed(const std::vector<std::string>& arguments) {
    CLI::App app;
    SimulateOptions options;
    addSimulateOptions(app, options);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
    return options;
}

} // namespace

TEST(SimulateOptions, DefaultsAreACameraOnLoopbackAtItsOwnPorts) {
    const SimulateOptions options = parsed({});
    EXPECT_EQ(options.server.address, "127.0.0.1");
    EXPECT_EQ(options.server.binaryTcpPort, 32769);
    EXPECT_EQ(options.server.textTcpPort, 32768);
    EXPECT_EQ(options.server.discoveryUdpPort, 32768);
    EXPECT_EQ(options.camera.model, "M61");
    EXPECT_EQ(options.camera.firmware, "3.2.15");
    EXPECT_EQ(options.camera.scene.kind, Simulator::SceneKind::Grid);
    EXPECT_FALSE(options.camera.size);
    EXPECT_FALSE(options.camera.waitExposure);
    EXPECT_TRUE(options.camera.faults.empty());
    EXPECT_FALSE(options.runTime);
}

TEST(SimulateOptions, TakeWhatTheCommandLineSays) {
    const SimulateOptions options =
        parsed({"--address", "127.0.0.2", "--port", "0", "--text-port", "5000", "--model", "My own",
                "--firmware", "4.0.0", "--size", "64x48", "--scene", "file:a.sgi", "--seed", "77",
                "--wait-exposure", "--for", "1.5"});
    EXPECT_EQ(options.server.address, "127.0.0.2");
    EXPECT_EQ(options.server.binaryTcpPort, 0);
    EXPECT_EQ(options.server.textTcpPort, 5000);
    EXPECT_EQ(options.server.discoveryUdpPort, 5000);
    EXPECT_EQ(options.camera.model, "My own");
    EXPECT_EQ(options.camera.firmware, "4.0.0");
    EXPECT_EQ(options.camera.size, (Simulator::PictureSize{64, 48}));
    EXPECT_EQ(options.camera.scene, (Simulator::Scene{Simulator::SceneKind::File, "a.sgi"}));
    EXPECT_EQ(options.camera.seed, 77u);
    EXPECT_TRUE(options.camera.waitExposure);
    EXPECT_EQ(options.runTime, std::chrono::milliseconds(1500));
}

TEST(SimulateOptions, FaultsAreKeptInTheirOrder) {
    const SimulateOptions options = parsed({"--fault", "get:checksum*1", "--fault", "take:error=7"});
    ASSERT_EQ(options.camera.faults.size(), 2u);
    EXPECT_EQ(options.camera.faults[0].describe(), "get:checksum*1");
    EXPECT_EQ(options.camera.faults[1].describe(), "take:error=7");
}

TEST(SimulateOptions, SizeIsTwoSidesFromOneTo65535) {
    EXPECT_EQ(pictureSizeFromText("1x1"), (Simulator::PictureSize{1, 1}));
    EXPECT_EQ(pictureSizeFromText("65535x2"), (Simulator::PictureSize{65535, 2}));
    for (const char* text : {"", "x", "1x", "x1", "0x1", "1x0", "65536x1", "1x65536", "-1x1", "1X1", "1x1x1",
                             "1 x 1", "99999999999x1"})
        EXPECT_EQ(pictureSizeFromText(text), std::nullopt) << text;
}

TEST(SimulateOptions, RefuseWrongUsage) {
    EXPECT_THROW(parsed({"--scene", "sunset"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--fault", "get:gremlins"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--size", "big"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--port", "-1"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--port", "65536"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--address", "300.0.0.1"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--for", "-1"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--for", "nan"}), CLI::ParseError);
    EXPECT_THROW(parsed({"something"}), CLI::ParseError);
}
