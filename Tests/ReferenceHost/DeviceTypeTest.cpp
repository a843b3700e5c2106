#include "DeviceControl/DeviceType.h"

#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeBuilder;
using Tests::FakeLocator;
using Tests::FakeType;

namespace {

class TypeManager : public testing::Test {
protected:
    void SetUp() override { manager.clear(); }
    void TearDown() override { manager.clear(); }

    DeviceTypeManager& manager = DeviceTypeManager::getInstance();
    const FakeType first;
    const FakeType second;
};

using Types = std::vector<const DeviceType*>;

} // namespace

TEST(DeviceType, KeepsItsThreeTextsApart) {
    const FakeType type;
    EXPECT_EQ(type.getCode(), L"FAK");
    EXPECT_EQ(type.getVersion(), L"1.0");
    EXPECT_EQ(type.getName(), L"Fake");
}

TEST(DeviceType, OwnsItsFactories) {
    int locatorsGone = 0;
    int buildersGone = 0;
    {
        auto* const locator = new FakeLocator(&locatorsGone);
        auto* const builder = new FakeBuilder(&buildersGone);
        const FakeType type(locator, builder);
        EXPECT_EQ(&type.getLocator(), locator);
        EXPECT_EQ(&type.getBuilder(), builder);
        EXPECT_EQ(locatorsGone + buildersGone, 0);
    }
    EXPECT_EQ(locatorsGone, 1);
    EXPECT_EQ(buildersGone, 1);
}

TEST(DeviceType, WhoseConstructionFailsReleasesItsFactories) {
    class FailingType : public FakeType {
    public:
        using FakeType::FakeType;
        static const FailingType& make(int* gone) {
            static const FailingType type(gone);
            return type;
        }
        explicit FailingType(int* gone) : FakeType(new FakeLocator(gone), new FakeBuilder(gone)) {
            throw std::runtime_error("broken");
        }
    };
    int gone = 0;
    EXPECT_THROW(FailingType::make(&gone), std::runtime_error);
    EXPECT_EQ(gone, 2);
}

TEST(DeviceType, SupportsTheHostsThreeCommands) {
    class Other : public SetCmd<image_t&> {
    public:
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

TEST_F(TypeManager, KeepsTypesInTheOrderOfTheirAddition) {
    EXPECT_EQ(manager.getDeviceTypes(), Types{});
    manager.addDeviceType(second);
    manager.addDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&second, &first}));
}

TEST_F(TypeManager, AddsATypeAsOftenAsItIsAskedTo) {
    manager.addDeviceType(first);
    manager.addDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &first}));
}

TEST_F(TypeManager, ForgetsTheLatestAdditionOfAType) {
    manager.addDeviceType(first);
    manager.addDeviceType(second);
    manager.addDeviceType(first);
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second}));
    manager.removeDeviceType(first);
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&second})) << "what is not there is ignored";
}

TEST_F(TypeManager, ForgetsAll) {
    manager.addDeviceType(first);
    manager.addDeviceType(second);
    manager.clear();
    EXPECT_EQ(manager.getDeviceTypes(), Types{});
}

TEST_F(TypeManager, IsOne) {
    EXPECT_EQ(&DeviceTypeManager::getInstance(), &manager);
}
