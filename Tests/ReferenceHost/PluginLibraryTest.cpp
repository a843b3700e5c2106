#include "ReferenceHost/PluginLibrary.h"

#include "Device/Exceptions.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"
#include "Platform/DynamicLibrary.h"
#include "Support/TemporaryFolder.h"

#include <dlfcn.h>
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

namespace {

using Types = std::vector<const DeviceType*>;

Types registeredTypes() {
    return DeviceTypeManager::getInstance().getDeviceTypes();
}

bool isMapped(const char* path) {
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr)
        dlclose(handle);
    return handle != nullptr;
}

/// Why, and what it says: of what fails with a PluginException, which the test fails without.
template <typename Action>
std::pair<PluginException::Reason, std::string> failureOf(Action action) {
    try {
        action();
    } catch (const PluginException& exception) {
        return {exception.getReason(), exception.what()};
    }
    throw std::logic_error("nothing failed");
}

auto failureOfLoading(const std::string& path) {
    return failureOf([&] { const PluginLibrary library(path); });
}

/// The test's plug-in, ready.
class LoadedPlugin : public testing::Test {
protected:
    LoadedPlugin() { plugin.initialize(); }

    const DeviceBuilder& builder() const { return plugin.getDeviceTypes().at(0)->getBuilder(); }

    std::unique_ptr<Device> builtCamera() const {
        Tests::FakeCommunicator communicator;
        return std::unique_ptr<Device>(builder().build(&communicator));
    }

    PluginLibrary plugin{TEST_PLUGIN};
};

} // namespace

TEST(PluginLibrary, RegistersItsTypesAndIsMappedUntilItGoes) {
    const Types before = registeredTypes();
    for (int i = 0; i < 100; ++i) {
        {
            PluginLibrary library(TEST_PLUGIN);
            EXPECT_EQ(registeredTypes(), before) << "loading registers nothing";
            library.initialize();
            ASSERT_EQ(library.getDeviceTypes().size(), 1u);
            EXPECT_EQ(library.getDeviceTypes()[0]->getCode(), L"FAK");
            EXPECT_EQ(registeredTypes().back(), library.getDeviceTypes()[0]);
            EXPECT_TRUE(isMapped(TEST_PLUGIN));
        }
        EXPECT_EQ(registeredTypes(), before);
        EXPECT_FALSE(isMapped(TEST_PLUGIN));
    }
}

TEST(PluginLibrary, LeavesTheTypesOfOthersAlone) {
    const Tests::FakeType own;
    DeviceTypeManager::getInstance().addDeviceType(own);
    {
        PluginLibrary first(TEST_PLUGIN);
        first.initialize();
        {
            PluginLibrary second(TEST_PLUGIN);
            second.initialize();
            EXPECT_EQ(registeredTypes().size(), 3u);
        }
        EXPECT_EQ(registeredTypes(), (Types{&own, first.getDeviceTypes()[0]}));
    }
    EXPECT_EQ(registeredTypes(), Types{&own});
    DeviceTypeManager::getInstance().removeDeviceType(own);
}

TEST(PluginLibrary, ThatIsMissingNoLibraryOrSearchedForIsNotLoadable) {
    const TestSupport::TemporaryFolder folder;
    const std::string text = folder.file("no-library.so");
    std::ofstream(text) << "This is a text.";
    for (const std::string& path : {std::string("no/such/plugin.so"), text, std::string("libc.so.6")}) {
        const auto [reason, message] = failureOfLoading(path);
        EXPECT_EQ(reason, PluginException::Reason::notLoadable);
        EXPECT_THAT(message, StartsWith("The plug-in " + path + " cannot be loaded: "));
        EXPECT_EQ(message.find("No such file") == std::string::npos, path == text) << message;
    }
}

TEST(PluginLibrary, WithoutEntryPointIsNoPlugin) {
    EXPECT_EQ(failureOfLoading(NO_PLUGIN),
              std::pair(PluginException::Reason::noEntryPoint,
                        std::string(NO_PLUGIN) +
                            " is no device plug-in: it has no entry point pnx_initialize_device_plugin"));
    EXPECT_FALSE(isMapped(NO_PLUGIN));
}

TEST(PluginLibrary, ThatRefusesTheVersionRegistersNothing) {
    PluginLibrary library(TEST_PLUGIN);
    EXPECT_EQ(failureOf([&] { library.initialize(2); }),
              std::pair(PluginException::Reason::versionRefused,
                        std::string("The plug-in ") + TEST_PLUGIN +
                            " refuses version 2 of the plug-in interface: its entry point returned -1"));
    EXPECT_TRUE(registeredTypes().empty());
}

TEST_F(LoadedPlugin, GivesDevicesThatTheHostCasts) {
    const std::unique_ptr<Device> device = builtCamera();
    auto* const camera = dynamic_cast<NativeCamera*>(device.get());
    ASSERT_NE(camera, nullptr);
    INativeCamera* const inner = camera;
    EXPECT_EQ(dynamic_cast<Device*>(inner), device.get());
    EXPECT_EQ(dynamic_cast<BaseDevice*>(inner), static_cast<BaseDevice*>(device.get()));
    EXPECT_NE(dynamic_cast<ImagingInterface*>(device->getInterface(ImagingInterface::interfaceTypeName)),
              nullptr);
}

TEST_F(LoadedPlugin, CastsTheHostsCommands) {
    const std::unique_ptr<Device> device = builtCamera();
    image_t image;
    const auto command = std::make_shared<Capture::FillMonoImage>(image);
    EXPECT_TRUE(device->supports(*command));
    device->execAsync(command, {}).get();
    EXPECT_EQ(image.width, 3);
    EXPECT_TRUE(plugin.getDeviceTypes()[0]->supports(*command));
}

TEST_F(LoadedPlugin, ThrowsWhatTheHostCatches) {
    try {
        builder().build(static_cast<Communicator*>(nullptr));
        FAIL() << "nothing was thrown";
    } catch (const DeviceException& exception) {
        EXPECT_EQ(exception.getDescription(), L"no communicator @ TestPlugin:5");
    }
}

TEST_F(LoadedPlugin, ThrowsTheNewerLayersExceptionsToo) {
    const std::unique_ptr<Device> device = builtCamera();
    image_t image;
    const auto command = std::make_shared<Capture::FillNativeImage>(image);
    EXPECT_THROW(device->execInternal(command, {}), Exceptions::IncorrectCommandTypeException);
    EXPECT_THROW(device->execAsync(command, {}).get(), Exceptions::DeviceException);
}

TEST(DynamicLibrary, FindsWhatTheLibraryExports) {
    Platform::DynamicLibrary library;
    EXPECT_EQ(library.find("answerOfNoPlugin"), nullptr) << "nothing is loaded";
    ASSERT_EQ(library.load(NO_PLUGIN), "");
    EXPECT_TRUE(library.isLoaded());
    const auto answer = reinterpret_cast<int (*)()>(library.find("answerOfNoPlugin"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(library.find("noSuchSymbol"), nullptr);
    library.unload();
    library.unload();
    EXPECT_FALSE(library.isLoaded());
    EXPECT_FALSE(isMapped(NO_PLUGIN));
}

TEST(DynamicLibrary, KeepsItsSymbolsToItselfAndMakesRoomForTheNext) {
    Platform::DynamicLibrary library;
    ASSERT_EQ(library.load(NO_PLUGIN), "");
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "answerOfNoPlugin"), nullptr);
    EXPECT_NE(library.load("no/such/library.so"), "");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_FALSE(isMapped(NO_PLUGIN));
}
