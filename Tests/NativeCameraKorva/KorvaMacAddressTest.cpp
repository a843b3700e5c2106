#include "NativeCameraKorva/KorvaIdentification.h"

#include "Support/DigitsApart.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "World/Calls.h"
#include "World/Network.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::LogText;
using World::Calls;
using World::Network;

struct MacAddress : ::testing::Test {
    TestSupport::LogCapture log{"Plenar.KorvaCamera.KorvaCapture", log4cxx::Level::getInfo()};

    MacAddress() { World::reset(); }
    ~MacAddress() override { TestSupport::expectFrom(log, "KorvaHelper"); }

    static void answer(std::string bytes) { Network::current().arp["10.0.0.5"] = {std::move(bytes)}; }
    static void answer(std::string bytes, ULONG length) {
        Network::current().arp["10.0.0.5"] = {std::move(bytes), NO_ERROR, length};
    }
    static void refuse(int code) { Calls::current().fail("SendARP", code); }
};

TEST_F(MacAddress, IsSixPairsInLowerCaseJoinedByHyphens) {
    answer(std::string("\x00\x1A\x2B\x3C\x4D\xFE", 6));
    const auto macAddress = [] {
        const TestSupport::DigitsApart locale; // which the text does not follow
        return Korva::getKorvaMacAddress("10.0.0.5");
    };
    EXPECT_EQ(macAddress(), "00-1a-2b-3c-4d-fe");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MacAddress, HasALeadingZeroInEachPair) {
    answer("\x0A\x01\x0F\x10\x02\x03");
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "0a-01-0f-10-02-03");
}

TEST_F(MacAddress, IsAskedForFromAnySourceWithAFilledBuffer) {
    answer("\x01\x02\x03\x04\x05\x06");
    Korva::getKorvaMacAddress("10.0.0.5");
    EXPECT_THAT(Calls::current().lines(),
                ElementsAre("inet_pton 2, 10.0.0.5", "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>"));
}

TEST_F(MacAddress, HasAsManyPairsAsTheSystemTells) {
    answer("\x01\x02\x03\x04\x05\x06", 4);
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "01-02-03-04");
    answer("\x01\x02\x03\x04\x05\x06", 1);
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "01");
    answer("\x01\x02\x03\x04\x05\x06", 0);
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "");
    answer("\x01\x02\x03\x04\x05\x06\x07\x08");
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "01-02-03-04-05-06-07-08");
}

TEST_F(MacAddress, ShowsTheFillingWhereTheSystemWritesLessThanItTells) {
    answer("\x01\x02", 6);
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "01-02-ff-ff-ff-ff");
}

TEST_F(MacAddress, IsBoundedByItsBufferOfEightBytes) {
    for (const ULONG length : {9u, 1000u, 4294967295u}) {
        answer("\x01\x02\x03\x04\x05\x06", length);
        EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "01-02-03-04-05-06-00-00");
    }
}

TEST_F(MacAddress, IsZerosAndAWarningWhereTheSystemFindsNone) {
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "00-00-00-00-00-00");
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"WARN", "Couldn't retrieve MAC address with ARP call: error: 67"}));
    EXPECT_EQ(log.lines().at(0).file, "BackEnd/NativeCameraKorva/KorvaHelper");
}

TEST_F(MacAddress, NamesTheCodeAsAnUnsignedNumber) {
    refuse(-1);
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "00-00-00-00-00-00");
    EXPECT_THAT(log.texts(), ElementsAre(LogText{
                                 "WARN", "Couldn't retrieve MAC address with ARP call: error: 4294967295"}));
}

TEST_F(MacAddress, DoesNotDependOnTheLog) {
    log.setLevel(log4cxx::Level::getError());
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), "00-00-00-00-00-00");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MacAddress, AsksForTheZeroAddressWhereTheTextIsNone) {
    for (const char* text : {"", "camera", "10.0.0", "10.0.0.5x", "::1"}) {
        World::reset();
        EXPECT_EQ(Korva::getKorvaMacAddress(text), "00-00-00-00-00-00");
        EXPECT_THAT(Calls::current().of("SendARP"), ElementsAre("SendARP 0.0.0.0, 0.0.0.0, <ffffffffffff>"));
    }
}

TEST_F(MacAddress, TakesAnAnswerForTheZeroAddressAsItComes) {
    Network::current().arp["0.0.0.0"] = {"\x01\x02\x03\x04\x05\x06"};
    EXPECT_EQ(Korva::getKorvaMacAddress("camera"), "01-02-03-04-05-06");
}

} // namespace
