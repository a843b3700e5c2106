// `korva simulate` as its users see it.

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include "Communicator/Connector.h"
#include "Communicator/PosixEthernetCommunicator.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

using namespace Integration;

namespace {

using Names = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(ToolSimulate, SaysWhatItServesAndWhatIsAsked) {
    const TemporaryFolder folder;
    SimulatedCamera camera({"--model", "M615", "--firmware", "3.3.1", "--size", "50x40", "--scene", "ramp",
                            "--fault", "get:checksum*1"});
    EXPECT_EQ(runTool(camera.captureArguments({"--output", folder.file("a.png")})).status, 0);
    camera.process().signal(SIGINT);
    EXPECT_EQ(camera.process().wait(), 0);
    EXPECT_EQ(camera.process().errors(), "");
    const std::string& said = camera.process().output();
    for (const char* part : {"M615", "3.3.1", "50 x 40", "ramp", "get:checksum*1",
                             "configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4 -> Done",
                             "take -> Done", "get -> GetImage"})
        EXPECT_TRUE(contains(said, part)) << part << " is not in:\n" << said;
    EXPECT_TRUE(contains(said, "127.0.0.1:" + camera.port()));
}

TEST(ToolSimulate, EndsByItselfAfterTheTimeGiven) {
    const ToolResult result = runTool({"simulate", "--port", "0", "--text-port", "0", "--for", "0.1"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_TRUE(contains(result.output, "has stopped"));
}

TEST(ToolSimulate, TakenPortIsAFailureThatNamesIt) {
    const SimulatedCamera camera;
    const ToolResult result =
        runTool({"simulate", "--port", camera.port(), "--text-port", "0", "--for", "5"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, camera.port())) << result.errors;
    EXPECT_TRUE(contains(result.errors, "Address already in use")) << result.errors;
    EXPECT_TRUE(contains(result.errors, "; try: ")) << result.errors;
}

TEST(ToolSimulate, AddressOfAnotherMachineIsAFailure) {
    // Set aside for documentation: no machine has it.
    const ToolResult result = runTool({"simulate", "--address", "192.0.2.1", "--port", "0", "--for", "5"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, "192.0.2.1")) << result.errors;
}

TEST(ToolSimulate, SceneFileThatIsMissingIsAFailure) {
    const ToolResult result = runTool(
        {"simulate", "--port", "0", "--text-port", "0", "--for", "5", "--scene", "file:/no/such.png"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, "/no/such.png")) << result.errors;
}

TEST(ToolSimulate, WrongUsageEndsWithStatusTwo) {
    for (const Names& options :
         {Names{"--scene", "sunset"}, Names{"--fault", "get:gremlins"}, Names{"--fault", "checksum"},
          Names{"--size", "0x10"}, Names{"--size", "10"}, Names{"--size", "65536x1"},
          Names{"--port", "65536"}, Names{"--address", "here"}, Names{"--for", "-1"}, Names{"--seed", "x"}}) {
        Names arguments = {"simulate"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(options);
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(contains(result.errors, options[0])) << result.errors;
    }
}

TEST(ToolSimulate, ServesAPictureFileAsItIs) {
    const TemporaryFolder folder;
    // An SGI file of 3 x 1 pixels, three channels of 16 bits, every sample 64: grey 1.
    std::string file = {1, static_cast<char>(0xDA), 0, 2, 0, 3, 0, 3, 0, 1, 0, 3};
    file.resize(512, 0);
    for (int sample = 0; sample < 3 * 3; ++sample)
        file += {0, 64};
    std::ofstream(folder.file("scene.sgi"), std::ios::binary) << file;
    const SimulatedCamera camera({"--size", "3x1", "--scene", "file:" + folder.file("scene.sgi")});
    EXPECT_EQ(runTool(camera.captureArguments({"--output", folder.file("a.png")})).status, 0);
    const GreyPicture picture = readGreyPng(folder.file("a.png"));
    EXPECT_EQ(picture.width, 3u);
    EXPECT_EQ(picture.height, 1u);
    EXPECT_EQ(picture.pixels, (std::vector<unsigned char>{1, 1, 1}));
}

TEST(ToolSimulate, WaitsTheExposureWhenToldTo) {
    const TemporaryFolder folder;
    const SimulatedCamera camera({"--size", "20x10", "--wait-exposure"});
    const auto start = std::chrono::steady_clock::now();
    const ToolResult result =
        runTool(camera.captureArguments({"--exposure", "0.8", "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(800));
}

TEST(ToolSimulate, ServesASetOfCamerasFromAFile) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set.json")) << R"({"cameras": [
        {"address": "127.0.0.31", "port": 0, "text-port": 0, "room": "Lab 2\u001b[2J", "model": "M615",
         "announce": "10.77.1.11", "faults": ["version:missing-key=--SW*1"]},
        {"address": "127.0.0.32", "port": 0, "text-port": 0, "serial": "K-7", "text": "refused",
         "discovery": "silent"}]})";
    ChildProcess process(toolCommand({"simulate", "--config", folder.file("set.json"), "--for", "60"}));
    ASSERT_TRUE(process.waitForOutput("  discovery on UDP 127.0.0.32:")) << process.errors();
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(), 0);
    for (const char* part :
         {"room Lab 2\\x1b[2J, announced as 10.77.1.11, serial 1234, hardware M615, API 1.4\n",
          "static, net mask 255.255.255.0, gateway 0.0.0.0\n", "  text language on TCP 127.0.0.31:",
          "  fault: version:missing-key=--SW*1\n", "  room Lab, serial K-7",
          "  text language on TCP refused\n", " (silent)\n", "The simulated cameras have stopped."})
        EXPECT_TRUE(contains(process.output(), part)) << part << " is not in:\n" << process.output();
}

TEST(ToolSimulate, SetThatCannotBeReadIsAFailureThatSaysWhy) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set.json")) << R"({"cameras": [{"address": "127.0.0.31", "romo": "A"}]})";
    const ToolResult result = runTool({"simulate", "--config", folder.file("set.json"), "--for", "5"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, "set.json, camera 1: there is no key \"romo\"")) << result.errors;
    EXPECT_EQ(runTool({"simulate", "--config", "/no/such.json"}).status, 1);
    EXPECT_EQ(runTool({"simulate", "--config", folder.file("set.json"), "--model", "M61"}).status, 2);
}

TEST(ToolSimulate, TellsOfTextQueriesWithTheirControlCharactersEscaped) {
    SimulatedCamera camera;
    const std::string sign = "text language on TCP 127.0.0.1:";
    const std::string& said = camera.process().output();
    const std::size_t begin = said.find(sign) + sign.size();
    PosixEthernetCommunicator client(L"127.0.0.1", std::stoi(said.substr(begin)), -1);
    const Connector connector(client);
    const std::string query = "[SerialNumber \x07 --Camera]";
    client.writeBytes(query.data(), static_cast<unsigned>(query.size()), true, 1);
    EXPECT_TRUE(camera.process().waitForOutput(
        "(text) [SerialNumber \\x07 --Camera] -> [SerialNumber --Camera 1234]\n"));
}

TEST(ToolUsage, NamesAWordThatIsNoCommand) {
    const ToolResult result = runTool({"frobnicate"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find("not expected: frobnicate"), std::string::npos) << result.errors;
}
