#include "Platform/NetworkView.h"

#include "Platform/PortQuestions.h"
#include "Platform/QuerySocket.h"
#include "Support/LoopbackPeer.h"
#include "Support/NetworkNamespace.h"

#include <algorithm>
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using Platform::Clock;
using Platform::NeighbourEntry;
using Platform::Route;
using testing::ElementsAre;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using TestSupport::NetworkNamespace;
using State = NeighbourEntry::State;

namespace {

std::uint32_t ipv4(const char* text) {
    std::uint32_t address = 0;
    EXPECT_EQ(inet_pton(AF_INET, text, &address), 1);
    return address;
}

std::string dotted(std::uint32_t address) {
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
}

/// "net1 up link ethernet 10.77.1.1/255.255.255.0" of each adapter.
std::vector<std::string> adapters() {
    std::vector<std::string> texts;
    const auto all = Platform::listAdapters();
    for (const Platform::Adapter& each : all.value()) {
        std::string& text = texts.emplace_back(each.name);
        text += each.isUp ? " up" : "";
        text += each.hasLink ? " link" : "";
        text += each.isLoopback ? " loopback" : "";
        text += each.isEthernet ? " ethernet" : "";
        text += each.isPart ? " part" : "";
        for (const auto& [ip, mask] : each.addresses)
            text += " " + dotted(ip) + "/" + dotted(mask);
    }
    return texts;
}

/// "direct 7 0.0.0.0": way, adapter, gateway.
std::string wayTo(const char* address) {
    constexpr const char* names[] = {"own", "direct", "router", "none"};
    const Route route = Platform::routeTo(ipv4(address)).value();
    return std::string(names[static_cast<int>(route.way)]) + " " + std::to_string(route.adapterIndex) + " " +
           dotted(route.gateway);
}

/// This machine, 10.77.1.1 on net1 (index 7), and a neighbour, 10.77.1.2.
struct NetworkView : testing::Test {
    NetworkView() {
        machine.run(
            "ip link set lo up;"
            "ip link add net1 index 7 type veth peer name net1 address 02:00:00:00:00:0a netns {other};"
            "ip addr add 10.77.1.1/24 broadcast + dev net1; ip link set net1 up",
            &neighbour);
        neighbour.run("ip addr add 10.77.1.2/24 broadcast + dev net1; ip link set net1 up");
        neighbour.awaitLink("net1");
        machine.awaitLink("net1");
    }

    const NetworkNamespace neighbour;
    const NetworkNamespace machine;
};

} // namespace

TEST_F(NetworkView, TellsAdaptersThatAreDownHaveNoLinkOrNoAddress) {
    machine.run("ip link add down0 type bridge; ip addr add 10.78.1.1/24 dev down0;"
                "ip link add bare0 type bridge; ip link set bare0 up;"
                "ip link add cut0 type veth peer name cut1; ip addr add 10.79.1.1/16 dev cut0;"
                "ip addr add 10.79.1.2/16 dev cut0; ip link set cut0 up");
    EXPECT_THAT(adapters(),
                UnorderedElementsAre("lo up link loopback 127.0.0.1/255.0.0.0",
                                     "net1 up link ethernet 10.77.1.1/255.255.255.0",
                                     "down0 link ethernet 10.78.1.1/255.255.255.0", StartsWith("bare0 up"),
                                     "cut0 up ethernet 10.79.1.1/255.255.0.0 10.79.1.2/255.255.0.0",
                                     "cut1 link ethernet"));
}

TEST_F(NetworkView, TellsAdaptersThatOthersAreMadeOf) {
    // A bridge's port, a virtual network's parent, and two ends of one cable, which are no parts.
    machine.run("ip link add br0 type bridge; ip link set net1 master br0;"
                "ip link add base0 type bridge; ip link add virtual0 link base0 type macvlan;"
                "ip link add end0 type veth peer name end1");
    std::vector<std::string> parts;
    for (const std::string& text : adapters())
        if (text.find(" part") != std::string::npos)
            parts.push_back(text.substr(0, text.find(' ')));
    EXPECT_THAT(parts, UnorderedElementsAre("net1", "base0"));
}

TEST_F(NetworkView, TellsTheWayToAnAddress) {
    EXPECT_EQ(wayTo("192.0.2.1"), "none 0 0.0.0.0");
    EXPECT_EQ(Platform::defaultGateway(), std::nullopt);
    machine.run("ip route add default via 10.77.1.2; ip route add prohibit 10.99.0.0/16;"
                "ip route add default via 10.77.1.9 metric 100; ip route add 10.98.0.0/16 via 10.77.1.9;"
                "ip route add default via 10.77.1.8 table 50; ip -6 addr add fd00::1/64 dev net1 nodad;"
                "ip route add 10.97.0.0/16 via inet6 fd00::2 dev net1");
    EXPECT_EQ(wayTo("127.0.0.1"), "own 0 0.0.0.0");
    EXPECT_EQ(wayTo("10.77.1.1"), "own 0 0.0.0.0");
    EXPECT_EQ(wayTo("10.77.1.66"), "direct 7 0.0.0.0");
    EXPECT_EQ(wayTo("192.0.2.1"), "router 7 10.77.1.2");
    EXPECT_EQ(wayTo("10.98.1.1"), "router 7 10.77.1.9");
    EXPECT_EQ(wayTo("10.97.1.1"), "router 7 0.0.0.0");
    EXPECT_EQ(wayTo("10.99.1.1"), "none 0 0.0.0.0");
    EXPECT_EQ(wayTo("10.77.1.255"), "none 0 0.0.0.0");
    EXPECT_EQ(Platform::defaultGateway(), ipv4("10.77.1.2")) << "the preferred one";
}

TEST_F(NetworkView, TellsNeighboursAndHowMuchTheirEntryIsWorth) {
    const std::string neigh = "ip neigh add dev net1 lladdr 02:00:00:00:00:63 ";
    machine.run("echo 1 >/proc/sys/net/ipv4/neigh/net1/mcast_solicit;"
                "echo 10 >/proc/sys/net/ipv4/neigh/net1/retrans_time_ms;" +
                neigh + "10.77.1.20 nud permanent;" + neigh + "10.77.1.21 nud stale;" + neigh +
                "10.77.1.22 nud reachable; ip neigh add dev net1 10.77.1.23 nud failed");
    const std::vector<Platform::PortAnswer> answers = Platform::askPorts(
        {{ipv4("10.77.1.2"), 9, "", 0}, {ipv4("10.77.1.66"), 9, "", 0}}, Clock::now() + 5s);
    EXPECT_EQ(answers[0].outcome, Platform::PortAnswer::Outcome::refused);
    EXPECT_EQ(answers[1].outcome, Platform::PortAnswer::Outcome::unreachable);
    std::vector<std::string> texts;
    const auto all = Platform::listNeighbours();
    for (const NeighbourEntry& each : all.value()) {
        EXPECT_EQ(each.adapterIndex, 7u);
        EXPECT_TRUE(each.state != State::confirmed || each.confirmedAgo.value() < 10s);
        texts.push_back(dotted(each.address) + " " + std::to_string(static_cast<int>(each.state)) + " " +
                        (each.hardwareAddress.empty() ? "-" : std::to_string(each.hardwareAddress.at(5))));
    }
    EXPECT_THAT(texts, UnorderedElementsAre("10.77.1.2 0 10", "10.77.1.20 1 99", "10.77.1.21 1 99",
                                            "10.77.1.22 0 99", "10.77.1.23 3 -", "10.77.1.66 3 -"));
}

TEST_F(NetworkView, TellsAllOfManyNeighbours) {
    machine.run("for i in $(seq 1 250); do for j in 1 2 3 4; do"
                " echo neigh add 10.77.$j.$i lladdr 02:00:00:00:00:63 dev net1 nud permanent; done; done"
                " | ip -batch -");
    const auto all = Platform::listNeighbours();
    ASSERT_TRUE(all);
    EXPECT_GE(all->size(), 1000u);
    EXPECT_LE(all->size(), 1001u) << "and the neighbour itself, which may have asked";
}

TEST_F(NetworkView, QueriesGoOverTheAdapterThatTheyAreToGoOver) {
    machine.run("ip link add net2 index 8 type veth peer name net2 netns {other};"
                "ip addr add 10.77.2.1/24 broadcast + dev net2; ip link set net2 up",
                &neighbour);
    neighbour.run("ip addr add 10.77.2.2/24 broadcast + dev net2; ip link set net2 up");
    neighbour.awaitLink("net2");
    machine.awaitLink("net2");
    neighbour.enter();
    TestSupport::DatagramPeer peer("0.0.0.0");
    machine.enter();
    const auto port = static_cast<std::uint16_t>(peer.port());
    const std::uint32_t everybody = ipv4("255.255.255.255");
    Platform::QuerySocket socket;
    EXPECT_EQ(socket.send("x", everybody, port), "Network is unreachable") << "there is no default route";
    for (const auto& [index, source] : {std::pair(7u, "10.77.1.2"), {8u, "10.77.2.2"}}) {
        EXPECT_EQ(socket.send("query", everybody, port, index), "");
        EXPECT_EQ(peer.receive(), "query");
        peer.answer("reply");
        const auto reply = socket.receive(Clock::now() + 5s);
        ASSERT_TRUE(reply);
        EXPECT_EQ(dotted(reply->source), source);
        EXPECT_EQ(reply->adapterIndex, index);
    }
    EXPECT_EQ(socket.send("x", ipv4("10.77.2.255"), port), "");
    EXPECT_EQ(peer.receive(), "x");
    machine.run("ip link set net2 down");
    EXPECT_NE(socket.send("x", everybody, port, 8), "");
}

TEST(HostLookUp, KnowsAddressesWithoutAskingAndSaysWhyThereIsNone) {
    EXPECT_THAT(Platform::lookUpHost("10.77.1.11", Clock::now()).addresses, ElementsAre(ipv4("10.77.1.11")));
    const NetworkNamespace machine; // where no name service answers
    const Platform::HostAddresses none = Platform::lookUpHost("nobody.invalid", Clock::now() + 20s);
    EXPECT_THAT(none.addresses, ElementsAre());
    EXPECT_NE(none.reason, "");
    EXPECT_FALSE(none.timedOut);
}
