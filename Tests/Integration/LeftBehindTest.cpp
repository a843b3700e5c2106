// Ctrl-C leaves a thread of a capture behind: whatever that does yet, all that it uses is still there.

#include "Network/Socket.h"
#include "ServedSet.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <thread>

using namespace Integration;
using namespace std::chrono_literals;
using testing::_;
using testing::EndsWith;

namespace {

/// In the place of a camera's port for pictures: it lets nobody in until it is asked to.
class HoldingPort {
public:
    explicit HoldingPort(const std::string& address) : listener_(Simulator::listenTcp(address, port)) {
        sockaddr_in here{};
        socklen_t size = sizeof here;
        getsockname(descriptor(), reinterpret_cast<sockaddr*>(&here), &size);
        address_ = ntohl(here.sin_addr.s_addr);
        listen(descriptor(), 0);
        // Who takes the one place that there is for those who wait.
        EXPECT_EQ(connect(first_.descriptor(), reinterpret_cast<const sockaddr*>(&here), size), 0);
    }

    /// Returns once somebody else waits to be let in, after 20 s with a failure.
    void awaitAnother() const {
        std::array<char, 32> sign{}; // of the other end, in the kernel's list of connections
        std::snprintf(sign.data(), sign.size(), "%02X%02X%02X%02X:%04X 02 ", address_ & 255,
                      address_ >> 8 & 255, address_ >> 16 & 255, address_ >> 24, port);
        for (const auto end = Clock::now() + 20s; Clock::now() < end;) {
            std::ostringstream connections;
            connections << std::ifstream("/proc/net/tcp").rdbuf();
            if (connections.str().find(sign.data()) != std::string::npos)
                return;
            std::this_thread::sleep_for(20ms); // nothing wakes who reads that list
        }
        ADD_FAILURE() << "nobody came";
    }

    /// Lets in whoever waits, and returns once the last of them has gone again, after 20 s with a failure.
    void letInAndAwaitTheirEnd() {
        EXPECT_TRUE(next(descriptor()));
        Simulator::acceptClient(listener_); // the first
        EXPECT_TRUE(next(descriptor()));
        const auto [other, name] = Simulator::acceptClient(listener_);
        std::array<char, 4096> buffer{};
        while (next(other.descriptor()))
            if (recv(other.descriptor(), buffer.data(), buffer.size(), 0) <= 0)
                return;
        ADD_FAILURE() << name << " stays";
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::uint16_t port = 32769;

    /// Whether something comes within 20 s.
    static bool next(int from) {
        pollfd waiting{from, POLLIN, 0};
        return poll(&waiting, 1, 20'000) == 1;
    }

    int descriptor() const { return listener_.descriptor(); }

    Simulator::Socket listener_;
    Simulator::Socket first_{socket(AF_INET, SOCK_STREAM, 0)};
    std::uint32_t address_ = 0;
};

/// Its port for pictures is played by somebody else.
const nlohmann::json elsewhere = {{"port", 0}, {"hardware", "M61"}};

/// The command with a standard output that takes nothing until it is read.
Names behindAFullPipe(const Names& command) {
    return joined({"/bin/bash", "-c", "head -c 65536 /dev/zero; exec \"$0\" \"$@\""}, command);
}

class AThreadThatWasLeftBehind : public testing::Test {
protected:
    /// Interrupts a capture of both cameras whose second one lets nobody in, and lets the thread go on that
    /// was left behind, before the capture can say its last words.
    ProcessResult interrupted(
        const Names& more, const std::function<void()>& meanwhile = [] {}) {
        HoldingPort port(set.addresses[1]);
        ChildProcess capture(behindAFullPipe(toolCommand(set.captureArguments(joined({"--json"}, more)))));
        port.awaitAnother();
        meanwhile();
        capture.signal(SIGINT);
        EXPECT_TRUE(capture.waitForItsWaitForAReader()); // the thread has been left behind then
        port.letInAndAwaitTheirEnd();
        return capture.result();
    }

    const ServedSet set{Cameras{plain, elsewhere}};
};

} // namespace

TEST_F(AThreadThatWasLeftBehind, FindsTheRunAndItsReport) {
    const ProcessResult result = interrupted({});
    EXPECT_THAT(result, ended(130, testing::HasSubstr("\"error\":{\"code\":\"interrupted\""),
                              "korva: interrupted\n"));
}

TEST_F(AThreadThatWasLeftBehind, FindsThemAlsoWhereTheSheetCannotBeWritten) {
    const std::string folder = set.own.file("sheets");
    std::filesystem::create_directory(folder);
    const ProcessResult result = interrupted({"--contact-sheet", folder + "/sheet.png"}, [&] {
        for (int look = 0; look < 400 && set.pictures.names().empty(); ++look)
            std::this_thread::sleep_for(50ms); // nothing tells that the picture is there
        std::filesystem::remove(folder);
    });
    EXPECT_THAT(result, ended(4, testing::HasSubstr("\"code\":\"file-failed\""),
                              testing::AllOf(lines(1), has({"cannot write ", "sheet.png"}))));
}
