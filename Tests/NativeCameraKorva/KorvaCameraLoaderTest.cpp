// The entry points of the built library, and its coming and going.

#include "PluginFixture.h"

#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceBuilder.h"
#include "PluginLog.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/TestSystem.h"

#include <log4cxx/logmanager.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>

using namespace PluginLogs;
using namespace PluginTests;

namespace {

constexpr char loaderLogger[] = "Plenar.NativeCameraKorva.KorvaCameraLoader";

bool isLogger(const std::string& name) {
    return log4cxx::LogManager::exists(name) != nullptr;
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

TEST_F(EntryPoint, RegistersTheSameTypeAtEveryCallForGoodAndSaysNothingAboveInfo) {
    log.setLevel(log4cxx::Level::getWarn());
    plugin.uninitialize();
    plugin.initializeCamera();
    plugin.initializeCamera();
    plugin.uninitialize();
    plugin.uninitialize(1);
    plugin.uninitialize(1, "text", 2.5);
    EXPECT_THAT(registeredTypes(), ElementsAre(type, type));
    EXPECT_EQ(type->getCode(), L"KRV");
    EXPECT_THAT(log.texts(), IsEmpty());
}

/// 0 where the plug-in's loggers and settings, those that nobody reads too, come with it, and the loader's
/// logger with its first use.
int watchTheFirstLoad() {
    const std::set<std::string> loggers{"KorvaInternalsComm", "KorvaCameraBuilder",    "KorvaCameraLocator",
                                        "KorvaCapture",       "KorvaImagingInterface", "KorvaInternals",
                                        "KorvaIntrinsics"};
    const auto count = [&loggers] {
        return std::ranges::count_if(
            loggers, [](const std::string& name) { return isLogger("Plenar.KorvaCamera." + name); });
    };
    const bool isClean = count() == 0 && ReferenceHost::developerSettings().empty();
    const Plugin plugin;
    std::set<std::string> settings;
    for (const auto& [name, value] : ReferenceHost::developerSettings())
        settings.insert(name);
    const bool isLoaded =
        count() == 7 && !isLogger(loaderLogger) &&
        settings == std::set<std::string>{"developerMode", "tradeshow", "enableTimingProfileLogging",
                                          "logging.ImageDirectory"};
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
        EXPECT_TRUE(TestSupport::isLoaded(KORVA_PLUGIN_FILE));
    }
    for (int i = 0; i < warmUpRounds; ++i)
        loadUseAndUnload();
    const std::size_t bytesBefore = TestSupport::heapBytesInUse();
    const std::size_t descriptorsBefore = TestSupport::openDescriptors();
    for (int i = 0; i < rounds; ++i)
        loadUseAndUnload();
    const std::size_t bytesAfter = TestSupport::heapBytesInUse();
    // A sanitizer has a heap of its own, of which the system tells nothing; its leak checker watches that.
    EXPECT_TRUE(KORVA_SANITIZED || bytesBefore > 0);
    EXPECT_GT(descriptorsBefore, 0u);
    EXPECT_LE(bytesAfter, bytesBefore + allowedBytes);
    EXPECT_EQ(TestSupport::openDescriptors(), descriptorsBefore);
    EXPECT_FALSE(TestSupport::isLoaded(KORVA_PLUGIN_FILE));
    EXPECT_THAT(registeredTypes(), IsEmpty());
    RecordProperty("bytesKept",
                   std::to_string(static_cast<long long>(bytesAfter) - static_cast<long long>(bytesBefore)));
}

} // namespace
