#include "IdentificationFixture.h"

#include "Support/DigitsApart.h"

#include <optional>

namespace IdentificationTests {
namespace {

using namespace std::string_literals;

constexpr char zeros[] = "00-00-00-00-00-00";

struct MacAddress : Identification {
    /// Of a camera for which ARP answers those bytes and, if it is another, that length.
    std::string where(const std::string& bytes, std::optional<ULONG> length = std::nullopt) {
        world.network.arp["10.0.0.5"] = {bytes, NO_ERROR, length};
        return Korva::getKorvaMacAddress("10.0.0.5");
    }
};

TEST_F(MacAddress, IsSixPairsInLowerCaseJoinedByHyphens) {
    std::string address;
    {
        const TestSupport::DigitsApart locale; // which the text does not follow
        address = where("\x00\x1A\x2B\x0C\x4D\xFE"s);
    }
    EXPECT_EQ(address, "00-1a-2b-0c-4d-fe");
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(world.calls.lines().back(), "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>");
}

TEST_F(MacAddress, HasAsManyPairsAsTheSystemTellsAndAtMostEight) {
    const std::string six = "\x01\x02\x03\x04\x05\x06";
    EXPECT_EQ(where(six, 4), "01-02-03-04");
    EXPECT_EQ(where(six, 1), "01");
    EXPECT_EQ(where(six, 0), "");
    EXPECT_EQ(where(six + "\x07\x08"), "01-02-03-04-05-06-07-08");
    EXPECT_EQ(where("\x01\x02", 6), "01-02-ff-ff-ff-ff") << "the system writes less than it tells";
    for (const ULONG length : {9u, 1000u, 4294967295u})
        EXPECT_EQ(where(six, length), "01-02-03-04-05-06-00-00");
}

TEST_F(MacAddress, IsZerosAndAWarningWithTheUnsignedCodeWhereTheSystemFindsNone) {
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), zeros);
    world.calls.fail("SendARP", -1);
    EXPECT_EQ(where("\x01\x02\x03\x04\x05\x06"), zeros);
    const std::string warning = "Couldn't retrieve MAC address with ARP call: error: ";
    EXPECT_THAT(log.texts(), ElementsAre(warn(warning + "67"), warn(warning + "4294967295")));
    log.turnOff();
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.6"), zeros);
}

TEST_F(MacAddress, AsksForTheZeroAddressWhereTheTextIsNone) {
    world.network.arp["0.0.0.0"] = {"\x01\x02\x03\x04\x05\x06"};
    for (const char* text : {"", "camera", "10.0.0", "10.0.0.5x", "::1"}) {
        EXPECT_EQ(Korva::getKorvaMacAddress(text), "01-02-03-04-05-06");
        EXPECT_EQ(world.calls.lines().back(), "SendARP 0.0.0.0, 0.0.0.0, <ffffffffffff>");
    }
}

} // namespace
} // namespace IdentificationTests
