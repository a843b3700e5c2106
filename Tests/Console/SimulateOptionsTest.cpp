#include "Console/SimulateOptions.h"

#include "Camera/CameraSet.h"
#include "Camera/SettingTable.h"

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
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

std::string help() {
    CLI::App app;
    SimulateOptions options;
    addSimulateOptions(app, options);
    return app.help();
}

/// A value of each setting that is not the usual one, as it stands in a file.
const std::map<std::string_view, std::string> unusualValues = {
    {"address", R"("127.0.0.2")"},
    {"announce", R"("10.77.1.12")"},
    {"api", R"("2.0")"},
    {"binary", R"("silent")"},
    {"discovery", R"("refused")"},
    {"faults", R"(["any:close"])"},
    {"firmware", R"("4.0.0")"},
    {"gateway", R"("10.77.0.1")"},
    {"hardware", R"("XM61")"},
    {"model", R"("M615")"},
    {"netmask", R"("255.255.0.0")"},
    {"port", "5"},
    {"protocol", R"("DHCP")"},
    {"room", R"("Lab 2")"},
    {"scene", R"("ramp")"},
    {"seed", "18446744073709551615"},
    {"serial", R"("K-7")"},
    {"size", R"("64x48")"},
    {"text", R"("silent")"},
    {"text-port", "6"},
    {"wait-exposure", "true"},
};

std::vector<std::string> keys() {
    std::vector<std::string> all;
    for (const Simulator::Setting& setting : Simulator::settingTable())
        all.emplace_back(setting.key);
    return all;
}

class EverySetting : public ::testing::TestWithParam<std::string> {};

} // namespace

TEST_P(EverySetting, IsTheSameOnTheCommandLineAndInAFile) {
    const std::string key = GetParam();
    const auto setting = std::ranges::find(Simulator::settingTable(), key, &Simulator::Setting::key);
    const std::string value = unusualValues.at(key);
    std::string given = value;
    std::erase_if(given,
                  [](char each) { return std::string_view("[]\"").find(each) != std::string_view::npos; });
    const std::string option = setting->option() + "=" + given;
    const std::string address = key == "address" ? "" : R"("address": "127.0.0.1", )";
    const auto ofFile = Simulator::parseCameraSet(
        R"({"cameras": [{)" + address + "\"" + key + "\": " + value + "}]}", "a.json");
    EXPECT_EQ(parsed({option}).camera, ofFile.at(0));
    EXPECT_NE(parsed({option}).camera, parsed({}).camera);
}

INSTANTIATE_TEST_SUITE_P(SimulateOptions, EverySetting, ::testing::ValuesIn(keys()), [](const auto& key) {
    std::string name = key.param;
    std::ranges::replace(name, '-', '_');
    return name;
});

TEST(SimulateOptions, DefaultsAreACameraOnLoopbackAtItsOwnPorts) {
    const SimulateOptions options = parsed({});
    EXPECT_EQ(options.camera.address, "127.0.0.1");
    EXPECT_EQ(options.camera.binaryTcpPort, 32769);
    EXPECT_EQ(options.camera.textTcpAndUdpPort, 32768);
    EXPECT_EQ(options.camera.settings.model, "M61");
    EXPECT_EQ(options.camera.settings.firmware, "3.2.15");
    EXPECT_EQ(options.camera.settings.scene.kind, Simulator::SceneKind::grid);
    EXPECT_FALSE(options.camera.settings.size);
    EXPECT_FALSE(options.camera.settings.waitExposure);
    EXPECT_TRUE(options.camera.settings.faults.empty());
    EXPECT_FALSE(options.runTime);
}

TEST(SimulateOptions, TakeWhatTheCommandLineSays) {
    const SimulateOptions options =
        parsed({"--address", "127.0.0.2", "--port", "0", "--text-port", "5000", "--model", "My own",
                "--firmware", "4.0.0", "--size", "64x48", "--scene", "file:a.sgi", "--seed", "77",
                "--wait-exposure", "--for", "1.5"});
    EXPECT_EQ(options.camera.address, "127.0.0.2");
    EXPECT_EQ(options.camera.binaryTcpPort, 0);
    EXPECT_EQ(options.camera.textTcpAndUdpPort, 5000);
    EXPECT_EQ(options.camera.settings.model, "My own");
    EXPECT_EQ(options.camera.settings.firmware, "4.0.0");
    EXPECT_EQ(options.camera.settings.size, (Simulator::PictureSize{64, 48}));
    EXPECT_EQ(options.camera.settings.scene, (Simulator::Scene{Simulator::SceneKind::file, "a.sgi"}));
    EXPECT_EQ(options.camera.settings.seed, 77u);
    EXPECT_TRUE(options.camera.settings.waitExposure);
    EXPECT_EQ(options.runTime, std::chrono::milliseconds(1500));
}

TEST(SimulateOptions, TakeWhatTheCameraSaysOfItself) {
    const SimulateOptions options = parsed(
        {"--room",      "Lab 2",  "--announce", "10.77.1.12",  "--serial",  "K-7",       "--api",      "2.0",
         "--hardware",  "XM61",   "--netmask",  "255.255.0.0", "--gateway", "10.77.0.1", "--protocol", "DHCP",
         "--discovery", "silent", "--text",     "refused",     "--binary",  "answered"});
    EXPECT_EQ(options.camera.settings.room, "Lab 2");
    EXPECT_EQ(options.camera.settings.announcedAddress, "10.77.1.12");
    EXPECT_EQ(options.camera.settings.serialNumber, "K-7");
    EXPECT_EQ(options.camera.settings.api, "2.0");
    EXPECT_EQ(options.camera.settings.hardware, "XM61");
    EXPECT_EQ(options.camera.settings.netMask, "255.255.0.0");
    EXPECT_EQ(options.camera.settings.gateway, "10.77.0.1");
    EXPECT_EQ(options.camera.settings.networkProtocol, "DHCP");
    EXPECT_EQ(options.camera.settings.discovery, Simulator::Service::silent);
    EXPECT_EQ(options.camera.settings.text, Simulator::Service::refused);
    EXPECT_EQ(options.camera.settings.binary, Simulator::Service::answered);
}

TEST(SimulateOptions, OneCameraIsTheOneOfTheCommandLine) {
    const auto cameras = camerasToServe(parsed({"--address", "127.0.0.2", "--room", "Lab 2"}));
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0].address, "127.0.0.2");
    EXPECT_EQ(cameras[0].settings.room, "Lab 2");
}

TEST(SimulateOptions, SetIsTheOneOfTheFileOrPartOfIt) {
    const std::string path = ::testing::TempDir() + "simulate-options-test.json";
    std::ofstream(path) << R"({"cameras": [{"address": "10.77.1.11", "room": "A", "port": 5, "text-port": 6},
                                           {"address": "10.77.1.12", "room": "B"}]})";
    const auto all = camerasToServe(parsed({"--config", path}));
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].address, "10.77.1.11");
    EXPECT_EQ(all[0].binaryTcpPort, 5);
    EXPECT_EQ(all[0].textTcpAndUdpPort, 6);
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
    ASSERT_EQ(options.camera.settings.faults.size(), 2u);
    EXPECT_EQ(options.camera.settings.faults[0].describe(), "get:checksum*1");
    EXPECT_EQ(options.camera.settings.faults[1].describe(), "take:error=7");
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

TEST(SimulateOptions, ComplainInTheWordsOfTheCommandLine) {
    const auto complaint = [](const std::string& option, const std::string& value) {
        try {
            parsed({option, value});
        } catch (const CLI::ParseError& error) {
            return std::string(error.what());
        }
        return std::string("accepted");
    };
    EXPECT_EQ(complaint("--announce", "here"), "--announce: \"here\" is no IPv4 address");
    EXPECT_EQ(complaint("--gateway", "10.0.0"), "--gateway: \"10.0.0\" is no IPv4 address");
    EXPECT_EQ(complaint("--netmask", "255.0.255.0"),
              "--netmask: \"255.0.255.0\" is no net mask such as 255.255.255.0");
    EXPECT_EQ(complaint("--protocol", "dhcp"), "--protocol: dhcp not in {static,DHCP}");
    EXPECT_EQ(complaint("--text", "dead"), "--text: \"dead\" is none of answered, silent, refused");
    EXPECT_EQ(complaint("--size", "big"), "--size: \"big\" is not WIDTHxHEIGHT, 1 to 65535 each");
    EXPECT_EQ(complaint("--port", "65536"), "Could not convert: --port = 65536");
}

TEST(SimulateOptions, HelpNamesTheModelsOfTheTable) {
    EXPECT_THAT(help(),
                ::testing::HasSubstr("The camera's model: M61 (unless given), M615, M62 or any text"));
}

TEST(SimulateOptions, HelpSaysWhereThePicturesOfASetLie) {
    EXPECT_THAT(help(),
                ::testing::HasSubstr("The picture of a scene file:PATH lies beside the configuration or "
                                     "below it, and its path starts there."));
}
