#include "Console/SimulateOptions.h"

#include "Camera/CameraSet.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
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
    EXPECT_EQ(options.camera.scene.kind, Simulator::SceneKind::grid);
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
    EXPECT_EQ(options.camera.scene, (Simulator::Scene{Simulator::SceneKind::file, "a.sgi"}));
    EXPECT_EQ(options.camera.seed, 77u);
    EXPECT_TRUE(options.camera.waitExposure);
    EXPECT_EQ(options.runTime, std::chrono::milliseconds(1500));
}

TEST(SimulateOptions, TakeWhatTheCameraSaysOfItself) {
    const SimulateOptions options = parsed(
        {"--room",      "Lab 2",  "--announce", "10.77.1.12",  "--serial",  "K-7",       "--api",      "2.0",
         "--hardware",  "XM61",   "--netmask",  "255.255.0.0", "--gateway", "10.77.0.1", "--protocol", "DHCP",
         "--discovery", "silent", "--text",     "refused",     "--binary",  "answered"});
    EXPECT_EQ(options.camera.room, "Lab 2");
    EXPECT_EQ(options.camera.announcedAddress, "10.77.1.12");
    EXPECT_EQ(options.camera.serialNumber, "K-7");
    EXPECT_EQ(options.camera.api, "2.0");
    EXPECT_EQ(options.camera.hardware, "XM61");
    EXPECT_EQ(options.camera.netMask, "255.255.0.0");
    EXPECT_EQ(options.camera.gateway, "10.77.0.1");
    EXPECT_EQ(options.camera.networkProtocol, "DHCP");
    EXPECT_EQ(options.camera.discovery, Simulator::Service::silent);
    EXPECT_EQ(options.camera.text, Simulator::Service::refused);
    EXPECT_EQ(options.camera.binary, Simulator::Service::answered);
}

TEST(SimulateOptions, OneCameraIsTheOneOfTheCommandLine) {
    const auto cameras = camerasToServe(parsed({"--address", "127.0.0.2", "--room", "Lab 2"}));
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0].server.address, "127.0.0.2");
    EXPECT_EQ(cameras[0].settings.room, "Lab 2");
}

TEST(SimulateOptions, SetIsTheOneOfTheFileOrPartOfIt) {
    const std::string path = ::testing::TempDir() + "simulate-options-test.json";
    std::ofstream(path) << R"({"cameras": [{"address": "10.77.1.11", "room": "A", "port": 5, "text-port": 6},
                                           {"address": "10.77.1.12", "room": "B"}]})";
    const auto all = camerasToServe(parsed({"--config", path}));
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].server.address, "10.77.1.11");
    EXPECT_EQ(all[0].server.binaryTcpPort, 5);
    EXPECT_EQ(all[0].server.textTcpPort, 6);
    EXPECT_EQ(all[0].server.discoveryUdpPort, 6);
    EXPECT_EQ(all[1].settings.room, "B");
    const auto second = camerasToServe(parsed({"--config", path, "--camera", "2"}));
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(second[0].settings.room, "B");
    const auto first = camerasToServe(parsed({"--config", path, "--only", "10.77.1.11"}));
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].settings.room, "A");
    for (const char* number : {"0", "3"})
        EXPECT_THROW(camerasToServe(parsed({"--config", path, "--camera", number})),
                     Simulator::CameraSetError);
    EXPECT_THROW(camerasToServe(parsed({"--config", path, "--only", "10.77.1.13"})),
                 Simulator::CameraSetError);
    std::remove(path.c_str());
}

TEST(SimulateOptions, SetGoesWithNoOptionOfOneCamera) {
    for (const char* option : {"--address", "--announce", "--gateway"})
        EXPECT_THROW(parsed({"--config", "a.json", option, "10.0.0.1"}), CLI::ParseError) << option;
    for (const char* option : {"--model", "--room", "--serial", "--api", "--hardware", "--firmware", "--port",
                               "--text-port", "--seed"})
        EXPECT_THROW(parsed({"--config", "a.json", option, "1"}), CLI::ParseError) << option;
    EXPECT_THROW(parsed({"--config", "a.json", "--fault", "any:close"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--config", "a.json", "--wait-exposure"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--camera", "1"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--only", "10.0.0.1"}), CLI::ParseError);
    EXPECT_EQ(parsed({"--config", "a.json", "--for", "1"}).configFile, "a.json");
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
    EXPECT_THROW(parsed({"--announce", "here"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--gateway", "10.0.0"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--netmask", "255.0.255.0"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--protocol", "dhcp"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--text", "dead"}), CLI::ParseError);
}
