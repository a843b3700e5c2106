// The camera type over base classes that tell when they are made, and fail when told to.

#include "NativeCameraKorva/KorvaCameraType.h"

#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

/// What the base classes did, in order.
std::vector<std::string> events;
std::string failAt;

void note(const std::string& event) {
    events.push_back(event);
    if (event == failAt)
        throw std::runtime_error("no " + event);
}

} // namespace

// The host's, replaced in this program.
DeviceBuilder::DeviceBuilder() {
    note("builder");
}
DeviceBuilder::~DeviceBuilder() {
    events.emplace_back("~builder");
}
DeviceFramework1Locator::DeviceFramework1Locator() {
    note("locator");
}
DeviceFramework1Locator::~DeviceFramework1Locator() {
    events.emplace_back("~locator");
}
NativeCameraType::NativeCameraType(const std::wstring& code, const std::wstring& version,
                                   const std::wstring& name, DeviceFramework1Locator* locator,
                                   DeviceBuilder* builder)
    : DeviceType(code, version, name, locator, builder) {
    note("type");
}

namespace {

struct CameraType : ::testing::Test {
    CameraType() {
        events.clear();
        failAt.clear();
    }
    ~CameraType() override { failAt.clear(); }
};

/// Another family.
struct OtherType final : NativeCameraType {
    OtherType() : NativeCameraType(L"KRV", L"1.0", L"Korva", nullptr, nullptr) {}
    std::vector<std::wstring> getVariants() const override { return {}; }
    bool isSameType(const DeviceType* other) const override { return other == this; }
};

TEST_F(CameraType, HasItsThreeTextsAndFactoriesAndNoVariants) {
    const KorvaCameraType type;
    EXPECT_EQ(type.getCode(), L"KRV");
    EXPECT_EQ(type.getVersion(), L"1.0");
    EXPECT_EQ(type.getName(), L"Korva");
    EXPECT_NE(dynamic_cast<KorvaCameraLocator*>(&type.getLocator()), nullptr);
    EXPECT_NE(dynamic_cast<KorvaCameraBuilder*>(&type.getBuilder()), nullptr);
    EXPECT_EQ(type.getVariants().capacity(), 0u);
}

TEST_F(CameraType, IsMadeOfBuilderAndLocatorAndLeavesNothingOfThemWhereOneCannotBeMade) {
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"", {"builder", "locator", "type", "~builder", "~locator"}},
        {"builder", {"builder"}},
        {"locator", {"builder", "locator", "~builder"}},
        {"type", {"builder", "locator", "type", "~builder", "~locator"}},
    };
    for (const auto& [place, expected] : rows) {
        events.clear();
        failAt = place;
        bool isMade = true;
        try {
            const KorvaCameraType type;
        } catch (const std::runtime_error&) {
            isMade = false;
        }
        EXPECT_EQ(isMade, failAt.empty());
        EXPECT_EQ(events, expected) << place;
    }
}

TEST_F(CameraType, IsTheSameAsAnyOfItsClassOnly) {
    const KorvaCameraType type;
    const KorvaCameraType another;
    const OtherType other;
    EXPECT_TRUE(type.isSameType(&type));
    EXPECT_TRUE(type.isSameType(&another));
    EXPECT_FALSE(type.isSameType(&other));
    EXPECT_FALSE(type.isSameType(nullptr));
    EXPECT_TRUE(static_cast<const DeviceType&>(type).isSameType(&another));
}

/// Whether three calls, of which the first two fail, did as they should.
int askThreeTimes() {
    int failures = 0;
    for (const char* const place : {"locator", "type", ""}) {
        failAt = place;
        try {
            static_cast<void>(getKorvaCameraType());
        } catch (const std::runtime_error&) {
            ++failures;
        }
    }
    const bool isKept = &getKorvaCameraType() == &getKorvaCameraType();
    return failures == 2 && isKept && std::count(events.begin(), events.end(), "type") == 2 ? 0 : 1;
}

TEST_F(CameraType, IsTriedAgainByTheNextCallWhereItCouldNotBeMade) {
    // In a process of its own: here somebody may have asked for the type already.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(askThreeTimes()), ::testing::ExitedWithCode(0), "");
}

} // namespace
