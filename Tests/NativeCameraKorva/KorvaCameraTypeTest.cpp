// The camera type over base classes that tell when they are made. What comes of it where it cannot be made is
// shown by the registration whose allocations fail.

#include "NativeCameraKorva/KorvaCameraType.h"

#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// The base classes that were made, in order.
std::vector<std::string> made;

} // namespace

// These stand before the host's constructors, and go on to them.
void hostsBuilder(DeviceBuilder*) asm("__real__ZN13DeviceBuilderC2Ev");
void notedBuilder(DeviceBuilder*) asm("__wrap__ZN13DeviceBuilderC2Ev");
void hostsLocator(DeviceFramework1Locator*) asm("__real__ZN23DeviceFramework1LocatorC2Ev");
void notedLocator(DeviceFramework1Locator*) asm("__wrap__ZN23DeviceFramework1LocatorC2Ev");

void notedBuilder(DeviceBuilder* builder) {
    made.emplace_back("builder");
    hostsBuilder(builder);
}
void notedLocator(DeviceFramework1Locator* locator) {
    made.emplace_back("locator");
    hostsLocator(locator);
}

namespace {

TEST(CameraType, HasItsThreeTextsNoVariantsAndABuilderThatIsMadeBeforeTheLocator) {
    const KorvaCameraType type;
    EXPECT_EQ(type.getCode(), L"KRV");
    EXPECT_EQ(type.getVersion(), L"1.0");
    EXPECT_EQ(type.getName(), L"Korva");
    EXPECT_EQ(type.getVariants().capacity(), 0u);
    EXPECT_NE(dynamic_cast<KorvaCameraLocator*>(&type.getLocator()), nullptr);
    EXPECT_NE(dynamic_cast<KorvaCameraBuilder*>(&type.getBuilder()), nullptr);
    EXPECT_EQ(made, (std::vector<std::string>{"builder", "locator"}));
}

TEST(CameraType, IsTheSameAsAnyOfItsClassOnly) {
    const KorvaCameraType type;
    const KorvaCameraType another;
    struct OtherType final : NativeCameraType {
        OtherType() : NativeCameraType(L"KRV", L"1.0", L"Korva", nullptr, nullptr) {}
        std::vector<std::wstring> getVariants() const override { return {}; }
        bool isSameType(const DeviceType* other) const override { return other == this; }
    };
    const OtherType other;
    EXPECT_TRUE(type.isSameType(&type));
    EXPECT_TRUE(type.isSameType(&another));
    EXPECT_FALSE(type.isSameType(&other));
    EXPECT_FALSE(type.isSameType(nullptr));
    EXPECT_TRUE(static_cast<const DeviceType&>(type).isSameType(&another));
}

} // namespace
