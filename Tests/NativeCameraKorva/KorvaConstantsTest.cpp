#include "NativeCameraKorva/KorvaConstants.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using Size = Point<int, 2>;

TEST(Constants, AreTheWordsOfTheTextLanguage) {
    EXPECT_EQ(Korva::discoveryQuery, "AreThereAnyKorvaAround?");
    EXPECT_EQ(Korva::versionKeyword, "Version");
    EXPECT_EQ(Korva::hardwareKey, "--HW");
    EXPECT_EQ(Korva::softwareKey, "--SW");
    EXPECT_EQ(Korva::apiKey, "--API");
    EXPECT_EQ(Korva::serialNumberKeyword, "SerialNumber");
    EXPECT_EQ(Korva::cameraKey, "--Camera");
    EXPECT_EQ(Korva::spectroKey, "--Spectro");
    EXPECT_EQ(Korva::settingsKeyword, "--Settings");
    EXPECT_EQ(Korva::networkProtocolKey, "--NetworkProtocol");
    EXPECT_EQ(Korva::staticProtocol, "static");
    EXPECT_EQ(Korva::dhcpProtocol, "DHCP");
    EXPECT_EQ(Korva::netMaskKey, "--NetMask");
    EXPECT_EQ(Korva::netGatewayKey, "--NetGateway");
    EXPECT_EQ(Korva::modelPrefix, "Korva Meridian");
}

TEST(Constants, NameTheMinimumFirmwareAsNumbersAndAsText) {
    EXPECT_THAT(Korva::minimumSoftwareVersion, ElementsAre(3, 2, 15));
    EXPECT_EQ(Korva::minimumSoftwareVersionText, "3.2.15");
}

TEST(Constants, ListTheHardwareIdentifiersInOrder) {
    EXPECT_THAT(Korva::knownHardwareIds, ElementsAre("M61", "M615", "M62"));
}

TEST(Constants, HoldTheHalvedAndTheFullResolutions) {
    EXPECT_THAT(Korva::resolutions, ElementsAre(Pair("M61", Size(1676, 1266)), Pair("M615", Size(2748, 1836)),
                                                Pair("M62", Size(2748, 1836))));
    EXPECT_THAT(Korva::sensorResolutions,
                ElementsAre(Pair("M61", Size(3352, 2532)), Pair("M615", Size(5496, 3672)),
                            Pair("M62", Size(5496, 3672))));
    EXPECT_EQ(Korva::unknownResolution, Size(0, 0));
}

} // namespace
