// The entry points of the built library, and its coming and going.

#include "PluginFixture.h"

#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceBuilder.h"
#include "PluginLog.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"

#include <log4cxx/logmanager.h>
#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>

using namespace PluginLogs;
using namespace PluginTests;

namespace {

constexpr char loaderLogger[] = "Plenar.NativeCameraKorva.KorvaCameraLoader";

bool isLogger(const std::string& name) {
    return log4cxx::LogManager::exists(name) != nullptr;
}

/// How many of this process' mappings are the plug-in's.
int mappingsOfThePlugin() {
    const std::string name = std::filesystem::path(KORVA_PLUGIN_FILE).filename();
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find(name) != std::string::npos ? 1 : 0;
    return count;
}

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

/// One life of the plug-in: loaded, initialised, a device built and destroyed, unloaded.
void loadUseAndUnload() {
    ReferenceHost::PluginLibrary library(KORVA_PLUGIN_FILE);
    library.initialize();
    const ReferenceHost::DeviceDescription description(
        "<Device><CameraInfo><cameraTypeEnum>6</cameraTypeEnum></CameraInfo>"
        "<connection><address>127.0.0.1</address><port>32769</port></connection></Device>");
    const std::unique_ptr<Device> device(
        library.getDeviceTypes().at(0)->getBuilder().build(description.root()));
    ASSERT_NE(device, nullptr);
}

/// The plug-in, and what its entry says.
struct EntryPoint : ::testing::Test {
    const Plugin plugin;
    PluginLog log{loaderLogger, "KorvaCameraLoader"};
    const DeviceType* const type = &plugin.cameraType();

    EntryPoint() { EXPECT_THAT(registeredTypes(), IsEmpty()) << "loading and asking register nothing"; }
};

TEST_F(EntryPoint, SaysThatItInitialisesAndRegistersTheOneCameraType) {
    log.onLine([](const LogLine&) { EXPECT_THAT(registeredTypes(), IsEmpty()); });
    EXPECT_EQ(plugin.initialize(1), 0);
    EXPECT_THAT(registeredTypes(), ElementsAre(type));
    EXPECT_EQ(type->getCode(), L"KRV");
    EXPECT_EQ(type->getVersion(), L"1.0");
    EXPECT_EQ(type->getName(), L"Korva");
    EXPECT_TRUE(type->isSameType(registeredTypes().at(0)));
    EXPECT_FALSE(type->isSameType(nullptr));
    EXPECT_THAT(type->getVariants(), IsEmpty());
    ASSERT_THAT(log.texts(), ElementsAre(info("Initializing KRV camera support...")));
    EXPECT_EQ(log.lines().front().method, "initializeKorvaCamera");
    EXPECT_EQ(log.lines().front().line, 49);
}

TEST_F(EntryPoint, RefusesEveryOtherVersion) {
    for (const int version : {0, 2, -1, 257, 1 << 16 | 1})
        EXPECT_EQ(plugin.initialize(version), -1) << version;
    EXPECT_THAT(registeredTypes(), IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(plugin.initialize(1), 0) << "a refusal spoils nothing";
}

TEST_F(EntryPoint, RegistersTheSameTypeAtEveryCallAndSaysNothingAboveInfo) {
    log.setLevel(log4cxx::Level::getWarn());
    plugin.initializeCamera();
    plugin.initializeCamera();
    EXPECT_THAT(registeredTypes(), ElementsAre(type, type));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ExitPoint, DoesNothingWhateverItIsGiven) {
    const Plugin plugin;
    plugin.uninitialize();
    plugin.initialize(1);
    plugin.uninitialize();
    plugin.uninitialize(1);
    plugin.uninitialize(1, "text", 2.5);
    EXPECT_THAT(registeredTypes(), ElementsAre(&plugin.cameraType()));
    EXPECT_EQ(plugin.cameraType().getCode(), L"KRV");
}

TEST(ModuleObjects, IncludeTheLoggersAndTheSettingsThatNobodyReads) {
    const Plugin plugin;
    for (const char* const name :
         {"KorvaInternalsComm", "KorvaCameraBuilder", "KorvaCameraLocator", "KorvaCapture",
          "KorvaImagingInterface", "KorvaInternals", "KorvaIntrinsics"})
        EXPECT_TRUE(isLogger(std::string("Plenar.KorvaCamera.") + name)) << name;
    const std::map<std::string, std::string> settings = ReferenceHost::developerSettings();
    for (const char* const name :
         {"developerMode", "tradeshow", "enableTimingProfileLogging", "logging.ImageDirectory"})
        EXPECT_TRUE(settings.contains(name)) << name;
}

/// 0 where the plug-in's loggers and settings come with it, and the loader's logger with its first use.
int watchTheFirstLoad() {
    const char intrinsics[] = "Plenar.KorvaCamera.KorvaIntrinsics";
    const bool isClean = !isLogger(intrinsics) && ReferenceHost::developerSettings().empty();
    const Plugin plugin;
    const bool isLoaded =
        isLogger(intrinsics) && ReferenceHost::developerSettings().size() == 4 && !isLogger(loaderLogger);
    plugin.initialize(1);
    return isClean && isLoaded && isLogger(loaderLogger) ? 0 : 1;
}

TEST(ModuleObjects, AreMadeByTheLoadingButForTheLoadersLogger) {
    // In a process of its own, as loggers and settings stay.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(watchTheFirstLoad()), ::testing::ExitedWithCode(0), "");
}

TEST(Unloading, CostsNothingAThousandTimes) {
    constexpr int warmUpRounds = 20;
    constexpr int rounds = 1000;
    constexpr std::size_t allowedBytes = 64 * 1024;
    {
        const Plugin plugin;
        EXPECT_GT(mappingsOfThePlugin(), 0);
    }
    for (int i = 0; i < warmUpRounds; ++i)
        loadUseAndUnload();
    const std::size_t bytesBefore = mallinfo2().uordblks;
    const std::ptrdiff_t descriptorsBefore = openDescriptors();
    for (int i = 0; i < rounds; ++i)
        loadUseAndUnload();
    const std::size_t bytesAfter = mallinfo2().uordblks;
    EXPECT_LE(bytesAfter, bytesBefore + allowedBytes);
    EXPECT_EQ(openDescriptors(), descriptorsBefore);
    EXPECT_EQ(mappingsOfThePlugin(), 0);
    EXPECT_THAT(registeredTypes(), IsEmpty());
    RecordProperty("bytesKept",
                   std::to_string(static_cast<long long>(bytesAfter) - static_cast<long long>(bytesBefore)));
}

} // namespace
