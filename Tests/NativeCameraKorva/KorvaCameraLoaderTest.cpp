// The entry points of the built library, and its coming and going.

#include "PluginFixture.h"

#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceBuilder.h"
#include "PluginLog.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/LoopbackPeer.h"

#include <log4cxx/logmanager.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
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
        EXPECT_GT(mappingsOfThePlugin(), 0);
    }
    for (int i = 0; i < warmUpRounds; ++i)
        loadUseAndUnload();
    const std::size_t bytesBefore = mallinfo2().uordblks;
    const std::size_t descriptorsBefore = TestSupport::openDescriptors();
    for (int i = 0; i < rounds; ++i)
        loadUseAndUnload();
    const std::size_t bytesAfter = mallinfo2().uordblks;
    EXPECT_LE(bytesAfter, bytesBefore + allowedBytes);
    EXPECT_EQ(TestSupport::openDescriptors(), descriptorsBefore);
    EXPECT_EQ(mappingsOfThePlugin(), 0);
    EXPECT_THAT(registeredTypes(), IsEmpty());
    RecordProperty("bytesKept",
                   std::to_string(static_cast<long long>(bytesAfter) - static_cast<long long>(bytesBefore)));
}

// What the library shows to the programs that load it.

std::string outputOf(const std::string& command) {
    std::FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return {};
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
        output.append(buffer.data(), count);
    return pclose(pipe) == 0 ? output : std::string();
}

/// The demangled names of the symbols that the library defines for others.
std::set<std::string> exportedNames() {
    std::istringstream lines(outputOf("nm -D --defined-only -C '" KORVA_PLUGIN_FILE "'"));
    std::set<std::string> names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind && std::getline(lines >> std::ws, name))
        names.insert(name);
    return names;
}

const std::string text = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
const std::string argList = "std::vector<Korva::Binary::FullArg, std::allocator<Korva::Binary::FullArg> >&";

TEST(PluginLibrary, ExportsItsEntryPointsAndNothingElse) {
    const std::set<std::string> expected{
        "pnx_initialize_device_plugin",
        "pnx_uninitialize_device_plugin",
        "initializeKorvaCamera()",
        "getKorvaCameraType()",
        "Korva::Binary::calculateChkSum(unsigned char const*, unsigned long)",
        "Korva::Binary::getChkSum(Korva::Binary::Header*)",
        "Korva::Binary::createAndSendMessage(Korva::Binary::Command, " + argList + ", Communicator*)",
        "Korva::Binary::parseIncomingMessage(Communicator*, Korva::Binary::Header&, " + argList + ")",
        "Korva::Binary::validateCommandResponse(Korva::Binary::Header&, " + argList + ", bool)",
        "Korva::CommParser::CommParser()",
        "Korva::CommParser::CommParser(Korva::CommParser const&)",
        "Korva::CommParser::CommParser(Korva::CommParser&&)",
        "Korva::CommParser::operator=(Korva::CommParser const&)",
        "Korva::CommParser::operator=(Korva::CommParser&&)",
        "Korva::CommParser::~CommParser()",
        "Korva::CommParser::parse(char*)",
        "Korva::CommParser::isParsed()",
        "Korva::CommParser::getValue(" + text + " const&)",
        "Korva::determineCameraInfo(Communicator*, " + text + ")",
        "Korva::checkSoftwareVersion(" + text + ")",
        "Korva::capture(Communicator*, bool, bool, bool, int, bool)",
    };
    EXPECT_THAT(exportedNames(), ::testing::ContainerEq(expected));
}

} // namespace
