// Ctrl-C ends `korva simulate` within half a second, whatever it is doing.

#include "Simulator/Conversation.h"
#include "Simulator/LoopbackClient.h"
#include "ToolRun.h"

#include <csignal>
#include <fstream>
#include <list>
#include <string>
#include <vector>

using namespace Integration;
using namespace Simulator::Testing;
using Simulator::Bytes;

namespace {

constexpr int sgi = 1;
constexpr int png = 2;

Bytes captureRequests(int format) {
    return joined({configureWith(100, 2, format), takeRequest, getRequest});
}

/// The ports of the binary protocol that a greeting names.
std::vector<std::uint16_t> portsIn(const std::string& greeting) {
    const std::string sign = "binary protocol on TCP 127.0.0.1:";
    std::vector<std::uint16_t> ports;
    for (std::size_t at = greeting.find(sign); at != std::string::npos; at = greeting.find(sign, at + 1))
        ports.push_back(static_cast<std::uint16_t>(std::stoi(greeting.substr(at + sign.size()))));
    return ports;
}

void expectPromptEnd(ChildProcess& process, int signal = SIGINT) {
    EXPECT_EQ(process.endBy(signal, promptly).status, 0);
}

/// A simulator of small pictures, begun by a shell's command.
Names simulatorBy(const std::string& command) {
    return {"/bin/bash",   "-c", command,  KORVA_TOOL, "simulate", "--port", "0",
            "--text-port", "0",  "--size", "20x10",    "--for",    "60"};
}

} // namespace

TEST(ASimulator, EndsPromptlyAtCtrlCWhateverItIsAskedFor) {
    struct Busy {
        const char* sign; ///< what it says once it is busy
        Names options;
        Bytes requests;
    };
    for (const auto& [sign, options, requests] :
         {Busy{"take -> Done", {"--size", "8192x8192"}, captureRequests(sgi)},
          {"take -> Done", {"--size", "8192x8192"}, captureRequests(png)},
          {"fault probe:endless", {"--fault", "probe:endless"}, probeRequest},
          {"fault get:drip",
           {"--size", "1000x1000", "--scene", "noise", "--fault", "get:drip=1/0"},
           captureRequests(sgi)},
          {"probe: format 0 -> Done", {}, repeated(probeRequest, 100'000)}}) {
        SCOPED_TRACE(testing::PrintToString(options));
        SimulatedCamera camera(options);
        const LoopbackClient client(portsIn(camera.process.output()).at(0));
        client.giveUpSendingAfter(200);
        client.send(requests);
        EXPECT_TRUE(camera.process.waitForOutput(sign));
        expectPromptEnd(camera.process);
    }
}

TEST(ASetOfSimulators, EndsPromptlyWhileAllOfThemRender) {
    const TemporaryFolder folder;
    constexpr std::size_t cameras = 48;
    std::string set;
    for (std::size_t number = 1; number <= cameras; ++number)
        set += std::string(set.empty() ? "" : ", ") +
               R"({"address": "127.0.0.1", "port": 0, "text-port": 0, "model": "M62"})";
    std::ofstream(folder.file("set.json")) << R"({"cameras": [)" << set << "]}";
    ChildProcess process(toolCommand({"simulate", "--config", folder.file("set.json")}));
    ASSERT_TRUE(process.waitForOutput("Ctrl-C ends it.")) << process.errors();
    std::list<LoopbackClient> clients;
    for (const std::uint16_t port : portsIn(process.output()))
        clients.emplace_back(port).send(captureRequests(sgi));
    EXPECT_EQ(clients.size(), cameras);
    EXPECT_TRUE(process.waitForOutput("take -> Done"));
    expectPromptEnd(process, SIGTERM);
}

TEST(ASimulatorWithoutDescriptors, EndsPromptly) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "An instrumented build needs descriptors itself, to check the types of objects.";
    ChildProcess process(simulatorBy("ulimit -n 12; exec \"$0\" \"$@\""));
    ASSERT_TRUE(process.waitForOutput("Take a picture with: ")) << process.errors();
    std::list<LoopbackClient> clients;
    for (int count = 0; count < 12; ++count)
        clients.emplace_back(portsIn(process.output()).at(0));
    EXPECT_TRUE(process.waitForOutput("a client waits: Too many open files"));
    expectPromptEnd(process);
}

TEST(ASimulatorToWhomNobodyListens, EndsPromptly) {
    // The reader leaves the pipe open and full until the simulator has gone.
    ChildProcess process(simulatorBy(
        "exec \"$0\" \"$@\" > >(sed '/Take a picture/q'; exec tail --pid=$$ -f /dev/null >/dev/null 2>&1)"));
    ASSERT_TRUE(process.waitForOutput("Take a picture with: ")) << process.errors();
    const LoopbackClient client(portsIn(process.output()).at(0));
    client.giveUpSendingAfter(300);
    const Bytes flood = repeated(probeRequest, 2'000'000);
    ASSERT_LT(client.send(flood), flood.size());
    expectPromptEnd(process);
}
