#include "NativeCameraKorva/KorvaHelper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

void expectAll(const Texts& versions, bool isEnough) {
    for (const std::string& version : versions)
        EXPECT_EQ(Korva::checkSoftwareVersion(version), isEnough) << '"' << version << '"';
}

TEST(SoftwareVersion, IsComparedWithTheFloor) {
    expectAll({"3.2.15", "3.2.16", "3.3.0", "4.0.0", "255.0.0", "3.255.0"}, true);
    expectAll({"3.2.14", "3.1.255", "2.99.99", "0.255.255"}, false);
}

TEST(SoftwareVersion, HasThreePartsAndAtMostOnePointBehindThem) {
    expectAll({"3.2.15.", "4...", "4..0"}, true);
    expectAll({"", ".", "..", "9", "9.9", "3.2", "9.9.", "3.2.15.1", "3.2.15..", ".3.2.15", "3..20", "4.."},
              false);
}

TEST(SoftwareVersion, CountsByTheLowByteOfEachPart) {
    expectAll({"3.2.271", "3.258.15", "260.0.0", "-253.2.15", "-1.0.0", "3.2.-241"}, true);
    expectAll({"3.2.270", "3.258.0", "256.0.0", "3.2.-242"}, false);
}

TEST(SoftwareVersion, IsConvertedUpToTheFirstCharacterThatIsNoDigit) {
    const std::string zeroInside("3.2.\0"
                                 "15",
                                 7);
    expectAll({"3.2.15abc", " 3.\t2.\n15", "3.2.15 ", "+3.+2.+15", "004.0.0", "3,9.2.15",
               std::string("3.2.15\0x", 8)},
              true);
    expectAll({"3.2.a15", "3.2.+-15", "3.2.- 15", "v4.0.0", "0x4.0.0", zeroInside}, false);
}

// The largest int ends in 255, the smallest in 0.
TEST(SoftwareVersion, OfNumbersBeyondAnIntIsThatOfTheLargestOrTheSmallest) {
    expectAll({"3.2.2147483647", "3.2.2147483648", "3.2.4294967296", "3.2.9223372036854775808",
               "3.2.99999999999999999999999999999999"},
              true);
    expectAll({"-2147483648.2.15", "-2147483649.2.15", "-4294967292.2.15",
               "-99999999999999999999999999999999.2.15"},
              false);
}

TEST(SoftwareVersionText, MayBeOfAnyLength) {
    expectAll({std::string(100000, '9') + ".0.0"}, true);
    expectAll({std::string(100000, '.')}, false);
}

} // namespace
