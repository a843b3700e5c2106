// The look itself, over the system, at simulated cameras on networks of the test's own.

#include "Look/NetworkLook.h"

#include "Network/CameraServer.h"
#include "Support/NetworkNamespace.h"

#include <chrono>
#include <gmock/gmock.h>
#include <linux/capability.h>
#include <list>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

using namespace Diagnosis;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using TestSupport::NetworkNamespace;
using Outcome = SearchedNetwork::Outcome;

namespace {

constexpr const char* firstMac = "02-4b-00-01-00-0b";

/// While it lives, the thread has none of the rights of the namespaces' root, as any user's.
class WithoutRights {
public:
    WithoutRights() {
        syscall(SYS_capget, &header_, rights_);
        use(false);
        const int raw = socket(AF_PACKET, SOCK_RAW, 0);
        EXPECT_LT(raw, 0) << "this takes such a right";
        close(raw);
    }
    WithoutRights(const WithoutRights&) = delete;
    WithoutRights& operator=(const WithoutRights&) = delete;
    ~WithoutRights() { use(true); }

private:
    void use(bool areUsed) {
        for (__user_cap_data_struct& half : rights_)
            half.effective = areUsed ? half.permitted : 0;
        EXPECT_EQ(syscall(SYS_capset, &header_, rights_), 0);
    }

    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights_[2]{};
};

/// This computer is 10.77.1.1, and a machine of two cameras, 10.77.1.11 and 10.77.1.12, is on its one cable.
struct Cable : testing::Test {
    Cable() {
        host.run("ip link set lo up;"
                 "ip link add net1 type veth peer name net1 address 02:4b:00:01:00:0b netns {other};"
                 "for each in all net1; do echo 0 >/proc/sys/net/ipv4/conf/$each/rp_filter; done;"
                 "ip addr add 10.77.1.1/24 broadcast + dev net1; ip link set net1 up",
                 &cameras);
        cameras.run("ip link set lo up; ip addr add 10.77.1.11/24 broadcast + dev net1;"
                    "ip addr add 10.77.1.12/24 broadcast + dev net1; ip link set net1 up");
        cameras.awaitLink("net1");
        host.awaitLink("net1");
    }

    void serve(const std::string& address, const std::string& room, Simulator::CameraSettings settings = {}) {
        settings.room = room;
        Simulator::ServerOptions options;
        options.address = address;
        cameras.enter();
        servers.emplace_back(std::move(settings), options).start();
        host.enter();
    }

    /// All there is to look at: "search", then the addresses. Bounded as a whole.
    void look(const std::vector<std::string>& addresses) {
        const WithoutRights anyUser;
        const auto begin = std::chrono::steady_clock::now();
        lookAtComputer(facts);
        const auto searched = std::chrono::steady_clock::now();
        lookForCameras(facts);
        const auto asked = std::chrono::steady_clock::now();
        lookAt(addresses, facts);
        const auto end = std::chrono::steady_clock::now();
        took = end - begin;
        EXPECT_LT(took - (asked - searched), 5s) << "besides the search";
    }

    std::vector<std::string> rooms() const {
        std::vector<std::string> all;
        for (const Answer& each : facts.search->answers)
            all.push_back(each.room);
        return all;
    }

    const NetworkNamespace cameras;
    const NetworkNamespace host;
    std::list<Simulator::CameraServer> servers;
    Facts facts;
    std::chrono::nanoseconds took{};
};

} // namespace

TEST_F(Cable, WithCamerasIsSeenWhole) {
    serve("10.77.1.11", "Lab 1");
    serve("10.77.1.12", "Lab 2");
    host.run("ip route add default via 10.77.1.11");
    look({"10.77.1.11", "10.77.1.12"});
    EXPECT_LT(took, 2s);
    EXPECT_EQ(facts.defaultGateway, "10.77.1.11");
    EXPECT_THAT(facts.adapters, SizeIs(2));
    EXPECT_THAT(rooms(), UnorderedElementsAre("Lab 1", "Lab 2"));
    EXPECT_THAT(facts.search->networks,
                ElementsAre(SearchedNetwork{
                    "net1", {"10.77.1.1", "255.255.255.0"}, "10.77.1.255", Outcome::searched, ""}));
    EXPECT_THAT(facts.foreign, IsEmpty());
    EXPECT_THAT(facts.limitedOnly, IsEmpty());
    ASSERT_THAT(facts.cameras, SizeIs(2));
    for (const Camera& each : facts.cameras) {
        EXPECT_TRUE(each.answeredSearch);
        EXPECT_EQ(each.answersQuery, true);
        EXPECT_EQ(each.answersArp, true);
        EXPECT_EQ(each.adapter, "net1");
        EXPECT_THAT(each.macAddresses, ElementsAre(firstMac));
        EXPECT_EQ(each.text, PortState::open);
        EXPECT_EQ(each.picture, PortState::open);
        EXPECT_EQ(each.textAnswer, "[Version --HW M61 --SW 3.2.15 --API 1.4]");
        EXPECT_EQ(each.toldFirmware, "3.2.15");
        EXPECT_EQ(each.lookFailure, "");
    }
    EXPECT_EQ(facts.search->answers[0].macAddress, firstMac) << "it has asked for this computer's";
    for (const Answer& each : facts.search->answers) {
        EXPECT_EQ(each.adapter, "net1");
        EXPECT_EQ(each.source, each.address);
        EXPECT_EQ(each.mask, "255.255.255.0");
    }
}

TEST_F(Cable, WithManyAddressesThatDoNotAnswerTakesNoLongerThanOne) {
    Simulator::CameraSettings settings;
    settings.text = Simulator::Service::refused;
    settings.discovery = Simulator::Service::silent;
    serve("10.77.1.11", "Half", settings);
    host.run("ip neigh add 10.77.1.20 lladdr 02:00:00:00:00:63 dev net1 nud reachable");
    std::vector<std::string> addresses{"10.77.1.11", "10.77.1.20"};
    for (int at = 100; at < 160; ++at)
        addresses.push_back("10.77.1." + std::to_string(at));
    look(addresses);
    ASSERT_THAT(facts.cameras, SizeIs(62));
    EXPECT_EQ(facts.cameras[0].answersQuery, false);
    EXPECT_EQ(facts.cameras[0].text, PortState::refused);
    EXPECT_EQ(facts.cameras[0].picture, PortState::open);
    EXPECT_EQ(facts.cameras[1].text, PortState::silent);
    EXPECT_EQ(facts.cameras[1].answersArp, std::nullopt) << "it may be gone, or be silent";
    for (std::size_t at = 2; at < 62; ++at) {
        EXPECT_EQ(facts.cameras[at].text, PortState::unreachable);
        EXPECT_EQ(facts.cameras[at].answersArp, false);
    }
}

TEST_F(Cable, WithCamerasOfAnotherNetworkOrMaskTellsThem) {
    cameras.run("ip addr add 192.168.5.20/24 broadcast + dev net1; ip route add default dev net1");
    serve("10.77.1.11", "Near");
    serve("192.168.5.20", "Far");
    host.run("ip addr flush dev net1; ip addr add 10.77.1.1/25 broadcast + dev net1");
    look({});
    EXPECT_THAT(rooms(), IsEmpty());
    ASSERT_THAT(facts.limitedOnly, SizeIs(1));
    EXPECT_EQ(facts.limitedOnly[0].room, "Near");
    EXPECT_EQ(facts.limitedOnly[0].mask, "255.255.255.0");
    ASSERT_THAT(facts.foreign, SizeIs(1));
    EXPECT_EQ(facts.foreign[0].room, "Far");
    EXPECT_EQ(facts.foreign[0].address, "192.168.5.20");
    EXPECT_EQ(facts.foreign[0].adapter, "net1");
}

TEST_F(Cable, ThatIsOutDownOrRefusedIsAFact) {
    const auto outcome = [this] {
        look({});
        const SearchedNetwork network = facts.search->networks.at(0);
        return std::to_string(static_cast<int>(network.outcome)) + network.reason;
    };
    host.run("ip route del broadcast 10.77.1.255 dev net1 table local;"
             "ip route add prohibit 10.77.1.255 table local");
    EXPECT_EQ(outcome(), "1not permitted, by a firewall of this computer or for want of rights");
    host.run("ip route del prohibit 10.77.1.255 table local");
    cameras.run("ip link set net1 down");
    host.run("for try in $(seq 500); do ip link show net1 | grep -q NO-CARRIER && exit 0; sleep 0.01; done; "
             "exit 1");
    EXPECT_EQ(outcome(), "3");
    EXPECT_FALSE(facts.adapters.at(1).hasLink);
    host.run("ip link set net1 down");
    EXPECT_EQ(outcome(), "2");
    EXPECT_FALSE(facts.adapters.at(1).isUp);
}

TEST_F(Cable, WithTwoCamerasOfOneAddressHearsBoth) {
    const NetworkNamespace twin;
    host.run("ip link add br0 type bridge mcast_snooping 0; ip link set net1 master br0;"
             "ip link add twin0 type veth peer name net1 address 02:4b:00:01:00:63 netns {other};"
             "ip link set twin0 master br0; ip link set twin0 up; ip addr flush dev net1;"
             "ip addr add 10.77.1.1/24 broadcast + dev br0; ip link set br0 up",
             &twin);
    twin.run("ip addr add 10.77.1.11/24 broadcast + dev net1; ip link set net1 up");
    twin.awaitLink("net1");
    host.awaitLink("twin0");
    host.awaitLink("br0");
    serve("10.77.1.11", "Twin A");
    Simulator::ServerOptions options;
    options.address = "10.77.1.11";
    Simulator::CameraSettings settings;
    settings.room = "Twin B";
    twin.enter();
    servers.emplace_back(settings, options).start();
    host.enter();
    look({"10.77.1.11"});
    EXPECT_THAT(rooms(), UnorderedElementsAre("Twin A", "Twin B"));
    EXPECT_THAT(facts.cameras, SizeIs(1));
}
