#include "ReferenceHost/PluginLibrary.h"

#include "Communicator/DeviceException.h"
#include "Device/Exceptions.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"
#include "Platform/DynamicLibrary.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestSystem.h"

#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using namespace Tolvane::DeviceFramework2::Device;
using ReferenceHost::PluginException;
using ReferenceHost::PluginLibrary;
using testing::StartsWith;
using TestSupport::isLoaded;

namespace {

using Types = std::vector<const DeviceType*>;

Types registeredTypes() {
    return DeviceTypeManager::getInstance().getDeviceTypes();
}

/// Why a plug-in is not loaded or initialised for that version, and what is said; the test fails where it is.
std::pair<PluginException::Reason, std::string> failureOf(const std::string& path, int version = 1) {
    try {
        PluginLibrary library(path);
        library.initialize(version);
    } catch (const PluginException& exception) {
        return {exception.getReason(), exception.what()};
    }
    throw std::logic_error("nothing failed");
}

} // namespace

TEST(PluginLibrary, RegistersItsTypesBesideThoseOfOthersAndIsMappedUntilItGoes) {
    const Tests::FakeType own;
    DeviceTypeManager::getInstance().addDeviceType(own);
    for (int i = 0; i < 100; ++i) {
        {
            PluginLibrary first(TEST_PLUGIN);
            EXPECT_EQ(registeredTypes(), Types{&own}) << "loading registers nothing";
            first.initialize();
            ASSERT_EQ(first.getDeviceTypes().size(), 1u);
            EXPECT_EQ(first.getDeviceTypes()[0]->getCode(), L"FAK");
            {
                PluginLibrary second(TEST_PLUGIN);
                second.initialize();
                EXPECT_EQ(registeredTypes().size(), 3u);
            }
            EXPECT_EQ(registeredTypes(), (Types{&own, first.getDeviceTypes()[0]}));
            EXPECT_TRUE(isLoaded(TEST_PLUGIN));
        }
        EXPECT_EQ(registeredTypes(), Types{&own});
        EXPECT_FALSE(isLoaded(TEST_PLUGIN));
    }
    DeviceTypeManager::getInstance().removeDeviceType(own);
}

TEST(PluginLibrary, ThatIsMissingNoLibraryOrSearchedForIsNotLoadable) {
    const TestSupport::TemporaryFolder folder;
    const std::string text = folder.file("no-library.so");
    std::ofstream(text) << "This is a text.";
    for (const std::string& path : {std::string("no/such/plugin.so"), text, std::string("libc.so.6")}) {
        const auto [reason, message] = failureOf(path);
        EXPECT_EQ(reason, PluginException::Reason::notLoadable);
        EXPECT_THAT(message, StartsWith("The plug-in " + path + " cannot be loaded: "));
        EXPECT_EQ(message.find("No such file") == std::string::npos, path == text) << message;
    }
}

TEST(PluginLibrary, WithoutEntryPointOrOfAnotherVersionIsNoneAndRegistersNothing) {
    using Reason = PluginException::Reason;
    EXPECT_EQ(failureOf(NO_PLUGIN),
              std::pair(Reason::noEntryPoint,
                        std::string(NO_PLUGIN) +
                            " is no device plug-in: it has no entry point pnx_initialize_device_plugin"));
    EXPECT_FALSE(isLoaded(NO_PLUGIN));
    EXPECT_EQ(failureOf(TEST_PLUGIN, 2),
              std::pair(Reason::versionRefused,
                        std::string("The plug-in ") + TEST_PLUGIN +
                            " refuses version 2 of the plug-in interface: its entry point returned -1"));
    EXPECT_TRUE(registeredTypes().empty());
}

TEST(PluginLibrary, GivesWhatTheHostCastsAndThrowsWhatTheHostCatches) {
    PluginLibrary plugin(TEST_PLUGIN);
    plugin.initialize();
    const DeviceBuilder& builder = plugin.getDeviceTypes().at(0)->getBuilder();
    Tests::FakeCommunicator communicator;
    const std::unique_ptr<::Device> device(builder.build(&communicator));
    INativeCamera* const inner = &dynamic_cast<NativeCamera&>(*device);
    EXPECT_EQ(dynamic_cast<::Device*>(inner), device.get());
    EXPECT_EQ(dynamic_cast<BaseDevice*>(inner), static_cast<BaseDevice*>(device.get()));
    const auto knock = std::make_shared<Tests::Knock>();
    EXPECT_THROW(device->execInternal(knock, {}), Exceptions::IncorrectCommandTypeException);
    EXPECT_THROW(device->execAsync(knock, {}).get(), Exceptions::DeviceException);
    try {
        builder.build(static_cast<Communicator*>(nullptr));
        FAIL() << "nothing was thrown";
    } catch (const ::DeviceException& exception) {
        EXPECT_EQ(exception.getDescription(), L"no communicator @ TestPlugin:5");
    }
}

TEST(DynamicLibrary, KeepsItsSymbolsToItselfAndMakesRoomForTheNext) {
    Platform::DynamicLibrary library;
    EXPECT_EQ(library.find("answerOfNoPlugin"), nullptr) << "nothing is loaded";
    ASSERT_EQ(library.load(NO_PLUGIN), "");
    EXPECT_TRUE(library.isLoaded());
    EXPECT_NE(library.find("answerOfNoPlugin"), nullptr);
    EXPECT_FALSE(TestSupport::isSeenByAll("answerOfNoPlugin"));
    EXPECT_NE(library.load("no/such/library.so"), "");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_FALSE(isLoaded(NO_PLUGIN));
    library.unload();
}
