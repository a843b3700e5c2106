#include "NativeCameraKorva/KorvaConstants.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using Size = Point<int, 2>;

// The other constants are those that the tests of the identification and the search meet.
TEST(Constants, IncludeThoseThatNothingUses) {
    EXPECT_EQ(Korva::spectroKey, "--Spectro");
    EXPECT_EQ(Korva::staticProtocol, "static");
    EXPECT_EQ(Korva::dhcpProtocol, "DHCP");
    EXPECT_THAT(Korva::sensorResolutions,
                ElementsAre(Pair("M61", Size(3352, 2532)), Pair("M615", Size(5496, 3672)),
                            Pair("M62", Size(5496, 3672))));
}

TEST(Constants, HaveARowForEachKnownModel) {
    EXPECT_THAT(Korva::knownHardwareIds, ElementsAre("M61", "M615", "M62"));
    EXPECT_THAT(Korva::resolutions, ElementsAre(Pair("M61", Size(1676, 1266)), Pair("M615", Size(2748, 1836)),
                                                Pair("M62", Size(2748, 1836))));
}

} // namespace
