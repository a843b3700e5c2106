// Discovery by broadcast. Runs in a network namespace of its own only (`unshare -rn`), so that no query ever
// leaves this machine; anywhere else every test fails at once.

#include "Network/CameraServer.h"

#include "Conversation.h"
#include "LoopbackClient.h"

#include <gmock/gmock.h>
#include <net/if.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

constexpr std::uint16_t port = 32768;

std::set<std::string> interfaceNames() {
    std::set<std::string> names;
    struct if_nameindex* const all = if_nameindex();
    for (const struct if_nameindex* each = all; each != nullptr && each->if_index != 0; ++each)
        names.insert(each->if_name);
    if_freenameindex(all);
    return names;
}

/// An adapter with addresses on two networks, and a default route, without which 255.255.255.255 goes
/// nowhere.
bool makeNetworks() {
    return std::system("ip link set lo up && ip link add net1 type veth peer name net1peer && "
                       "ip address add 10.77.1.11/24 dev net1 && ip address add 10.77.1.12/24 dev net1 && "
                       "ip address add 10.77.2.11/24 dev net1 && "
                       "ip link set net1 up && ip link set net1peer up && ip route add default dev net1") ==
           0;
}

class BroadcastTest : public ::testing::Test {
protected:
    void SetUp() override {
        static const bool ownNamespace = interfaceNames() == std::set<std::string>{"lo"} && makeNetworks();
        ASSERT_TRUE(ownNamespace) << "run this as: unshare -rn "
                                  << "SimulatedBroadcastTest";
    }

    CameraServer& serve(const std::string& address, CameraSettings settings = smallCamera()) {
        ServerOptions options;
        options.address = address;
        options.log = [this](const std::string& line) {
            const std::lock_guard lock(mutex);
            log.push_back(line);
        };
        CameraServer& server = servers.emplace_back(std::move(settings), options);
        server.start();
        return server;
    }

    std::mutex mutex;
    std::vector<std::string> log;
    std::list<CameraServer> servers; // gone before the log is
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
    const std::string query = "AreThereAnyKorvaAround?";
    EXPECT_EQ(sendto(socket.descriptor(), query.data(), query.size(), 0,
                     reinterpret_cast<const sockaddr*>(&peer), sizeof peer),
              static_cast<ssize_t>(query.size()));

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

TEST_F(BroadcastTest, CameraHearsTheBroadcastOfItsNetwork) {
    EXPECT_THAT(serve("10.77.1.11").broadcasts(), ElementsAre("10.77.1.255", "255.255.255.255"));
    EXPECT_THAT(ask("10.77.1.255"), ElementsAre(replyFrom("10.77.1.11")));
    EXPECT_THAT(ask("10.77.1.11"), ElementsAre(replyFrom("10.77.1.11")));
}

TEST_F(BroadcastTest, CameraDoesNotHearTheBroadcastOfAnotherNetwork) {
    serve("10.77.1.11");
    EXPECT_THAT(ask("10.77.2.255"), IsEmpty());
}

TEST_F(BroadcastTest, SeveralCamerasOfOneMachineHearTheSameQuery) {
    serve("10.77.1.11");
    serve("10.77.1.12");
    serve("10.77.2.11");
    EXPECT_THAT(ask("10.77.1.255"), UnorderedElementsAre(replyFrom("10.77.1.11"), replyFrom("10.77.1.12")));
    EXPECT_THAT(ask("10.77.2.255"), ElementsAre(replyFrom("10.77.2.11")));
    EXPECT_THAT(ask("10.77.1.12"), ElementsAre(replyFrom("10.77.1.12")));
}

TEST_F(BroadcastTest, EveryCameraHearsTheBroadcastWithoutANetwork) {
    serve("10.77.1.11");
    serve("10.77.2.11");
    EXPECT_THAT(ask("255.255.255.255"),
                UnorderedElementsAre(replyFrom("10.77.1.11"), replyFrom("10.77.2.11")));
}

TEST_F(BroadcastTest, CameraOnLoopbackHearsNoBroadcast) {
    EXPECT_THAT(serve("127.0.0.1").broadcasts(), IsEmpty());
    EXPECT_THAT(ask("127.255.255.255"), IsEmpty());
    EXPECT_THAT(ask("255.255.255.255"), IsEmpty());
    EXPECT_THAT(ask("127.0.0.1"), ElementsAre(replyFrom("127.0.0.1")));
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
    const std::lock_guard lock(mutex);
    EXPECT_THAT(log,
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
