// Discovery by broadcast, in networks of the test's own.

#include "Network/CameraServer.h"

#include "Camera/Ipv4.h"
#include "Camera/TextLanguage.h"
#include "Conversation.h"
#include "Events.h"
#include "Support/NetworkNamespace.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <list>
#include <tuple>

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

namespace {

using Texts = std::vector<std::string>;

struct BroadcastTest : ::testing::Test {
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

/// The replies to a query sent to `address` until none has come for 200 ms, each behind its sender.
Texts ask(const char* address) {
    const Socket socket = bindUdp("0.0.0.0", 0);
    switchOn(socket.descriptor(), SOL_SOCKET, SO_BROADCAST);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(32768);
    inet_pton(AF_INET, address, &peer.sin_addr);
    auto* const generic = reinterpret_cast<sockaddr*>(&peer);
    socklen_t size = sizeof peer;
    EXPECT_EQ(sendto(socket.descriptor(), discoveryQuery.data(), discoveryQuery.size(), 0, generic, size),
              static_cast<ssize_t>(discoveryQuery.size()));
    Texts replies;
    for (pollfd readable{socket.descriptor(), POLLIN, 0}; poll(&readable, 1, 200) > 0;) {
        std::string text(2048, '\0');
        const ssize_t count = recvfrom(socket.descriptor(), text.data(), text.size(), 0, generic, &size);
        text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        replies.push_back(ipv4Text(ntohl(peer.sin_addr.s_addr)) + ": " + text);
    }
    return replies;
}

std::string reply(const std::string& announced) {
    return "[Korva --Room Lab --IP " + announced + " --NetMask 255.255.255.0]";
}

} // namespace

TEST_F(BroadcastTest, IsHeardByTheCamerasOfItsNetwork) {
    const Texts one{"10.77.1.11"};
    const Texts three{"10.77.1.11", "10.77.1.12", "10.77.2.11"};
    const Texts loopback{"127.0.0.1"};
    for (const auto& [cameras, asked, answer] : {
             std::tuple(one, "10.77.1.255", one),
             std::tuple(one, "10.77.1.11", one),
             std::tuple(one, "10.77.2.255", Texts{}),
             std::tuple(three, "10.77.1.255", Texts{"10.77.1.11", "10.77.1.12"}),
             std::tuple(three, "10.77.2.255", Texts{"10.77.2.11"}),
             std::tuple(three, "10.77.1.12", Texts{"10.77.1.12"}),
             std::tuple(three, "255.255.255.255", three),
             std::tuple(loopback, "127.255.255.255", Texts{}),
             std::tuple(loopback, "255.255.255.255", Texts{}),
             std::tuple(loopback, "127.0.0.1", loopback),
         }) {
        SCOPED_TRACE(cameras.back() + " asked by " + asked);
        servers.clear();
        for (const std::string& address : cameras)
            serve(address);
        Texts replies;
        for (const std::string& address : answer)
            replies.push_back(address + ": " + reply(address));
        EXPECT_THAT(ask(asked), UnorderedElementsAreArray(replies));
    }
}

TEST_F(BroadcastTest, IsAnsweredOnEveryAddressWithTheOneAskedUnlessTheCameraWasToldAnother) {
    CameraSettings settings = smallCamera();
    EXPECT_THAT(serve("0.0.0.0", settings).broadcasts(), IsEmpty());
    for (const auto& [asked, announced] :
         {std::pair("10.77.1.12", "10.77.1.12"), std::pair("10.77.2.11", "10.77.2.11"),
          std::pair("127.0.0.1", "127.0.0.1"), std::pair("10.77.1.255", "10.77.1.11")})
        EXPECT_THAT(ask(asked), ElementsAre(EndsWith(reply(announced))));
    servers.clear();
    settings.announcedAddress = "10.77.1.11";
    serve("0.0.0.0", settings);
    EXPECT_THAT(ask("10.77.2.255"), ElementsAre(EndsWith(reply("10.77.1.11"))));
}

TEST_F(BroadcastTest, IsNotAnsweredBySilentAndRefusingCameras) {
    CameraSettings settings = smallCamera();
    settings.discovery = Service::silent;
    EXPECT_THAT(serve("10.77.1.11", settings).broadcasts(), ElementsAre("10.77.1.255", "255.255.255.255"));
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

} // namespace Simulator
