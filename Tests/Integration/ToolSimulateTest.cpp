// `korva simulate` as its users see it.

#include "ToolRun.h"

#include "Communicator/Connector.h"
#include "Communicator/PosixEthernetCommunicator.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>

using namespace Integration;
using testing::_;

namespace {

/// A simulator of five seconds at ports the system chose, unless `arguments` say otherwise.
ProcessResult simulate(Names arguments) {
    arguments.insert(arguments.begin(), {"simulate", "--for", "5"});
    return runTool(arguments);
}

} // namespace

TEST(ToolSimulate, SaysWhatItServesAndWhatIsAsked) {
    SimulatedCamera camera({"--model", "M615", "--firmware", "3.3.1", "--size", "50x40", "--scene", "ramp",
                            "--fault", "get:checksum*1"});
    EXPECT_EQ(camera.capture().status, 0);
    EXPECT_THAT(camera.stop(), has({"M615", "3.3.1", "50 x 40", "ramp", "get:checksum*1",
                                    "configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4 -> Done",
                                    "take -> Done", "get -> GetImage", camera.place()}));
}

TEST(ToolSimulate, EndsByItselfAfterTheTimeGiven) {
    EXPECT_THAT(runTool({"simulate", "--port", "0", "--text-port", "0", "--for", "0.1"}),
                ended(0, has({"has stopped"}), ""));
}

TEST(ToolSimulate, WhatCannotBeServedIsAFailureThatNamesIt) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set.json")) << R"({"cameras": [{"address": "127.0.0.31", "romo": "A"}]})";
    const SimulatedCamera camera;
    EXPECT_THAT(simulate({"--port", camera.port(), "--text-port", "0"}),
                failed({camera.port(), "Address already in use", "; try: "}));
    // Set aside for documentation: no machine has it.
    EXPECT_THAT(simulate({"--port", "0", "--address", "192.0.2.1"}), failed({"192.0.2.1"}));
    EXPECT_THAT(simulate({"--port", "0", "--text-port", "0", "--scene", "file:/no/such.png"}),
                failed({"/no/such.png"}));
    EXPECT_THAT(simulate({"--config", folder.file("set.json")}),
                failed({"set.json, camera 1: there is no key \"romo\""}));
    EXPECT_THAT(simulate({"--config", "/no/such.json"}), failed({"/no/such.json"}));
    EXPECT_THAT(simulate({"--config", folder.file("set.json"), "--model", "M61"}), ended(2, "", _));
}

TEST(ToolSimulate, WaitsTheExposureWhenToldTo) {
    const SimulatedCamera camera({"--size", "20x10", "--wait-exposure"});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(camera.capture({"--exposure", "0.8"}).status, 0);
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
    EXPECT_THAT(
        process.result(),
        ended(0,
              has({"room Lab 2\\x1b[2J, announced as 10.77.1.11, serial 1234, hardware M615, API 1.4\n",
                   "static, net mask 255.255.255.0, gateway 0.0.0.0\n", "  text language on TCP 127.0.0.31:",
                   "  fault: version:missing-key=--SW*1\n", "  room Lab, serial K-7",
                   "  text language on TCP refused\n", " (silent)\n", "The simulated cameras have stopped."}),
              ""));
}

TEST(ToolSimulate, TellsOfTextQueriesWithTheirControlCharactersEscaped) {
    SimulatedCamera camera;
    PosixEthernetCommunicator client(L"127.0.0.1", std::stoi(camera.textPort()), -1);
    const Connector connector(client);
    const std::string query = "[SerialNumber \x07 --Camera]";
    client.writeBytes(query.data(), static_cast<unsigned>(query.size()), true, 1);
    EXPECT_TRUE(camera.process().waitForOutput(
        "(text) [SerialNumber \\x07 --Camera] -> [SerialNumber --Camera 1234]\n"));
}
