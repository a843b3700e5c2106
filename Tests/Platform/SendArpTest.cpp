#include "Platform/IpHelper.h"

#include "Platform/Winsock.h"
#include "Support/LoopbackPeer.h"
#include "TwoMachines.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

using namespace std::chrono_literals;
using TestSupport::Stopwatch;

namespace {

IPAddr addressOf(const char* text) {
    IPAddr address = 0;
    EXPECT_EQ(inet_pton(AF_INET, text, &address), 1);
    return address;
}

/// The address that SendARP finds, as "02-00-..."; "error N" for a code.
std::string resolve(const char* destination, const char* source = "0.0.0.0") {
    std::array<unsigned char, 8> mac{};
    ULONG length = 6;
    const DWORD code = SendARP(addressOf(destination), addressOf(source), mac.data(), &length);
    if (code != NO_ERROR)
        return "error " + std::to_string(code);
    std::string text;
    for (ULONG at = 0; at < length; ++at) {
        std::array<char, 4> pair{};
        std::snprintf(pair.data(), pair.size(), "%s%02x", at == 0 ? "" : "-", mac[at]);
        text += pair.data();
    }
    return text;
}

/// What SendARP answers from what it knows or sees at once.
std::string resolveAtOnce(const char* destination, const char* source = "0.0.0.0") {
    const Stopwatch watch;
    std::string found = resolve(destination, source);
    EXPECT_LT(watch.elapsed(), 500ms);
    return found;
}

struct SendArp : TestSupport::TwoMachines {
    /// Lets the system ask as often and as quickly as said, instead of three times a second apart.
    void ask(int times, int intervalMs) const {
        machine.run("cd /proc/sys/net/ipv4/neigh/wire0; echo " + std::to_string(times) + " >mcast_solicit;" +
                    "echo " + std::to_string(intervalMs) + " >retrans_time_ms");
    }
};

} // namespace

TEST_F(SendArp, AnswersForEveryOwnAddressWithItsAdaptersOwn) {
    EXPECT_EQ(resolveAtOnce("10.77.1.1"), "02-00-00-00-00-01");
    EXPECT_EQ(resolveAtOnce("10.77.1.3"), "02-00-00-00-00-01");
}

TEST_F(SendArp, AnswersForTheLoopbackWithoutBytes) {
    machine.run("ip addr add 10.8.8.8/32 dev lo");
    EXPECT_EQ(resolveAtOnce("127.0.0.1"), "");
    EXPECT_EQ(resolveAtOnce("127.9.9.9"), "");
    EXPECT_EQ(resolveAtOnce("10.8.8.8"), "");
}

TEST_F(SendArp, ProvokesTheQuestionWhereTheTableHasNoEntry) {
    machine.run("test -z \"$(ip neigh show 10.77.1.2)\"");
    EXPECT_EQ(resolveAtOnce("10.77.1.2"), "02-00-00-00-00-0a");
    machine.run("ip neigh show 10.77.1.2 | grep -q 02:00:00:00:00:0a");
}

TEST_F(SendArp, AnswersFromTheTableWhereItHasAnEntry) {
    machine.run("ip neigh add 10.77.1.99 lladdr 02:00:00:00:00:63 dev wire0 nud permanent;"
                "ip neigh add 10.77.1.98 lladdr 02:00:00:00:00:62 dev wire0 nud stale");
    EXPECT_EQ(resolveAtOnce("10.77.1.99"), "02-00-00-00-00-63");
    EXPECT_EQ(resolveAtOnce("10.77.1.98"), "02-00-00-00-00-62");
}

TEST_F(SendArp, TellsTheEntriesOfTwoAdaptersApart) {
    machine.run("ip link add other0 type veth peer name other1; ip link set other0 up;"
                "ip neigh add 10.77.1.99 lladdr 02:00:00:00:00:64 dev other0 nud permanent;"
                "ip neigh add 10.77.1.99 lladdr 02:00:00:00:00:63 dev wire0 nud permanent");
    EXPECT_EQ(resolveAtOnce("10.77.1.99"), "02-00-00-00-00-63");
}

TEST_F(SendArp, Gives67WhereNobodyAnswersAsSoonAsTheSystemGivesUp) {
    ask(2, 50);
    EXPECT_EQ(resolveAtOnce("10.77.1.66"), "error 67");
}

TEST_F(SendArp, AsksAgainForOneThatDidNotAnswerBefore) {
    ask(2, 50);
    ASSERT_EQ(resolve("10.77.1.66"), "error 67");
    machine.run("ip neigh show 10.77.1.66 | grep -q FAILED");
    neighbour.run("ip addr add 10.77.1.66/24 dev wire0");
    machine.enter();
    EXPECT_EQ(resolve("10.77.1.66"), "02-00-00-00-00-0a");
}

TEST_F(SendArp, WaitsThreeSecondsAtMostAndInTheSystemsUsualSettings) {
    for (const char* unanswered : {"10.77.1.66", "10.77.1.67"}) {
        const Stopwatch watch;
        EXPECT_EQ(resolve(unanswered), "error 67");
        EXPECT_GE(watch.elapsed(), 2900ms);
        EXPECT_LT(watch.elapsed(), 3500ms);
        ask(100, 1000);
    }
}

TEST_F(SendArp, Gives67AtOnceForAnAddressBehindARouter) {
    machine.run("ip route add default via 10.77.1.2");
    EXPECT_EQ(resolveAtOnce("192.0.2.1"), "error 67");
    machine.run("test -z \"$(ip neigh show)\""); // nothing was sent to the router
}

TEST_F(SendArp, Gives67AtOnceForWhatIsOnNoNetworkOrNoMachine) {
    for (const char* address : {"192.0.2.1", "10.77.1.255", "255.255.255.255", "224.0.0.251", "0.0.0.0"})
        EXPECT_EQ(resolveAtOnce(address), "error 67") << address;
}

TEST_F(SendArp, Gives67AtOnceWhereTheAdapterKnowsNoArp) {
    machine.run(
        "ip link add dumb0 type bridge; ip link set dumb0 up arp off; ip addr add 10.78.1.1/24 dev dumb0");
    EXPECT_EQ(resolveAtOnce("10.78.1.2"), "error 67");
}

TEST_F(SendArp, AsksFromAnOwnAddressAlone) {
    EXPECT_EQ(resolveAtOnce("10.77.1.2", "10.77.1.3"), "02-00-00-00-00-0a");
    EXPECT_EQ(resolveAtOnce("10.77.1.2", "10.77.1.4"), "error 1168");
    EXPECT_EQ(resolveAtOnce("10.77.1.2", "192.0.2.1"), "error 1168");
}

TEST_F(SendArp, WantsABufferAndStoresNothingInOneThatIsTooSmall) {
    std::array<unsigned char, 8> mac{};
    ULONG length = 5;
    EXPECT_EQ(SendARP(addressOf("10.77.1.1"), 0, mac.data(), &length), 111U);
    EXPECT_EQ(mac, (std::array<unsigned char, 8>{}));
    length = 0;
    EXPECT_EQ(SendARP(addressOf("10.77.1.1"), 0, mac.data(), &length), 87U);
    EXPECT_EQ(SendARP(addressOf("10.77.1.1"), 0, mac.data(), nullptr), 87U);
    length = 6;
    EXPECT_EQ(SendARP(addressOf("10.77.1.1"), 0, nullptr, &length), 87U);
}

TEST_F(SendArp, LeavesNoDescriptorBehind) {
    ask(1, 10);
    const std::size_t before = TestSupport::openDescriptors();
    for (const char* address : {"10.77.1.1", "10.77.1.2", "10.77.1.66", "192.0.2.1"})
        resolve(address);
    EXPECT_EQ(TestSupport::openDescriptors(), before);
}
