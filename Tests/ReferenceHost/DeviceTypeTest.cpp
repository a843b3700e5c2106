#include "DeviceControl/DeviceType.h"

#include "Device/CaptureCmds.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeType;
using WatchedLocator = Tests::Watched<Tests::FakeLocator>;
using WatchedBuilder = Tests::Watched<Tests::FakeBuilder>;

TEST(DeviceType, KeepsItsThreeTextsApart) {
    const FakeType type;
    EXPECT_EQ(type.getCode(), L"FAK");
    EXPECT_EQ(type.getVersion(), L"1.0");
    EXPECT_EQ(type.getName(), L"Fake");
}

TEST(DeviceType, OwnsItsFactoriesAlsoIfItsConstructionFails) {
    struct FailingType : FakeType {
        FailingType(DeviceFramework1Locator* locator, DeviceBuilder* builder) : FakeType(locator, builder) {
            EXPECT_EQ(&getLocator(), locator);
            EXPECT_EQ(&getBuilder(), builder);
            throw std::runtime_error("broken");
        }
    };
    const auto token = std::make_shared<int>();
    EXPECT_THROW(FailingType(new WatchedLocator(token), new WatchedBuilder(token)), std::runtime_error);
    EXPECT_EQ(token.use_count(), 1);
    { const FakeType type(new WatchedLocator(token), new WatchedBuilder(token)); }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(DeviceType, SupportsTheHostsThreeCommands) {
    struct Other : SetCmd<image_t&> {
        using SetCmd::SetCmd;
    };
    image_t image;
    const FakeType type;
    EXPECT_TRUE(type.supports(Capture::FillMonoImage(image)));
    EXPECT_TRUE(type.supports(Capture::FillNativeImage(image)));
    EXPECT_TRUE(type.supports(SetNetworkHealthCallback({})));
    EXPECT_FALSE(type.supports(Other(image)));
    EXPECT_FALSE(type.supports(Cmd("FillMonoImage")));
}

TEST(TypeManager, KeepsTypesInTheOrderOfTheirAdditionAndForgetsTheLatestOfATypeOrAll) {
    using Types = std::vector<const DeviceType*>;
    DeviceTypeManager& manager = DeviceTypeManager::getInstance();
    const FakeType first;
    const FakeType second;
    for (const FakeType* type : {&first, &second, &first})
        manager.addDeviceType(*type);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second, &first}));
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second}));
    manager.removeDeviceType(first);
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&second})) << "what is not there is ignored";
    manager.addDeviceType(first);
    DeviceTypeManager::getInstance().clear();
    EXPECT_EQ(manager.getDeviceTypes(), Types{});
}
