// The entry points of the built library, and its coming and going.

#include "PluginFixture.h"

#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceBuilder.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/LogCapture.h"

#include <gmock/gmock.h>
#include <log4cxx/logmanager.h>
#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>

using namespace PluginTests;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::LogLine;
using TestSupport::LogText;

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

TEST(EntryPoint, RegistersTheCameraTypeOnce) {
    const Plugin plugin;
    EXPECT_THAT(registeredTypes(), IsEmpty());
    EXPECT_EQ(plugin.initialize(1), 0);
    ASSERT_THAT(registeredTypes(), ElementsAre(&plugin.cameraType()));
    EXPECT_EQ(registeredTypes()[0]->getCode(), L"KRV");
    EXPECT_EQ(registeredTypes()[0]->getVersion(), L"1.0");
    EXPECT_EQ(registeredTypes()[0]->getName(), L"Korva");
}

TEST(EntryPoint, RefusesEveryOtherVersion) {
    const LogCapture log(loaderLogger);
    const Plugin plugin;
    for (const int version : {0, 2, -1, 257, 1 << 16 | 1})
        EXPECT_EQ(plugin.initialize(version), -1) << version;
    EXPECT_THAT(registeredTypes(), IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(plugin.initialize(1), 0) << "a refusal spoils nothing";
}

TEST(EntryPoint, SaysThatItInitialises) {
    const LogCapture log(loaderLogger);
    const Plugin plugin;
    EXPECT_EQ(plugin.initialize(1), 0);
    ASSERT_THAT(log.texts(), ElementsAre(LogText{"INFO", "Initializing KRV camera support..."}));
    const LogLine line = log.lines().front();
    EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaCameraLoader");
    EXPECT_EQ(line.method, "initializeKorvaCamera");
    EXPECT_EQ(line.line, 49);
}

TEST(EntryPoint, SaysThatItInitialisesBeforeItRegisters) {
    const Plugin plugin;
    LogCapture log(loaderLogger);
    log.onLine([](const LogLine&) { EXPECT_THAT(registeredTypes(), IsEmpty()); });
    plugin.initialize(1);
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(registeredTypes().size(), 1u);
}

TEST(EntryPoint, SaysNothingAboveInfo) {
    const LogCapture log(loaderLogger, log4cxx::Level::getWarn());
    const Plugin plugin;
    EXPECT_EQ(plugin.initialize(1), 0);
    EXPECT_THAT(registeredTypes(), ElementsAre(&plugin.cameraType()));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(EntryPoint, RegistersTheSameTypeAtEveryCall) {
    const LogCapture log(loaderLogger);
    const Plugin plugin;
    plugin.initializeCamera();
    plugin.initializeCamera();
    EXPECT_THAT(registeredTypes(), ElementsAre(&plugin.cameraType(), &plugin.cameraType()));
    EXPECT_EQ(log.texts().size(), 2u);
}

TEST(EntryPoint, GivesOneTypeBeforeAndAfterRegistration) {
    const Plugin plugin;
    const DeviceType* const before = &plugin.cameraType();
    EXPECT_THAT(registeredTypes(), IsEmpty()) << "asking registers nothing";
    plugin.initialize(1);
    EXPECT_EQ(&plugin.cameraType(), before);
    EXPECT_TRUE(before->isSameType(registeredTypes().at(0)));
    EXPECT_FALSE(before->isSameType(nullptr));
    EXPECT_THAT(before->getVariants(), IsEmpty());
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

TEST(ModuleObjects, IncludeTheLoggers) {
    const Plugin plugin;
    for (const char* const name :
         {"KorvaInternalsComm", "KorvaCameraBuilder", "KorvaCameraLocator", "KorvaCapture",
          "KorvaImagingInterface", "KorvaInternals", "KorvaIntrinsics"})
        EXPECT_TRUE(isLogger(std::string("Plenar.KorvaCamera.") + name)) << name;
}

TEST(ModuleObjects, IncludeTheSettingsThatNobodyReads) {
    const Plugin plugin;
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

TEST(Unloading, LeavesNothingMapped) {
    {
        const Plugin plugin;
        plugin.initialize(1);
        EXPECT_GT(mappingsOfThePlugin(), 0);
    }
    EXPECT_EQ(mappingsOfThePlugin(), 0);
}

TEST(Unloading, LeavesNothingMappedBehindADevice) {
    loadUseAndUnload();
    EXPECT_EQ(mappingsOfThePlugin(), 0);
    EXPECT_THAT(registeredTypes(), IsEmpty());
}

TEST(Unloading, CostsNothingAThousandTimes) {
    constexpr int warmUpRounds = 20;
    constexpr int rounds = 1000;
    constexpr std::size_t allowedBytes = 64 * 1024;
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
    RecordProperty("bytesKept",
                   std::to_string(static_cast<long long>(bytesAfter) - static_cast<long long>(bytesBefore)));
}

} // namespace
