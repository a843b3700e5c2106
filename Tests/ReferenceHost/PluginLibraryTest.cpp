#include "ReferenceHost/PluginLibrary.h"

#include "Device/Exceptions.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"
#include "Platform/DynamicLibrary.h"

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>

using namespace Tolvane::DeviceFramework2::Device;
using ReferenceHost::PluginException;
using ReferenceHost::PluginLibrary;

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

/// What loading that file fails with; the test fails where it does not.
PluginException failureOf(const std::string& path) {
    try {
        const PluginLibrary library(path);
    } catch (const PluginException& exception) {
        return exception;
    }
    throw std::logic_error("it was loaded");
}

bool contains(const PluginException& exception, const std::string& text) {
    return std::string(exception.what()).find(text) != std::string::npos;
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

TEST(PluginLibrary, RegistersItsTypesUntilItGoes) {
    const Types before = registeredTypes();
    {
        PluginLibrary library(TEST_PLUGIN);
        EXPECT_EQ(registeredTypes(), before) << "loading registers nothing";
        library.initialize();
        ASSERT_EQ(library.getDeviceTypes().size(), 1u);
        EXPECT_EQ(library.getDeviceTypes()[0]->getCode(), L"FAK");
        EXPECT_EQ(registeredTypes().back(), library.getDeviceTypes()[0]);
    }
    EXPECT_EQ(registeredTypes(), before);
}

TEST(PluginLibrary, IsUnmappedWhenItGoes) {
    {
        PluginLibrary library(TEST_PLUGIN);
        library.initialize();
        EXPECT_TRUE(isMapped(TEST_PLUGIN));
    }
    EXPECT_FALSE(isMapped(TEST_PLUGIN));
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

TEST(PluginLibrary, CanBeLoadedAgainAndAgain) {
    for (int i = 0; i < 100; ++i) {
        PluginLibrary library(TEST_PLUGIN);
        library.initialize();
        EXPECT_EQ(registeredTypes().size(), 1u);
    }
    EXPECT_TRUE(registeredTypes().empty());
}

TEST(PluginLibrary, ThatIsMissingIsNotLoadable) {
    const PluginException failure = failureOf("no/such/plugin.so");
    EXPECT_EQ(failure.getReason(), PluginException::Reason::notLoadable);
    EXPECT_EQ(std::string(failure.what()).rfind("The plug-in no/such/plugin.so cannot be loaded: ", 0), 0u);
    EXPECT_TRUE(contains(failure, "No such file")) << failure.what();
}

TEST(PluginLibrary, ThatIsNoLibraryIsNotLoadable) {
    const std::string path = testing::TempDir() + "no-library.so";
    std::ofstream(path) << "This is a text.";
    const PluginException failure = failureOf(path);
    std::filesystem::remove(path);
    EXPECT_EQ(failure.getReason(), PluginException::Reason::notLoadable);
    EXPECT_FALSE(contains(failure, "No such file")) << failure.what();
}

TEST(PluginLibrary, IsNotSearchedFor) {
    EXPECT_EQ(failureOf("libc.so.6").getReason(), PluginException::Reason::notLoadable);
}

TEST(PluginLibrary, WithoutEntryPointIsNoPlugin) {
    const PluginException failure = failureOf(NO_PLUGIN);
    EXPECT_EQ(failure.getReason(), PluginException::Reason::noEntryPoint);
    EXPECT_EQ(failure.what(),
              std::string(NO_PLUGIN) +
                  " is no device plug-in: it has no entry point pnx_initialize_device_plugin");
    EXPECT_FALSE(isMapped(NO_PLUGIN));
}

TEST(PluginLibrary, ThatRefusesTheVersionRegistersNothing) {
    PluginLibrary library(TEST_PLUGIN);
    try {
        library.initialize(2);
        FAIL() << "version 2 was not refused";
    } catch (const PluginException& failure) {
        EXPECT_EQ(failure.getReason(), PluginException::Reason::versionRefused);
        EXPECT_EQ(failure.what(),
                  std::string("The plug-in ") + TEST_PLUGIN +
                      " refuses version 2 of the plug-in interface: its entry point returned -1");
    }
    EXPECT_TRUE(registeredTypes().empty());
}

TEST_F(LoadedPlugin, GivesDevicesThatTheHostCasts) {
    const std::unique_ptr<Device> device = builtCamera();
    auto* const camera = dynamic_cast<NativeCamera*>(device.get());
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(dynamic_cast<Device*>(static_cast<INativeCamera*>(camera)), device.get());
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

TEST(DynamicLibrary, ThatIsLoadedMakesRoomForTheNext) {
    Platform::DynamicLibrary library;
    ASSERT_EQ(library.load(NO_PLUGIN), "");
    EXPECT_NE(library.load("no/such/library.so"), "");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_FALSE(isMapped(NO_PLUGIN));
}

TEST(DynamicLibrary, KeepsItsSymbolsToItself) {
    Platform::DynamicLibrary library;
    ASSERT_EQ(library.load(NO_PLUGIN), "");
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "answerOfNoPlugin"), nullptr);
}
