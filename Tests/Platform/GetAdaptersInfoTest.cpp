#include "Platform/IpHelper.h"

#include "Support/NetworkNamespace.h"

#include <array>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

using testing::ElementsAre;
using TestSupport::NetworkNamespace;

namespace {

constexpr ULONG spareBytes = 16 * sizeof(IP_ADAPTER_INFO);

/// The size that a caller without a buffer is told.
ULONG toldSize() {
    ULONG bytes = 0;
    EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), ERROR_BUFFER_OVERFLOW);
    return bytes;
}

/// The list as callers get it: its size first, then the data.
class AdapterList {
public:
    explicit AdapterList(ULONG bytes = toldSize()) : buffer_(bytes) {
        EXPECT_EQ(GetAdaptersInfo(first(), &bytes), NO_ERROR);
        EXPECT_LE(bytes, buffer_.size());
    }

    IP_ADAPTER_INFO* first() { return reinterpret_cast<IP_ADAPTER_INFO*>(buffer_.data()); }

    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (const IP_ADAPTER_INFO* each = first(); each != nullptr; each = each->Next)
            all.emplace_back(each->AdapterName);
        return all;
    }

private:
    std::vector<char> buffer_;
};

/// "ADDRESS/MASK" of each entry.
std::vector<std::string> textsOf(const IP_ADDR_STRING& list) {
    std::vector<std::string> all;
    for (const IP_ADDR_STRING* each = &list; each != nullptr; each = each->Next)
        all.push_back(std::string(each->IpAddress.String) + "/" + each->IpMask.String);
    return all;
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
    machine.run("ip link add down0 type bridge; ip addr add 10.1.0.1/24 dev down0;"
                "ip link add bare0 type bridge; ip link set bare0 up;"
                "ip link add six0 type bridge; ip link set six0 up; ip addr add fd00::1/64 dev six0;"
                "ip link add up0 type bridge; ip addr add 10.2.0.1/24 dev up0; ip link set up0 up");
    EXPECT_THAT(AdapterList().names(), ElementsAre("up0"));
}

TEST(GetAdaptersInfo, TellsWhoAnAdapterIs) {
    const NetworkNamespace machine;
    machine.run("ip link add left0 index 7 address 02:00:5e:10:20:f0 type veth peer name right0;"
                "ip addr add 10.77.1.2/20 dev left0; ip link set left0 up");
    AdapterList list;
    const IP_ADAPTER_INFO& adapter = *list.first();
    EXPECT_EQ(adapter.Next, nullptr);
    EXPECT_STREQ(adapter.AdapterName, "left0");
    EXPECT_STREQ(adapter.Description, "left0");
    EXPECT_EQ(adapter.Index, 7U);
    EXPECT_EQ(adapter.Type, MIB_IF_TYPE_ETHERNET);
    EXPECT_EQ(adapter.AddressLength, 6U);
    EXPECT_EQ(std::memcmp(adapter.Address, "\x02\x00\x5e\x10\x20\xf0\0\0", 8), 0);
    EXPECT_THAT(textsOf(adapter.IpAddressList), ElementsAre("10.77.1.2/255.255.240.0"));
    EXPECT_THAT(textsOf(adapter.GatewayList), ElementsAre("0.0.0.0/0.0.0.0"));
}

TEST(GetAdaptersInfo, ListsEveryAdapterWithItsAddressesInOrder) {
    const NetworkNamespace machine;
    machine.run("ip link add one0 type bridge; ip link set one0 up; ip addr add 10.1.0.1/24 dev one0;"
                "ip link add two0 type bridge; ip link set two0 up; ip addr add 10.2.0.1/16 dev two0;"
                "ip addr add 10.2.0.2/16 dev two0 label two0:b; ip addr add 192.168.5.1/30 dev two0;"
                "ip link add three0 type bridge; ip link set three0 up; ip addr add 10.3.0.1/32 dev three0");
    AdapterList list;
    EXPECT_THAT(list.names(), ElementsAre("one0", "two0", "three0"));
    EXPECT_THAT(textsOf(list.first()->IpAddressList), ElementsAre("10.1.0.1/255.255.255.0"));
    EXPECT_THAT(textsOf(list.first()->Next->IpAddressList),
                testing::UnorderedElementsAre("10.2.0.1/255.255.0.0", "10.2.0.2/255.255.0.0",
                                              "192.168.5.1/255.255.255.252"));
    EXPECT_STREQ(list.first()->Next->IpAddressList.IpAddress.String, "10.2.0.1");
    EXPECT_THAT(textsOf(list.first()->Next->Next->IpAddressList), ElementsAre("10.3.0.1/255.255.255.255"));
}

TEST(GetAdaptersInfo, TouchesNothingOfABufferThatIsTooSmall) {
    const NetworkNamespace machine;
    machine.run("ip link add one0 type bridge; ip link set one0 up; ip addr add 10.1.0.1/24 dev one0;"
                "ip addr add 10.1.0.2/24 dev one0");
    constexpr ULONG needed = sizeof(IP_ADAPTER_INFO) + sizeof(IP_ADDR_STRING);
    EXPECT_EQ(toldSize(), needed + spareBytes);
    std::vector<char> buffer(needed, 'x');
    auto* const list = reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data());
    ULONG bytes = needed - 1;
    EXPECT_EQ(GetAdaptersInfo(list, &bytes), 111U);
    EXPECT_EQ(bytes, needed + spareBytes);
    EXPECT_THAT(buffer, testing::Each('x'));
    bytes = needed;
    EXPECT_EQ(GetAdaptersInfo(list, &bytes), NO_ERROR);
    EXPECT_EQ(bytes, needed);
}

/// Adapters from `first` to `last`, each with an address.
std::string adaptersFrom(int first, int last) {
    std::string commands;
    for (int number = first; number <= last; ++number) {
        const std::string name = "test" + std::to_string(number);
        commands += "ip link add " + name + " type bridge; ip link set " + name + " up; ip addr add 10." +
                    std::to_string(number) + ".0.1/24 dev " + name + ";";
    }
    return commands;
}

TEST(GetAdaptersInfo, HasRoomForSixteenAdaptersThatAppearBetweenTheTwoCallsAndTellsTheSizeForMore) {
    const NetworkNamespace machine;
    machine.run(adaptersFrom(1, 1));
    const ULONG told = toldSize();
    machine.run(adaptersFrom(2, 17));
    const std::vector<std::string> names = AdapterList(told).names();
    EXPECT_EQ(names.size(), 17U);
    EXPECT_EQ(names.back(), "test17");
    machine.run(adaptersFrom(18, 18));
    ULONG bytes = told;
    std::vector<char> buffer(bytes);
    EXPECT_EQ(GetAdaptersInfo(reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data()), &bytes), 111U);
    EXPECT_EQ(bytes, 18 * sizeof(IP_ADAPTER_INFO) + spareBytes);
    EXPECT_EQ(AdapterList(bytes).names().size(), 18U);
}
