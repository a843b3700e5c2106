#include "Diagnosis/Ipv4.h"
#include "Diagnosis/Rules.h"

#include <gtest/gtest.h>

#include <string>

using namespace Diagnosis;

TEST(AddressRules, TakeAddressesAndNames) {
    for (const std::string text : {"10.77.1.11", "127.0.0.1", "0.0.0.1", "223.255.255.255", "240.0.0.1",
                                   "camera-7.local", "lab_2", "a", "7up", "k\xC3\xB6ln"})
        EXPECT_EQ(verdictOnAddress(text), std::nullopt) << text;
}

TEST(AddressRules, SayWhyATextIsNone) {
    struct Row {
        std::string text;
        std::string why;
    };
    const std::string four = "is no IPv4 address: it has four numbers from 0 to 255";
    const std::string neither = "is neither an IPv4 address nor the name of a computer";
    const std::string six = "is an IPv6 address: Korva cameras have IPv4 addresses alone";
    const Row rows[] = {
        {"", "no address is given"},
        {"fe80::1", six},
        {"[::1]:32768", six},
        {"10.77.1.11:32768", "names a port: give the address alone, since a camera's ports are fixed"},
        {"http://10.77.1.11", "is a link: give the address alone"},
        {"10.77.1.0/24", "names a network: give the address of one camera"},
        {"10.77.1.11,10.77.1.12", "holds a comma: put blanks between addresses"},
        {"10.77.1", four},
        {"10.77.1.256", four},
        {"10.77.1.011", four},
        {"10.77.1.11.", four},
        {"10.77.1.1.1", four},
        {"0.0.0.0", "is no address of a camera: it stands for any"},
        {"255.255.255.255", "is no address of a camera: it stands for all"},
        {"224.0.0.1", "is no address of a camera: it stands for a group"},
        {"lab 2", neither},
        {"lab\n2", neither},
        {"-lab", neither},
        {".lab", neither},
        {std::string(254, 'a'), neither},
    };
    for (const Row& row : rows) {
        const auto verdict = verdictOnAddress(row.text);
        ASSERT_TRUE(verdict) << row.text;
        EXPECT_EQ(verdict->code, "not-an-address") << row.text;
        EXPECT_EQ(verdict->text, row.why) << row.text;
        EXPECT_EQ(verdict->address, row.text);
        EXPECT_EQ(verdict->remedy, "an IPv4 address such as 10.77.1.11, or a computer's name");
    }
}

TEST(Ipv4, KnowsNetworks) {
    EXPECT_TRUE(isInNetworkOf({"10.77.1.1", "255.255.255.0"}, "10.77.1.255"));
    EXPECT_FALSE(isInNetworkOf({"10.77.1.1", "255.255.255.0"}, "10.77.2.1"));
    EXPECT_FALSE(isInNetworkOf({"10.77.1.1", "255.255.255.252"}, "10.77.1.11"));
    EXPECT_TRUE(isInNetworkOf({"10.77.1.1", "255.255.0.0"}, "10.77.2.1"));
    EXPECT_FALSE(isInNetworkOf({"0.0.0.0", "0.0.0.0"}, "10.77.2.1"));
    EXPECT_FALSE(isInNetworkOf({"10.77.1.1", "255.255.255.0"}, "camera"));
    EXPECT_TRUE(isLinkLocal("169.254.0.1"));
    EXPECT_FALSE(isLinkLocal("169.253.0.1"));
    EXPECT_EQ(withMask({"10.77.1.1", "255.255.255.252"}), "10.77.1.1/30");
    EXPECT_EQ(withMask({"10.77.1.1", "0.0.0.0"}), "10.77.1.1/0");
    EXPECT_EQ(withMask({"10.77.1.1", "255.0.255.0"}), "10.77.1.1/255.0.255.0");
    EXPECT_EQ(ipv4Text(ipv4Number("10.77.1.255").value_or(0)), "10.77.1.255");
}
