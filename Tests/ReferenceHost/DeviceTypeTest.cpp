#include "DeviceControl/DeviceType.h"

#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <memory>
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
    const auto token = std::make_shared<int>();
    {
        auto* const locator = new FakeLocator(token);
        auto* const builder = new FakeBuilder(token);
        const FakeType type(locator, builder);
        EXPECT_EQ(&type.getLocator(), locator);
        EXPECT_EQ(&type.getBuilder(), builder);
        EXPECT_EQ(token.use_count(), 3);
    }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(DeviceType, WhoseConstructionFailsReleasesItsFactories) {
    struct FailingType : FakeType {
        explicit FailingType(const Tests::Token& token)
            : FakeType(new FakeLocator(token), new FakeBuilder(token)) {
            throw std::runtime_error("broken");
        }
    };
    const auto token = std::make_shared<int>();
    EXPECT_THROW(const FailingType type(token), std::runtime_error);
    EXPECT_EQ(token.use_count(), 1);
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

TEST_F(TypeManager, KeepsTypesInTheOrderOfTheirAdditionAndForgetsTheLatestOfAType) {
    EXPECT_EQ(manager.getDeviceTypes(), Types{});
    for (const FakeType* type : {&first, &second, &first})
        manager.addDeviceType(*type);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second, &first}));
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&first, &second}));
    manager.removeDeviceType(first);
    manager.removeDeviceType(first);
    EXPECT_EQ(manager.getDeviceTypes(), (Types{&second})) << "what is not there is ignored";
}

TEST_F(TypeManager, IsOneAndForgetsAll) {
    manager.addDeviceType(first);
    manager.addDeviceType(second);
    DeviceTypeManager::getInstance().clear();
    EXPECT_EQ(manager.getDeviceTypes(), Types{});
}
