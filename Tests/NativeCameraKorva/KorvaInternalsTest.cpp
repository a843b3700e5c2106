#include "NativeCameraKorva/KorvaInternals.h"

#include "Communicator/DeviceException.h"
#include "PluginLog.h"
#include "ReferenceHost/HostControl.h"
#include "StagedDevice.h"

#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

using namespace DeviceFixture;
using namespace PluginLogs;

namespace {

constexpr const char* loggerName = "Plenar.KorvaCamera.KorvaInternals";
constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();
const LogText failedLine = error("Failed to capture Korva image");

const DeviceException deviceFailure(L"K\u00E4mera \U0001F4F7 weg", L"Somewhere", 12);
const std::runtime_error otherFailure("something else");

/// Internals of a device of their own, apart from those that the device made itself.
struct Bench {
    explicit Bench(int width = 4, int height = 3) : device(width, height), internals(device.device.get()) {
        internals.setNetworkHealthCallback(into(reports));
    }

    const std::uint8_t* capture() { return static_cast<std::uint8_t*>(internals.getImaging1Image()); }

    StagedDevice device;
    World::Peer& camera = device.camera;
    KorvaInternals internals;
    Codes reports;
};

struct KorvaInternalsTest : ::testing::Test {
    World::Stage world;
    PluginLog everything{loggerName, "KorvaInternals"};
};

/// The first pixels, `count` of them.
Bytes pixelsAt(const std::uint8_t* pixels, std::size_t count = 12) {
    return pixels == nullptr ? Bytes{} : Bytes(pixels, pixels + count);
}

TEST_F(KorvaInternalsTest, TellsOfItsCreationInUtf8ThenSetsTheFirstExposure) {
    CameraInfo description = describedAs(4, 3);
    description.setModel(L"M\u00FCller \U0001F4F7");
    KorvaCamera camera(nullptr, description);
    for (const bool isLogged : {true, false}) {
        const PluginLog log(loggerName, "KorvaInternals", isLogged);
        const KorvaInternals internals(&camera);
        log.expect(
            {info("Korva Internals created for Korva Camera: M\xC3\xBCller \xF0\x9F\x93\xB7, 10.0.0.5, "
                  "serial number 4711"),
             info("Setting korva exposure to 15 x100 ms")});
        EXPECT_EQ(internals.getExposureTime(), 150000);
    }
    EXPECT_EQ(everything.lines().at(2).method, "KorvaInternals");
    EXPECT_EQ(everything.lines().at(3).method, "setExposureTime");
}

TEST_F(KorvaInternalsTest, TurnsExposureTimesIntoUnitsOf100Milliseconds) {
    const struct {
        const char* what;
        int time;
        int units;
    } rows[] = {
        {"whole units", 150000, 15},
        {"whole units", 10000, 1},
        {"the rest is dropped", 99999, 9},
        {"at least one", 0, 1},
        {"at least one", 5000, 1},
        {"at least one", -5000, 1},
        {"just within", 35990000, 3599},
        {"at most 3600", 36000000, 3600},
        {"at most 3600", 36010000, 3600},
        {"a negative quotient is a large one", -10000, 3600},
        {"a negative quotient is a large one", -200000, 3600},
        {"2,147,480,000 / 100,000 = 21,474; no quotient is above that", 214748000, 3600},
        {"-21,474 is 44,062 in its low 16 bits", -214748000, 3600},
        {"the product wraps: 429,596,730 x 10 = 2^32 + 1,000,004", 429596730, 10},
        {"(2^31 - 1) x 10 wraps to -10", most, 1},
        {"-2^31 x 10 wraps to 0", least, 1},
    };
    Bench bench;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.what) + ": " + std::to_string(row.time));
        bench.internals.setExposureTime(row.time);
        EXPECT_EQ(bench.internals.getExposureTime(), row.time);
        EXPECT_EQ(everything.texts().back(),
                  info("Setting korva exposure to " + std::to_string(row.units) + " x100 ms"));
    }
}

TEST_F(KorvaInternalsTest, CapturesWithItsExposureInSgiAndThreeSamplesWhateverTheDelaySetting) {
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "true");
    Bench bench;
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "false");
    answerCapture(bench.camera, greyFile(4, 3));
    bench.internals.setExposureTime(2570000);
    ASSERT_NE(bench.capture(), nullptr);
    const Bytes configuration = World::message(
        {{2, {0x01, 0x01}}, {3, {2}}, {4, {1}}, {7, {16}}, {8, {4}}}); // 257 units, mode 2, SGI
    ASSERT_EQ(bench.camera.requests().size(), 3u);
    EXPECT_EQ(bench.camera.requests()[0], configuration);
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
}

TEST_F(KorvaInternalsTest, ReadTheDelaySettingOnceAtConstruction) {
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "true");
    const Bench with;
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "false");
    const Bench without;
    EXPECT_TRUE(with.internals.hasGetImageDelay());
    EXPECT_FALSE(without.internals.hasGetImageDelay());
}

TEST_F(KorvaInternalsTest, KeepsAPictureThatHoldsTheCamerasPixels) {
    const struct {
        const char* what;
        int cameraWidth;
        int cameraHeight;
        unsigned int width; ///< 0: a file that is no picture
        unsigned int height;
        bool isKept;
    } rows[] = {
        {"of the camera's size", 4, 3, 4, 3, true},
        {"of more pixels", 4, 3, 5, 4, true},
        {"of as many pixels in another shape", 4, 3, 3, 4, true},
        {"of fewer pixels", 4, 3, 11, 1, false},
        {"of no pixels", 4, 4, 0, 0, false},
        {"of no pixels for an unknown resolution", 0, 0, 0, 0, false},
        {"for an unknown resolution", 0, 0, 4, 3, true},
        {"for a negative width", -4, 3, 4, 3, false},
        {"for a negative height", 4, -3, 4, 3, false},
        {"for negative sides", -4, -3, 4, 3, false},
        {"for the most negative sides", least, least, 4, 3, false},
        {"for a product beyond 32 bits", 65536, 65536, 4, 3, false},
        {"for the largest sides", most, most, 4, 3, false},
        {"for no width and a negative height", 0, least, 4, 3, false},
        {"for a negative width and no height", least, 0, 4, 3, false},
    };
    const auto sizeOf = [](auto width, auto height) {
        return std::to_string(width) + " x " + std::to_string(height);
    };
    for (const auto& row : rows) {
        for (const bool isLogged : {true, false}) {
            SCOPED_TRACE(row.what);
            Bench bench(row.cameraWidth, row.cameraHeight);
            answerCapture(bench.camera, row.width == 0 ? Bytes(600, 0x55) : greyFile(row.width, row.height));
            const PluginLog log(loggerName, "KorvaInternals", isLogged);
            const std::uint8_t* const pixels = bench.capture();
            EXPECT_EQ(pixels != nullptr, row.isKept);
            const auto wanted =
                static_cast<unsigned int>(row.isKept ? row.cameraWidth * row.cameraHeight : 0);
            EXPECT_EQ(pixelsAt(pixels, wanted), greyPixels(wanted));
            EXPECT_THAT(bench.reports, ElementsAre(row.isKept ? 2 : 1032));
            const std::string size = sizeOf(row.width, row.height);
            const std::string resolution = sizeOf(row.cameraWidth, row.cameraHeight);
            Texts expected;
            if (size != resolution)
                expected.push_back(warn("Korva picture has the size " + size +
                                        ", the camera's resolution is " + resolution));
            if (!row.isKept)
                expected.push_back(failedLine);
            log.expect(expected);
            EXPECT_THAT(world.network.openConnections(), IsEmpty());
        }
    }
}

TEST_F(KorvaInternalsTest, KeepsItsBufferForTheNextPictureAndOverAFailedCapture) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    answerCapture(bench.camera, greyFile(4, 3, 50));
    const std::uint8_t* const first = bench.capture();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(bench.capture(), first);
    EXPECT_EQ(pixelsAt(first), greyPixels(12, 50));
    EXPECT_EQ(bench.capture(), nullptr);
    EXPECT_EQ(pixelsAt(first), greyPixels(12, 50));
    answerCapture(bench.camera, greyFile(4, 3, 7));
    EXPECT_EQ(bench.capture(), first);
    EXPECT_THAT(bench.reports, ElementsAre(2, 2, 1032, 2));
}

TEST_F(KorvaInternalsTest, ReleasesThePictureBeforeItReportsIt) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    std::size_t alive = 99;
    bench.internals.setNetworkHealthCallback(
        [&alive](NetworkHealth) { alive = ReferenceHost::liveImageCount(); });
    ASSERT_NE(bench.capture(), nullptr);
    EXPECT_EQ(alive, 0u);
}

/// What a capture and a probe log when they fail, with the line that the location names; 0 if none is fixed.
struct Failure {
    std::string what;
    std::function<void(Bench&)> plan;
    std::string captureText;
    int captureLine;
    std::string probeText;
    int probeLine;
};

template <class Exception>
std::function<void(Bench&)> throwing(const std::string& call, const Exception& exception) {
    return [=](Bench&) { World::Calls::current().throwAlways(call, exception); };
}

void throwWhatCannotBeConverted(Bench&) {
    World::Calls::current().throwAlways("connect", deviceFailure);
    World::Calls::current().failAlways("WideCharToMultiByte", 0);
}

void takeCommunicator(Bench& bench) {
    bench.device.device->setCommunicator(nullptr);
}

TEST_F(KorvaInternalsTest, LogsAndReportsEachFailureWhateverTheCallbackDoes) {
    const std::string told = "Communicator error: K\xC3\xA4mera \xF0\x9F\x93\xB7 weg";
    const std::string untold = "Communicator error: ";
    const std::string unknown = "Unknown error during image capture";
    const std::string probe = "validateConnection: ";
    const std::string inProbe = "isAlive Unknown error during isAlive()";
    const std::string read = "receive 10.0.0.5:32769 6";
    const std::string noAnswer = probe + "parseIncomingMessage failed";
    const Failure failures[] = {
        {"no answer", [](Bench&) {}, failedLine.message, 0, noAnswer, 138},
        {"no connection", throwing("connect", deviceFailure), told, 101, probe + told, 147},
        {"a broken connection", throwing(read, deviceFailure), told, 101, probe + told, 147},
        {"a message that cannot be converted", throwWhatCannotBeConverted, untold, 101, probe + untold, 147},
        {"no communicator", takeCommunicator, failedLine.message, 0,
         probe + untold + "The camera has no communicator", 147},
        {"another exception", throwing("connect", otherFailure), unknown, 107, inProbe, 153},
        {"another at the request", throwing("send", otherFailure), unknown, 107, inProbe, 153},
        {"what is no exception", throwing("send", 42), unknown, 107, inProbe, 153},
    };
    Codes codes;
    const NetworkHealthCallback callbacks[] = {into(codes), nullptr,
                                               [](NetworkHealth) { throw otherFailure; }};
    for (const Failure& row : failures) {
        for (const bool isLogged : {true, false}) {
            for (const NetworkHealthCallback& callback : callbacks) {
                SCOPED_TRACE(row.what);
                Bench bench;
                bench.internals.setNetworkHealthCallback(callback);
                const PluginLog log(loggerName, "KorvaInternals", isLogged);
                row.plan(bench);
                EXPECT_NO_THROW(EXPECT_EQ(bench.capture(), nullptr));
                EXPECT_NO_THROW(EXPECT_FALSE(bench.internals.validateConnection()));
                world.calls.failNoMore();
                EXPECT_THAT(world.network.openConnections(), IsEmpty());
                Texts expected{error(row.captureText), error(row.probeText)};
                if (&callback == &callbacks[2]) {
                    const std::string notTaken = "The network-health callback failed to take the status ";
                    expected.insert(expected.begin() + 1, warn(notTaken + "1032"));
                    expected.push_back(warn(notTaken + "2056"));
                }
                log.expect(expected);
                for (const LogLine& line : log.lines()) {
                    const bool isOfCapture = line.message == row.captureText;
                    if (line.level == "ERROR") {
                        EXPECT_EQ(line.method, isOfCapture ? "getImaging1Image" : "validateConnection");
                        const int fixed = isOfCapture ? row.captureLine : row.probeLine;
                        EXPECT_EQ(line.line, fixed == 0 ? line.line : fixed);
                    }
                }
            }
            EXPECT_EQ(std::exchange(codes, {}), (Codes{1032, 2056}));
        }
    }
}

TEST_F(KorvaInternalsTest, TakeAPictureThatCouldNotBeReportedForAFailedCapture) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    bench.internals.setNetworkHealthCallback([&bench](NetworkHealth health) {
        bench.reports.push_back(health.getCode());
        if (health.getCode() == 2)
            throw otherFailure;
    });
    EXPECT_EQ(bench.capture(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(2, 1032));
    EXPECT_THAT(everything.errors(), ElementsAre(error("Unknown error during image capture")));
}

TEST_F(KorvaInternalsTest, ReportAFailureThatCannotBeLogged) {
    Bench bench;
    everything.onLine([](const LogLine&) { throw std::bad_alloc(); });
    EXPECT_NO_THROW(EXPECT_EQ(bench.capture(), nullptr));
    EXPECT_NO_THROW(EXPECT_FALSE(bench.internals.validateConnection()));
    bench.internals.setNetworkHealthCallback([](NetworkHealth) { throw otherFailure; });
    EXPECT_NO_THROW(EXPECT_FALSE(bench.internals.validateConnection()));
    EXPECT_THAT(bench.reports, ElementsAre(1032, 2056));
}

// The probe.

TEST_F(KorvaInternalsTest, ProbesTheConnectionWithOneMessageAndHoldsItForThatAlone) {
    Bench bench;
    bench.camera.answer(World::done());
    const PluginLog log(loggerName, "KorvaInternals");
    EXPECT_TRUE(bench.internals.validateConnection());
    const Bytes probe{1, 0, 0, 0, 0x0E, 1, 4, 0, 0, 0, 1, 0, 0, 0x15};
    EXPECT_THAT(bench.camera.requests(), ElementsAre(probe));
    EXPECT_THAT(world.calls.of({"connect", "send", "receive", "close"}),
                ElementsAre("connect 10.0.0.5:32769 5000", "receive 10.0.0.5:32769 16384",
                            "send 10.0.0.5:32769 14 bytes", "receive 10.0.0.5:32769 6",
                            "receive 10.0.0.5:32769 5", "receive 10.0.0.5:32769 2", "close 10.0.0.5:32769"));
    EXPECT_THAT(bench.reports, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(KorvaInternalsTest, AcceptsAnyReadableAnswerToTheProbe) {
    Bytes wrongSum = World::done();
    ++wrongSum.back();
    Bytes pictureOfWrongSum = World::image({1, 2});
    ++pictureOfWrongSum.back();
    const struct {
        const char* what;
        Bytes answer;
        bool isAlive;
    } rows[] = {
        {"a refusal", World::refusal(7), true},
        {"another command", World::message({}, 9), true},
        {"a picture with a wrong sum", pictureOfWrongSum, true},
        {"a wrong sum", wrongSum, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Bench bench;
        bench.camera.answer(row.answer);
        EXPECT_EQ(bench.internals.validateConnection(), row.isAlive);
        EXPECT_EQ(bench.reports, row.isAlive ? Codes{} : Codes{2056});
        EXPECT_THAT(world.network.openConnections(), IsEmpty());
    }
    EXPECT_THAT(everything.troubles(), ElementsAre(error("validateConnection: parseIncomingMessage failed")));
}

TEST_F(KorvaInternalsTest, UsesTheCommunicatorThatTheDeviceHasNow) {
    Bench bench;
    bench.device.device->setCommunicator(StagedDevice::communicatorOf(6));
    World::Peer& later = world.at("10.0.0.6", 32769);
    answerCapture(later, greyFile(4, 3));
    EXPECT_NE(bench.capture(), nullptr);
    later.answer(World::done());
    EXPECT_TRUE(bench.internals.validateConnection());
}

// The callback.

TEST_F(KorvaInternalsTest, LetACallbackReplaceItselfWhileItRuns) {
    Bench bench;
    Codes later;
    auto token = std::make_shared<int>(1);
    bench.internals.setNetworkHealthCallback([&, token](NetworkHealth health) {
        bench.internals.setNetworkHealthCallback(into(later));
        bench.reports.push_back(health.getCode() + *token); // what it captured is still there
    });
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, ElementsAre(2057));
    EXPECT_THAT(later, ElementsAre(2056));
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(KorvaInternalsTest, CallTheCallbackItselfSoThatItMayCount) {
    Bench bench;
    bench.internals.setNetworkHealthCallback(
        [&bench, calls = 0](NetworkHealth) mutable { bench.reports.push_back(++calls); });
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, ElementsAre(1, 2));
}

} // namespace
