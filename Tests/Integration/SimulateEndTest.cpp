// Ctrl-C ends `korva simulate` within half a second, whatever it is doing.

#include "Simulator/LoopbackClient.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <list>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace Integration;
using Simulator::Testing::LoopbackClient;

namespace {

using Clock = std::chrono::steady_clock;
using Names = std::vector<std::string>;
using Simulator::Bytes;

constexpr std::chrono::milliseconds promised{500};

const Bytes probeRequest = {1, 0, 0, 0, 0x0E, 1, 4, 0, 0, 0, 1, 0, 0, 0x15};
const Bytes takeRequest = {1, 0, 0, 0, 0x0D, 1, 5, 0, 0, 0, 0, 0, 0x14};
const Bytes getRequest = {1, 0, 0, 0, 0x0D, 1, 6, 0, 0, 0, 0, 0, 0x15};

/// Exposure 10 s, mode 2, in this format.
Bytes configureRequest(std::uint8_t format) {
    Bytes request = {1, 0, 0, 0, 0x27, 5, 2, 0, 0, 0, 2,    0, 0x64, 3, 0, 0, 0, 1, 2, 4,
                     0, 0, 0, 1, 0,    7, 0, 0, 0, 1, 0x10, 8, 0,    0, 0, 1, 4, 0, 0};
    request[24] = format;
    request.back() = static_cast<std::uint8_t>(0xC5 + format);
    return request;
}

Bytes several(const Bytes& request, int count) {
    Bytes all;
    while (count-- > 0)
        all.insert(all.end(), request.begin(), request.end());
    return all;
}

Bytes captureRequests(std::uint8_t format) {
    Bytes all = configureRequest(format);
    for (const Bytes& each : {takeRequest, getRequest})
        all.insert(all.end(), each.begin(), each.end());
    return all;
}

std::uint16_t portOf(const std::string& text) {
    return static_cast<std::uint16_t>(std::stoi(text));
}

const std::string portSign = "binary protocol on TCP 127.0.0.1:";

/// The port that stands behind the sign at `at`.
std::uint16_t portBehind(const std::string& greeting, std::size_t at) {
    return portOf(greeting.substr(at + portSign.size()));
}

void expectPromptEnd(ChildProcess& process, int signal = SIGINT) {
    const auto start = Clock::now();
    process.signal(signal);
    EXPECT_EQ(process.wait(), 0);
    EXPECT_LT(Clock::now() - start, promised);
}

struct Busy {
    std::string name;
    Names options;
    Bytes requests;
    std::string sign; ///< what it says once it is busy
};

void PrintTo(const Busy& busy, std::ostream* out) {
    *out << busy.name;
}

class ASimulator : public ::testing::TestWithParam<Busy> {};

} // namespace

TEST_P(ASimulator, EndsPromptlyAtCtrlC) {
    SimulatedCamera camera(GetParam().options);
    const LoopbackClient client(portOf(camera.port()));
    client.giveUpSendingAfter(200);
    client.send(GetParam().requests);
    EXPECT_TRUE(camera.process().waitForOutput(GetParam().sign));
    expectPromptEnd(camera.process());
}

INSTANTIATE_TEST_SUITE_P(
    ThatIs, ASimulator,
    ::testing::Values(Busy{"RenderingAnSgiFile", {"--size", "8192x8192"}, captureRequests(1), "take -> Done"},
                      Busy{"RenderingAPngFile", {"--size", "8192x8192"}, captureRequests(2), "take -> Done"},
                      Busy{"SendingWithoutEnd",
                           {"--size", "20x10", "--fault", "probe:endless"},
                           probeRequest,
                           "fault probe:endless"},
                      Busy{"SendingByteByByte",
                           {"--size", "1000x1000", "--scene", "noise", "--fault", "get:drip=1/0"},
                           captureRequests(1),
                           "fault get:drip"},
                      Busy{"FloodedWithRequests",
                           {"--size", "20x10"},
                           several(probeRequest, 100'000),
                           "probe: format 0 -> Done"}),
    [](const auto& each) { return each.param.name; });

TEST(ASetOfSimulators, EndsPromptlyWhileAllOfThemRender) {
    const TemporaryFolder folder;
    std::ofstream file(folder.file("set.json"));
    constexpr std::size_t cameras = 48;
    for (std::size_t number = 1; number <= cameras; ++number)
        file << (number == 1 ? R"({"cameras": [)" : ", ")
             << R"({"address": "127.0.0.1", "port": 0, "text-port": 0, "model": "M62"})";
    file << "]}";
    file.close();
    ChildProcess process(toolCommand({"simulate", "--config", folder.file("set.json")}));
    ASSERT_TRUE(process.waitForOutput("Ctrl-C ends it.")) << process.errors();
    std::list<LoopbackClient> clients;
    for (std::size_t at = process.output().find(portSign); at != std::string::npos;
         at = process.output().find(portSign, at + 1))
        clients.emplace_back(portBehind(process.output(), at)).send(captureRequests(1));
    EXPECT_EQ(clients.size(), cameras);
    EXPECT_TRUE(process.waitForOutput("take -> Done"));
    expectPromptEnd(process, SIGTERM);
}

TEST(ASimulatorWithoutDescriptors, EndsPromptly) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "An instrumented build needs descriptors itself, to check the types of objects.";
    ChildProcess process({"/bin/sh", "-c", "ulimit -n 12; exec \"$0\" \"$@\"", KORVA_TOOL, "simulate",
                          "--port", "0", "--text-port", "0", "--for", "60"});
    ASSERT_TRUE(process.waitForOutput("Take a picture with: ")) << process.errors();
    const std::uint16_t port = portBehind(process.output(), process.output().find(portSign));
    std::list<LoopbackClient> clients;
    for (int count = 0; count < 12; ++count)
        clients.emplace_back(port);
    EXPECT_TRUE(process.waitForOutput("a client waits: Too many open files"));
    expectPromptEnd(process);
}

TEST(ASimulatorToWhomNobodyListens, EndsPromptly) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.file("said").c_str(), 0600), 0);
    // For reading and writing, so that neither end waits for the other to be opened.
    const Simulator::Socket said(open(folder.file("said").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(said.isOpen());
    ChildProcess process({"/bin/sh", "-c", "exec \"$0\" \"$@\" >'" + folder.file("said") + "'", KORVA_TOOL,
                          "simulate", "--port", "0", "--text-port", "0", "--size", "20x10", "--for", "60"});
    std::string greeting;
    while (greeting.find("Take a picture with: ") == std::string::npos) {
        pollfd readable{said.descriptor(), POLLIN, 0};
        ASSERT_EQ(poll(&readable, 1, 10'000), 1);
        std::string part(4096, '\0');
        part.resize(static_cast<std::size_t>(read(said.descriptor(), part.data(), part.size())));
        greeting += part;
    }
    const LoopbackClient client(portBehind(greeting, greeting.find(portSign)));
    client.giveUpSendingAfter(300);
    const Bytes flood = several(probeRequest, 2'000'000);
    ASSERT_LT(client.send(flood), flood.size());
    expectPromptEnd(process);
}
