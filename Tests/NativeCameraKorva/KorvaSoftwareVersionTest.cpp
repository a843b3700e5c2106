#include "NativeCameraKorva/KorvaHelper.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
    const char* version;
    bool isEnough;
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << '"' << c.version << '"';
}

class SoftwareVersion : public ::testing::TestWithParam<Case> {};

TEST_P(SoftwareVersion, IsComparedWithTheFloor) {
    EXPECT_EQ(Korva::checkSoftwareVersion(GetParam().version), GetParam().isEnough);
}

INSTANTIATE_TEST_SUITE_P(Comparison, SoftwareVersion,
                         ::testing::Values(Case{"3.2.15", true}, Case{"3.2.14", false}, Case{"3.2.16", true},
                                           Case{"3.3.0", true}, Case{"3.1.255", false}, Case{"4.0.0", true},
                                           Case{"2.99.99", false}, Case{"255.0.0", true},
                                           Case{"0.255.255", false}, Case{"3.255.0", true}));

INSTANTIATE_TEST_SUITE_P(NumberOfParts, SoftwareVersion,
                         ::testing::Values(Case{"", false}, Case{".", false}, Case{"..", false},
                                           Case{"9", false}, Case{"9.9", false}, Case{"3.2", false},
                                           Case{"9.9.", false}, Case{"3.2.15.1", false},
                                           Case{"3.2.15.", true}, Case{"3.2.15..", false},
                                           Case{".3.2.15", false}, Case{"3..20", false}, Case{"4..", false},
                                           Case{"4...", true}, Case{"4..0", true}));

INSTANTIATE_TEST_SUITE_P(LowBytes, SoftwareVersion,
                         ::testing::Values(Case{"3.2.271", true}, Case{"3.2.270", false},
                                           Case{"3.258.0", false}, Case{"3.258.15", true},
                                           Case{"256.0.0", false}, Case{"260.0.0", true},
                                           Case{"-253.2.15", true}, Case{"-1.0.0", true},
                                           Case{"3.2.-241", true}, Case{"3.2.-242", false}));

INSTANTIATE_TEST_SUITE_P(Conversion, SoftwareVersion,
                         ::testing::Values(Case{"3.2.15abc", true}, Case{"3.2.a15", false},
                                           Case{" 3.\t2.\n15", true}, Case{"3.2.15 ", true},
                                           Case{"+3.+2.+15", true}, Case{"3.2.+-15", false},
                                           Case{"3.2.- 15", false}, Case{"v4.0.0", false},
                                           Case{"0x4.0.0", false}, Case{"004.0.0", true},
                                           Case{"3,9.2.15", true}));

// The largest int ends in 255, the smallest in 0.
INSTANTIATE_TEST_SUITE_P(NumbersBeyondAnInt, SoftwareVersion,
                         ::testing::Values(Case{"3.2.2147483647", true}, Case{"3.2.2147483648", true},
                                           Case{"3.2.4294967296", true},
                                           Case{"3.2.9223372036854775808", true},
                                           Case{"3.2.99999999999999999999999999999999", true},
                                           Case{"-2147483648.2.15", false}, Case{"-2147483649.2.15", false},
                                           Case{"-99999999999999999999999999999999.2.15", false},
                                           Case{"-4294967292.2.15", false}));

TEST(SoftwareVersionText, StopsConvertingAtAZeroByte) {
    EXPECT_TRUE(Korva::checkSoftwareVersion(std::string("3.2.15\0x", 8)));
    EXPECT_FALSE(Korva::checkSoftwareVersion(std::string("3.2.\0"
                                                         "15",
                                                         7)));
}

TEST(SoftwareVersionText, MayBeOfAnyLength) {
    EXPECT_FALSE(Korva::checkSoftwareVersion(std::string(100000, '.')));
    EXPECT_TRUE(Korva::checkSoftwareVersion(std::string(100000, '9') + ".0.0"));
}

} // namespace
