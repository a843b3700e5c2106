#include "Platform/IpHelper.h"

#include "Platform/Winsock.h"
#include "Support/LoopbackPeer.h"
#include "Support/NetworkNamespace.h"

#include <array>
#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using testing::ElementsAre;
using TestSupport::NetworkNamespace;
using TestSupport::Stopwatch;

namespace {

constexpr ULONG spareBytes = 16 * sizeof(IP_ADAPTER_INFO);

/// The list as callers get it: its size first, then the data.
struct AdapterList {
    explicit AdapterList(ULONG size = toldSize()) : bytes(size), buffer(size, 'x') {
        code = GetAdaptersInfo(first, &bytes);
    }

    /// The size that a caller without a buffer is told.
    static ULONG toldSize() {
        ULONG bytes = 0;
        EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), ERROR_BUFFER_OVERFLOW);
        return bytes;
    }

    /// "NAME ADDRESS/MASK ADDRESS/MASK" of each.
    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        EXPECT_EQ(code, NO_ERROR);
        EXPECT_LE(bytes, buffer.size());
        for (const IP_ADAPTER_INFO* each = code == NO_ERROR ? first : nullptr; each != nullptr;
             each = each->Next) {
            all.emplace_back(each->AdapterName);
            for (const IP_ADDR_STRING* at = &each->IpAddressList; at != nullptr; at = at->Next)
                all.back() += std::string(" ") + at->IpAddress.String + "/" + at->IpMask.String;
        }
        return all;
    }

    DWORD code = NO_ERROR;
    ULONG bytes;
    std::vector<char> buffer;
    IP_ADAPTER_INFO* const first = reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data());
};

/// Commands that make adapters from "test<first>" to "test<last>" which are up, each with an address.
std::string adapters(int first, int last) {
    return "for i in $(seq " + std::to_string(first) + " " + std::to_string(last) + "); do" +
           " ip link add test$i type bridge; ip link set test$i up; ip addr add 10.$i.0.1/24 dev test$i; "
           "done;";
}

} // namespace

TEST(GetAdaptersInfo, HasNoDataWhereThereIsNoAdapterButTheLoopback) {
    const NetworkNamespace machine;
    ULONG bytes = 12345;
    EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), 232U);
    EXPECT_EQ(bytes, 12345U);
    machine.run("ip link set lo up; ip addr add 10.9.9.9/24 dev lo");
    EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), 232U);
    EXPECT_EQ(GetAdaptersInfo(nullptr, nullptr), 87U) << "a place for the size";
}

TEST(GetAdaptersInfo, LeavesOutAdaptersThatAreDownOrHoldNoAddress) {
    const NetworkNamespace machine;
    machine.run("ip link add down0 type bridge; ip addr add 10.9.0.1/24 dev down0;"
                "ip link add bare0 type bridge; ip link set bare0 up;"
                "ip link add six0 type bridge; ip link set six0 up; ip addr add fd00::1/64 dev six0;" +
                adapters(1, 1));
    EXPECT_THAT(AdapterList().texts(), ElementsAre("test1 10.1.0.1/255.255.255.0"));
}

TEST(GetAdaptersInfo, TellsWhoAnAdapterIs) {
    const NetworkNamespace machine;
    machine.run("ip link add left0 index 7 address 02:00:5e:10:20:f0 type veth peer name right0;"
                "ip addr add 10.77.1.2/20 dev left0; ip link set left0 up");
    const AdapterList list;
    EXPECT_THAT(list.texts(), ElementsAre("left0 10.77.1.2/255.255.240.0"));
    const IP_ADAPTER_INFO& adapter = *list.first;
    EXPECT_STREQ(adapter.Description, "left0");
    EXPECT_EQ(adapter.Index, 7U);
    EXPECT_EQ(adapter.Type, MIB_IF_TYPE_ETHERNET);
    EXPECT_EQ(adapter.AddressLength, 6U);
    EXPECT_EQ(std::memcmp(adapter.Address, "\x02\x00\x5e\x10\x20\xf0\0\0", 8), 0);
    EXPECT_STREQ(adapter.GatewayList.IpAddress.String, "0.0.0.0");
    EXPECT_STREQ(adapter.GatewayList.IpMask.String, "0.0.0.0");
    EXPECT_EQ(adapter.GatewayList.Next, nullptr);
}

TEST(GetAdaptersInfo, ListsEveryAdapterWithItsAddressesInOrder) {
    const NetworkNamespace machine;
    machine.run(adapters(1, 3) +
                "ip addr add 10.2.8.1/16 dev test2 label test2:b; ip addr add 192.168.5.1/30 dev test2;"
                "ip addr add 10.3.0.2/32 dev test3");
    EXPECT_THAT(AdapterList().texts(),
                ElementsAre("test1 10.1.0.1/255.255.255.0",
                            "test2 10.2.0.1/255.255.255.0 10.2.8.1/255.255.0.0 192.168.5.1/255.255.255.252",
                            "test3 10.3.0.1/255.255.255.0 10.3.0.2/255.255.255.255"));
}

TEST(GetAdaptersInfo, TouchesNothingOfABufferThatIsTooSmall) {
    const NetworkNamespace machine;
    machine.run(adapters(1, 1) + "ip addr add 10.1.0.2/24 dev test1");
    constexpr ULONG needed = sizeof(IP_ADAPTER_INFO) + sizeof(IP_ADDR_STRING);
    EXPECT_EQ(AdapterList::toldSize(), needed + spareBytes);
    const AdapterList tooSmall(needed - 1);
    EXPECT_EQ(tooSmall.code, 111U);
    EXPECT_EQ(tooSmall.bytes, needed + spareBytes);
    EXPECT_THAT(tooSmall.buffer, testing::Each('x'));
    const AdapterList justEnough(needed);
    EXPECT_EQ(justEnough.code, NO_ERROR);
    EXPECT_EQ(justEnough.bytes, needed);
}

TEST(GetAdaptersInfo, HasRoomForSixteenAdaptersThatAppearBetweenTheTwoCallsAndTellsTheSizeForMore) {
    const NetworkNamespace machine;
    machine.run(adapters(1, 1));
    const ULONG told = AdapterList::toldSize();
    machine.run(adapters(2, 17));
    const std::vector<std::string> texts = AdapterList(told).texts();
    EXPECT_EQ(texts.size(), 17U);
    EXPECT_EQ(texts.back(), "test17 10.17.0.1/255.255.255.0");
    machine.run(adapters(18, 18));
    const AdapterList more(told);
    EXPECT_EQ(more.code, 111U);
    EXPECT_EQ(more.bytes, 18 * sizeof(IP_ADAPTER_INFO) + spareBytes);
    EXPECT_EQ(AdapterList(more.bytes).texts().size(), 18U);
}

namespace {

IPAddr addressOf(const char* text) {
    IPAddr address = 0;
    EXPECT_EQ(inet_pton(AF_INET, text, &address), 1);
    return address;
}

/// The bytes that SendARP finds; "error N" for a code.
std::string resolve(const char* destination, const char* source = "0.0.0.0") {
    std::array<char, 8> mac{};
    ULONG length = 6;
    const DWORD code = SendARP(addressOf(destination), addressOf(source), mac.data(), &length);
    return code == NO_ERROR ? std::string(mac.data(), length) : "error " + std::to_string(code);
}

/// Has the system ask as often and as quickly as said, instead of three times a second apart.
std::string asking(int times, int intervalMs) {
    return "cd /proc/sys/net/ipv4/neigh/wire0; echo " + std::to_string(times) + " >mcast_solicit; echo " +
           std::to_string(intervalMs) + " >retrans_time_ms";
}

/// Two machines on one wire: this one is 10.77.1.1 and 10.77.1.3, the neighbour 10.77.1.2. There is no way to
/// any other network.
struct SendArp : testing::Test {
    SendArp() {
        machine.run("ip link set lo up;"
                    "ip link add wire0 address 02:00:00:00:00:01 type veth"
                    " peer name wire0 address 02:00:00:00:00:0a netns {other};"
                    "ip addr add 10.77.1.1/24 dev wire0; ip addr add 10.77.1.3/24 dev wire0;"
                    "ip link set wire0 up",
                    &neighbour);
        neighbour.run("ip addr add 10.77.1.2/24 dev wire0; ip link set wire0 up");
        neighbour.awaitLink("wire0");
        machine.awaitLink("wire0");
    }

    NetworkNamespace neighbour;
    NetworkNamespace machine;
};

/// What is asked, answered from what the system knows or sees at once, and what holds afterwards.
struct Question {
    const char* of;
    const char* destination;
    std::string answer;
    std::string before = {};
    const char* source = "0.0.0.0";
    std::string after = {};
};

struct SendArpFor : SendArp, testing::WithParamInterface<Question> {};

const std::string own("\x02\0\0\0\0\x01", 6);
const std::string neighbours("\x02\0\0\0\0\x0A", 6);
const std::string entries("\x02\0\0\0\0\x63", 6);
const std::string loopback;
const std::string badName = "error 67";
const std::string notFound = "error 1168";
const std::string entry = "ip neigh add 10.77.1.99 lladdr 02:00:00:00:00:63 dev wire0 nud ";

const Question questions[] = {
    {"AnOwnAddress", "10.77.1.1", own},
    {"AnotherOwnAddress", "10.77.1.3", own},
    {"ALoopbackAddress", "127.0.0.1", loopback},
    {"AnotherLoopbackAddress", "127.9.9.9", loopback},
    {"AnAddressGivenToTheLoopback", "10.8.8.8", loopback, "ip addr add 10.8.8.8/32 dev lo"},
    {"ANeighbourAskedForNow", "10.77.1.2", neighbours, "test -z \"$(ip neigh show)\"", "0.0.0.0",
     "ip neigh show 10.77.1.2 | grep -q 02:00:00:00:00:0a"},
    {"AFixedEntry", "10.77.1.99", entries, entry + "permanent"},
    {"AnOldEntry", "10.77.1.99", entries, entry + "stale"},
    {"OneOfTwoAdaptersEntries", "10.77.1.99", entries,
     "ip link add other0 type veth peer name other1; ip link set other0 up;"
     "ip neigh add 10.77.1.99 lladdr 02:00:00:00:00:64 dev other0 nud permanent;" +
         entry + "permanent"},
    {"NobodyThatAnswers", "10.77.1.66", badName, asking(2, 50)},
    {"SomebodyBehindARouterThatGetsNothing", "192.0.2.1", badName, "ip route add default via 10.77.1.2",
     "0.0.0.0", "test -z \"$(ip neigh show)\""},
    {"AnotherNetwork", "192.0.2.1", badName},
    {"ABroadcast", "10.77.1.255", badName},
    {"TheBroadcast", "255.255.255.255", badName},
    {"AMulticast", "224.0.0.251", badName},
    {"NoAddress", "0.0.0.0", badName},
    {"AnAdapterWithoutArp", "10.78.1.2", badName,
     "ip link add dumb0 type bridge; ip link set dumb0 up arp off; ip addr add 10.78.1.1/24 dev dumb0"},
    {"ANeighbourFromAnOwnAddress", "10.77.1.2", neighbours, "", "10.77.1.3"},
    {"ANeighbourFromANeighboursAddress", "10.77.1.2", notFound, "", "10.77.1.4"},
    {"ANeighbourFromAForeignAddress", "10.77.1.2", notFound, "", "192.0.2.1"},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Questions, SendArpFor, testing::ValuesIn(questions),
                         [](const auto& question) { return std::string(question.param.of); });

TEST_P(SendArpFor, AnswersAtOnce) {
    const Question& question = GetParam();
    machine.run(question.before);
    const Stopwatch watch;
    EXPECT_EQ(resolve(question.destination, question.source), question.answer);
    EXPECT_LT(watch.elapsed(), 500ms);
    machine.run(question.after);
}

TEST_F(SendArp, AsksAgainForOneThatDidNotAnswerBefore) {
    machine.run(asking(2, 50));
    ASSERT_EQ(resolve("10.77.1.66"), badName);
    machine.run("ip neigh show 10.77.1.66 | grep -q FAILED");
    neighbour.run("ip addr add 10.77.1.66/24 dev wire0");
    machine.enter();
    EXPECT_EQ(resolve("10.77.1.66"), neighbours);
}

TEST_F(SendArp, WaitsThreeSecondsAtMostAndInTheSystemsUsualSettings) {
    for (const char* unanswered : {"10.77.1.66", "10.77.1.67"}) {
        const Stopwatch watch;
        EXPECT_EQ(resolve(unanswered), badName);
        EXPECT_GE(watch.elapsed(), 2900ms);
        EXPECT_LT(watch.elapsed(), 3500ms);
        machine.run(asking(100, 1000));
    }
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
    machine.run(asking(1, 10));
    const std::size_t before = TestSupport::openDescriptors();
    for (const char* address : {"10.77.1.1", "10.77.1.2", "10.77.1.66", "192.0.2.1"})
        resolve(address);
    EXPECT_EQ(TestSupport::openDescriptors(), before);
}

TEST(Winsock, TellsThatNoNetworkIsThatWay) {
    const NetworkNamespace machine;
    WSADATA data{};
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
    const SOCKET datagrams = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(32768);
    to.sin_addr.s_addr = addressOf("10.99.1.255");
    EXPECT_EQ(sendto(datagrams, "query", 5, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
              SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10051);
    EXPECT_EQ(closesocket(datagrams), 0);
    EXPECT_EQ(WSACleanup(), 0);
}
