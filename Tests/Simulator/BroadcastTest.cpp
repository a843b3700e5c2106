// Discovery by broadcast, in networks of the test's own.

#include "Network/CameraServer.h"

#include "Camera/TextLanguage.h"
#include "Conversation.h"
#include "Events.h"
#include "Support/NetworkNamespace.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <list>

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

namespace {

constexpr std::uint16_t port = 32768;

class BroadcastTest : public ::testing::Test {
protected:
    /// An adapter with addresses on two networks, and a default route, without which 255.255.255.255 goes
    /// nowhere.
    BroadcastTest() {
        machine.run("ip link set lo up; ip link add net1 type veth peer name net1peer;"
                    "ip address add 10.77.1.11/24 dev net1; ip address add 10.77.1.12/24 dev net1;"
                    "ip address add 10.77.2.11/24 dev net1;"
                    "ip link set net1 up; ip link set net1peer up; ip route add default dev net1");
    }

    CameraServer& serve(const std::string& address, CameraSettings settings = smallCamera()) {
        ServerOptions options;
        options.address = address;
        options.log = events.log();
        CameraServer& server = servers.emplace_back(std::move(settings), options);
        server.start();
        return server;
    }

    const TestSupport::NetworkNamespace machine;
    Events events;
    std::list<CameraServer> servers;
};

/// The replies to a query sent to `address` until none has come for 200 ms, and who sent them.
std::vector<std::pair<std::string, std::string>> ask(const char* address) {
    const Socket socket(::socket(AF_INET, SOCK_DGRAM, 0));
    const int on = 1;
    setsockopt(socket.descriptor(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    const timeval patience{0, 200'000};
    setsockopt(socket.descriptor(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    inet_pton(AF_INET, address, &peer.sin_addr);
    EXPECT_EQ(sendto(socket.descriptor(), discoveryQuery.data(), discoveryQuery.size(), 0,
                     reinterpret_cast<const sockaddr*>(&peer), sizeof peer),
              static_cast<ssize_t>(discoveryQuery.size()));

    std::vector<std::pair<std::string, std::string>> replies;
    while (true) {
        std::array<char, 2048> text{};
        std::array<char, INET_ADDRSTRLEN> sender{};
        socklen_t size = sizeof peer;
        const ssize_t count = recvfrom(socket.descriptor(), text.data(), text.size(), 0,
                                       reinterpret_cast<sockaddr*>(&peer), &size);
        if (count < 0)
            return replies;
        inet_ntop(AF_INET, &peer.sin_addr, sender.data(), sender.size());
        replies.emplace_back(sender.data(), std::string(text.data(), static_cast<std::size_t>(count)));
    }
}

std::pair<std::string, std::string> replyFrom(const std::string& address) {
    return {address, "[Korva --Room Lab --IP " + address + " --NetMask 255.255.255.0]"};
}

} // namespace

TEST_F(BroadcastTest, IsHeardByTheCamerasOfItsNetwork) {
    const std::vector<std::string> one{"10.77.1.11"};
    const std::vector<std::string> three{"10.77.1.11", "10.77.1.12", "10.77.2.11"};
    const std::vector<std::string> loopback{"127.0.0.1"};
    struct Row {
        std::vector<std::string> cameras;
        const char* asked;
        std::vector<std::string> answer;
    };
    for (const auto& [cameras, asked, answer] : {
             Row{one, "10.77.1.255", one},
             Row{one, "10.77.1.11", one},
             Row{one, "10.77.2.255", {}},
             Row{three, "10.77.1.255", {"10.77.1.11", "10.77.1.12"}},
             Row{three, "10.77.2.255", {"10.77.2.11"}},
             Row{three, "10.77.1.12", {"10.77.1.12"}},
             Row{three, "255.255.255.255", three},
             Row{loopback, "127.255.255.255", {}},
             Row{loopback, "255.255.255.255", {}},
             Row{loopback, "127.0.0.1", loopback},
         }) {
        SCOPED_TRACE(cameras.back() + " asked by " + asked);
        servers.clear();
        for (const std::string& address : cameras)
            serve(address);
        std::vector<std::pair<std::string, std::string>> replies;
        for (const std::string& address : answer)
            replies.push_back(replyFrom(address));
        EXPECT_THAT(ask(asked), UnorderedElementsAreArray(replies));
    }
}

TEST_F(BroadcastTest, HasItsOwnSocketsUnlessOnLoopback) {
    EXPECT_THAT(serve("10.77.1.11").broadcasts(), ElementsAre("10.77.1.255", "255.255.255.255"));
    EXPECT_THAT(serve("127.0.0.1").broadcasts(), IsEmpty());
}

TEST_F(BroadcastTest, SilentAndRefusingCamerasDoNotAnswer) {
    CameraSettings settings = smallCamera();
    settings.discovery = Service::silent;
    serve("10.77.1.11", settings);
    settings.discovery = Service::refused;
    EXPECT_THAT(serve("10.77.1.12", settings).broadcasts(), IsEmpty());
    EXPECT_THAT(ask("10.77.1.255"), IsEmpty());
}

TEST_F(BroadcastTest, SaysThatTheNetMaskIsNotThatOfTheAddress) {
    CameraSettings settings = smallCamera();
    settings.netMask = "255.255.0.0";
    EXPECT_THAT(serve("10.77.1.11", settings).broadcasts(), ElementsAre("255.255.255.255"));
    EXPECT_THAT(events.lines(),
                ElementsAre("hears no queries to everybody: Cannot serve UDP port 32768 of 10.77.255.255: "
                            "Cannot assign requested address"));
}

TEST_F(BroadcastTest, CameraOnEveryAddressAnnouncesTheOneThatWasAsked) {
    EXPECT_THAT(serve("0.0.0.0").broadcasts(), IsEmpty()); // needs no further sockets
    const auto announced = [](const char* asked) {
        const auto replies = ask(asked);
        return replies.size() == 1 ? replies[0].second : "not one reply";
    };
    EXPECT_EQ(announced("10.77.1.12"), replyFrom("10.77.1.12").second);
    EXPECT_EQ(announced("10.77.2.11"), replyFrom("10.77.2.11").second);
    EXPECT_EQ(announced("127.0.0.1"), replyFrom("127.0.0.1").second);
    EXPECT_EQ(announced("10.77.1.255"), replyFrom("10.77.1.11").second);
}

TEST_F(BroadcastTest, CameraOnEveryAddressAnnouncesWhatItWasTold) {
    CameraSettings settings = smallCamera();
    settings.announcedAddress = "10.77.1.11";
    serve("0.0.0.0", settings);
    const auto replies = ask("10.77.2.255");
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_EQ(replies[0].second, replyFrom("10.77.1.11").second);
}

} // namespace Simulator
