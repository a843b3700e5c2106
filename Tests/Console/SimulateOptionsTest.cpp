#include "Console/SimulateOptions.h"

#include "Camera/CameraSet.h"
#include "Camera/SettingTable.h"
#include "Parsed.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <map>
#include <string_view>

using Console::addSimulateOptions;
using ConsoleTests::expectRefusal;
using ConsoleTests::parsed;
using Simulator::pictureSizeFromText;

namespace {

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
    {"room", R"("Lab-2")"},
    {"scene", R"("ramp")"},
    {"seed", "18446744073709551615"},
    {"serial", R"("K-7")"},
    {"size", R"("64x48")"},
    {"text", R"("silent")"},
    {"text-port", "6"},
    {"wait-exposure", "true"},
};

Simulator::CameraEntry ofFile(const std::string& camera) {
    return Simulator::parseCameraSet(R"({"cameras": [{)" + camera + "}]}", "a.json").at(0);
}

/// The option of a setting, with that value.
std::string optionOf(const Simulator::Setting& setting) {
    std::string value = unusualValues.at(setting.key);
    std::erase_if(value, [](char each) { return each == '[' || each == ']' || each == '"'; });
    return setting.option() + "=" + value;
}

} // namespace

TEST(SimulateOptions, AreTheSameOnTheCommandLineAndInAFile) {
    for (const Simulator::Setting& setting : Simulator::settingTable()) {
        const std::string key(setting.key);
        const std::string address = key == "address" ? "" : R"("address": "127.0.0.1", )";
        const auto camera = parsed(addSimulateOptions, optionOf(setting)).camera;
        EXPECT_EQ(camera, ofFile(address + "\"" + key + "\": " + unusualValues.at(key))) << key;
        EXPECT_NE(camera, parsed(addSimulateOptions, "").camera) << key;
    }
}

TEST(SimulateOptions, DefaultsAreACameraOnLoopbackAtItsOwnPorts) {
    EXPECT_EQ(parsed(addSimulateOptions, "").camera, ofFile(R"("address": "127.0.0.1")"));
    EXPECT_FALSE(parsed(addSimulateOptions, "").runTime);
}

TEST(SimulateOptions, EndAfterATime) {
    EXPECT_EQ(parsed(addSimulateOptions, "--for 1.5").runTime, std::chrono::milliseconds(1500));
}

TEST(SimulateOptions, OneCameraIsTheOneOfTheCommandLine) {
    const auto options = parsed(addSimulateOptions, "--address 127.0.0.2 --room Lab");
    EXPECT_EQ(camerasToServe(options), std::vector{options.camera});
}

TEST(SimulateOptions, SetIsTheOneOfTheFileOrPartOfIt) {
    const TestSupport::TemporaryFolder folder;
    const std::string config = "--config " + folder.file("set.json");
    const std::string first = R"("address": "10.77.1.11", "room": "A", "port": 5, "text-port": 6)";
    const std::string second = R"("address": "10.77.1.12", "room": "B")";
    std::ofstream(folder.file("set.json")) << R"({"cameras": [{)" << first << "}, {" << second << "}]}";
    const auto served = [&config](const std::string& which) {
        return camerasToServe(parsed(addSimulateOptions, config + which));
    };
    EXPECT_EQ(served(""), (std::vector{ofFile(first), ofFile(second)}));
    EXPECT_EQ(served(" --camera 2"), std::vector{ofFile(second)});
    EXPECT_EQ(served(" --only 10.77.1.11"), std::vector{ofFile(first)});
    for (const char* none : {" --camera 0", " --camera 3", " --only 10.77.1.13"})
        EXPECT_THROW(served(none), Simulator::CameraSetError) << none;
}

TEST(SimulateOptions, SetGoesWithNoOptionOfOneCamera) {
    for (const Simulator::Setting& setting : Simulator::settingTable())
        expectRefusal(addSimulateOptions, {"--config a.json " + optionOf(setting)});
    expectRefusal(addSimulateOptions, {"--camera 1", "--only 10.0.0.1"});
    EXPECT_EQ(parsed(addSimulateOptions, "--config a.json --for 1").configFile, "a.json");
}

TEST(SimulateOptions, FaultsAreKeptInTheirOrder) {
    const auto faults =
        parsed(addSimulateOptions, "--fault get:checksum*1 --fault take:error=7").camera.settings.faults;
    ASSERT_EQ(faults.size(), 2u);
    EXPECT_EQ(faults[0].describe(), "get:checksum*1");
    EXPECT_EQ(faults[1].describe(), "take:error=7");
}

TEST(SimulateOptions, SizeIsTwoSidesFromOneTo65535) {
    EXPECT_EQ(pictureSizeFromText("1x1"), (Simulator::PictureSize{1, 1}));
    EXPECT_EQ(pictureSizeFromText("65535x2"), (Simulator::PictureSize{65535, 2}));
    for (const char* text : {"", "x", "1x", "x1", "0x1", "1x0", "65536x1", "1x65536", "-1x1", "1X1", "1x1x1",
                             "1 x 1", "99999999999x1"})
        EXPECT_EQ(pictureSizeFromText(text), std::nullopt) << text;
}

TEST(SimulateOptions, RefuseWrongUsageInTheWordsOfTheCommandLine) {
    expectRefusal(addSimulateOptions,
                  {"--scene sunset", "--fault get:gremlins", "--fault checksum", "--port -1",
                   "--address 300.0.0.1", "--for -1", "--for nan", "--seed x", "something"});
    for (const auto& [line, complaint] : {
             std::pair{"--announce here", "--announce: \"here\" is no IPv4 address"},
             {"--gateway 10.0.0", "--gateway: \"10.0.0\" is no IPv4 address"},
             {"--netmask 255.0.255.0", "--netmask: \"255.0.255.0\" is no net mask such as 255.255.255.0"},
             {"--protocol dhcp", "--protocol: dhcp not in {static,DHCP}"},
             {"--text dead", "--text: \"dead\" is none of answered, silent, refused"},
             {"--size big", "--size: \"big\" is not WIDTHxHEIGHT, 1 to 65535 each"},
             {"--port 65536", "Could not convert: --port = 65536"},
         })
        EXPECT_EQ(ConsoleTests::complaintOf(addSimulateOptions, line), complaint);
}

TEST(SimulateOptions, HelpNamesTheModelsAndSaysWhereThePicturesOfASetLie) {
    CLI::App app;
    Console::SimulateOptions options;
    addSimulateOptions(app, options);
    EXPECT_THAT(app.help(), ::testing::HasSubstr("The camera's model: M61 (unless given), M615, M62 or any"
                                                 " text"));
    EXPECT_THAT(app.help(), ::testing::HasSubstr("The picture of a scene file:PATH lies beside the "
                                                 "configuration or below it, and its path starts there."));
}
