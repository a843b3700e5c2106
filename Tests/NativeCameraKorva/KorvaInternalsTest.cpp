// A camera's internals, by way of its device. What becomes of each answer that is not as it should be is held
// by the fault matrix.

#include "NativeCameraKorva/KorvaInternals.h"

#include "Communicator/DeviceException.h"
#include "PluginLog.h"
#include "ReferenceHost/HostControl.h"
#include "StagedDevice.h"

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
const std::string unanswered = "validateConnection: parseIncomingMessage failed";
const std::runtime_error otherFailure("something else");

using KorvaInternalsTest = StagedTest;

/// The first pixels, `count` of them.
Bytes pixelsAt(const std::uint8_t* pixels, std::size_t count = 12) {
    return pixels == nullptr ? Bytes{} : Bytes(pixels, pixels + count);
}

TEST_F(KorvaInternalsTest, TellsOfItsCreationInUtf8ThenSetsTheFirstExposure) {
    CameraInfo description = describedAs(4, 3);
    description.setModel(L"M\u00FCller \U0001F4F7");
    for (const bool isLogged : {true, false}) {
        const PluginLog own(loggerName, "KorvaInternals", isLogged);
        EXPECT_EQ(KorvaCamera(nullptr, description).getExposureTime(), 150000);
        own.expect(
            {info("Korva Internals created for Korva Camera: M\xC3\xBCller \xF0\x9F\x93\xB7, 10.0.0.5, "
                  "serial number 4711"),
             info("Setting korva exposure to 15 x100 ms")});
    }
    EXPECT_EQ(log.lines().at(0).method, "KorvaInternals");
    EXPECT_EQ(log.lines().at(1).method, "setExposureTime");
}

TEST_F(KorvaInternalsTest, TurnsExposureTimesIntoUnitsOf100Milliseconds) {
    const struct {
        const char* what;
        int time;
        int units;
    } rows[] = {
        {"whole units", 150000, 15},
        {"the rest is dropped", 99999, 9},
        {"at least one", 0, 1},
        {"at least one", -5000, 1},
        {"just within", 35990000, 3599},
        {"at most 3600", 36010000, 3600},
        {"a negative quotient is a large one", -200000, 3600},
        {"2,147,480,000 / 100,000 = 21,474; no quotient is above that", 214748000, 3600},
        {"-21,474 is 44,062 in its low 16 bits", -214748000, 3600},
        {"the product wraps: 429,596,730 x 10 = 2^32 + 1,000,004", 429596730, 10},
        {"(2^31 - 1) x 10 wraps to -10", most, 1},
        {"-2^31 x 10 wraps to 0", least, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.what) + ": " + std::to_string(row.time));
        staged.imaging().setExposureTime(row.time);
        EXPECT_EQ(staged.imaging().getExposureTime(), row.time);
        EXPECT_EQ(staged.device->getExposureTime(), row.time);
        EXPECT_EQ(log.texts().back(),
                  info("Setting korva exposure to " + std::to_string(row.units) + " x100 ms"));
    }
}

TEST_F(KorvaInternalsTest, CapturesWithItsExposureInSgiAndThreeSamplesWhateverTheDelaySettingItBeganWith) {
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "true");
    EXPECT_TRUE(KorvaInternals(staged.device.get()).hasGetImageDelay());
    StagedDevice delayed;
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "false");
    EXPECT_FALSE(KorvaInternals(staged.device.get()).hasGetImageDelay());
    answerCapture(delayed.camera, greyFile(4, 3));
    delayed.imaging().setExposureTime(2570000);
    ASSERT_NE(delayed.capture(), nullptr);
    const Bytes configuration = World::message(
        {{2, {0x01, 0x01}}, {3, {2}}, {4, {1}}, {7, {16}}, {8, {4}}}); // 257 units, mode 2, SGI
    EXPECT_EQ(staged.camera.requests().at(0), configuration);
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
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
        const std::string size = sizeOf(row.width, row.height);
        const std::string resolution = sizeOf(row.cameraWidth, row.cameraHeight);
        Texts expected;
        if (size != resolution)
            expected.push_back(
                warn("Korva picture has the size " + size + ", the camera's resolution is " + resolution));
        if (!row.isKept)
            expected.push_back(failedLine);
        for (const bool isLogged : {true, false}) {
            SCOPED_TRACE(row.what);
            StagedDevice odd(row.cameraWidth, row.cameraHeight);
            answerCapture(odd.camera, row.width == 0 ? Bytes(600, 0x55) : greyFile(row.width, row.height));
            const PluginLog own(loggerName, "KorvaInternals", isLogged);
            const std::uint8_t* const pixels = odd.capture();
            EXPECT_EQ(pixels != nullptr, row.isKept);
            const auto wanted =
                static_cast<unsigned int>(row.isKept ? row.cameraWidth * row.cameraHeight : 0);
            EXPECT_EQ(pixelsAt(pixels, wanted), greyPixels(wanted));
            EXPECT_THAT(odd.reports, ElementsAre(row.isKept ? 2 : 1032));
            own.expect(expected);
        }
    }
}

TEST_F(KorvaInternalsTest, KeepsItsBufferForTheNextPictureAndOverAFailedCapture) {
    answerCapture(staged.camera, greyFile(4, 3));
    answerCapture(staged.camera, greyFile(4, 3, 50));
    const std::uint8_t* const first = staged.capture();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(staged.capture(), first);
    EXPECT_EQ(staged.capture(), nullptr);
    EXPECT_EQ(pixelsAt(first), greyPixels(12, 50));
    answerCapture(staged.camera, greyFile(4, 3, 7));
    log.turnOff();
    EXPECT_EQ(staged.capture(), first);
    EXPECT_EQ(pixelsAt(first), greyPixels(12, 7));
    EXPECT_THAT(staged.reports, ElementsAre(2, 2, 1032, 2));
}

TEST_F(KorvaInternalsTest, ReleasesThePictureBeforeItReportsIt) {
    answerCapture(staged.camera, greyFile(4, 3));
    std::size_t alive = 99;
    staged.device->setNetworkHealthCallback(
        [&alive](NetworkHealth) { alive = ReferenceHost::liveImageCount(); });
    ASSERT_NE(staged.capture(), nullptr);
    EXPECT_EQ(alive, 0u);
}

/// A line, and the number that its location names; 0 if none is fixed.
struct NumberedLine {
    std::string text;
    int number;
};

/// A capture and a probe fail, logged and not, and report it.
void expectFailures(const char* what, StagedDevice& staged, const NumberedLine& ofCapture,
                    const NumberedLine& ofProbe) {
    for (const bool isLogged : {true, false}) {
        SCOPED_TRACE(what);
        const PluginLog own(loggerName, "KorvaInternals", isLogged);
        staged.reports.clear();
        EXPECT_NO_THROW(EXPECT_EQ(staged.capture(), nullptr));
        EXPECT_NO_THROW(EXPECT_FALSE(staged.device->isAlive()));
        EXPECT_THAT(staged.reports, ElementsAre(1032, 2056));
        own.expect({error(ofCapture.text), error(ofProbe.text)});
        if (isLogged) {
            EXPECT_EQ(own.lines().at(0).method, "getImaging1Image");
            EXPECT_EQ(own.lines().at(1).method, "validateConnection");
            EXPECT_TRUE(ofCapture.number == 0 || own.lines().at(0).line == ofCapture.number);
            EXPECT_EQ(own.lines().at(1).line, ofProbe.number);
        }
    }
    World::Calls::current().failNoMore();
}

TEST_F(KorvaInternalsTest, LogsAndReportsEachFailure) {
    expectFailures("no answer", staged, {failedLine.message, 0}, {unanswered, 138});
    const std::string told = "Communicator error: K\xC3\xA4mera \xF0\x9F\x93\xB7 weg";
    world.calls.throwAlways("connect", DeviceException(L"K\u00E4mera \U0001F4F7 weg", L"Somewhere", 12));
    expectFailures("no connection", staged, {told, 101}, {"validateConnection: " + told, 147});
    const NumberedLine unknown{"Unknown error during image capture", 107};
    const NumberedLine unknownInProbe{"isAlive Unknown error during isAlive()", 153};
    world.calls.throwAlways("connect", otherFailure);
    expectFailures("another exception", staged, unknown, unknownInProbe);
    world.calls.throwAlways("connect", 42);
    expectFailures("what is no exception", staged, unknown, unknownInProbe);
    staged.device->setCommunicator(nullptr);
    expectFailures("no communicator", staged, {failedLine.message, 0},
                   {"validateConnection: Communicator error: The camera has no communicator", 147});
}

TEST_F(KorvaInternalsTest, SurvivesACallbackThatFailsOrIsMissingAndALogThatFails) {
    const auto failuresOf = [this](const NetworkHealthCallback& callback, bool isLogged = true) {
        staged.device->setNetworkHealthCallback(callback);
        const PluginLog own(loggerName, "KorvaInternals", isLogged);
        EXPECT_NO_THROW(EXPECT_EQ(staged.capture(), nullptr));
        EXPECT_NO_THROW(EXPECT_FALSE(staged.device->isAlive()));
        return own.troubles();
    };
    const std::string notTaken = "The network-health callback failed to take the status ";
    const NetworkHealthCallback failing = [](NetworkHealth) { throw otherFailure; };
    EXPECT_THAT(failuresOf(failing),
                ElementsAre(failedLine, warn(notTaken + "1032"), error(unanswered), warn(notTaken + "2056")));
    EXPECT_THAT(failuresOf(failing, false), IsEmpty());
    EXPECT_THAT(failuresOf(nullptr), ElementsAre(failedLine, error(unanswered)));
    answerCapture(staged.camera, greyFile(4, 3));
    EXPECT_NE(staged.capture(), nullptr);
    EXPECT_FALSE(KorvaCamera(StagedDevice::communicatorOf(5), {}).isAlive());
    log.onLine([](const LogLine&) { throw std::bad_alloc(); });
    failuresOf(failing);
    failuresOf(into(staged.reports));
    EXPECT_THAT(staged.reports, ElementsAre(1032, 2056)) << "also of what cannot be logged";
}

TEST_F(KorvaInternalsTest, ProbesTheConnectionWithOneMessageAndHoldsItForThatAlone) {
    staged.camera.answer(World::done());
    const PluginLog own(loggerName, "KorvaInternals");
    EXPECT_TRUE(staged.device->isAlive());
    const Bytes probe{1, 0, 0, 0, 0x0E, 1, 4, 0, 0, 0, 1, 0, 0, 0x15};
    EXPECT_THAT(staged.camera.requests(), ElementsAre(probe));
    EXPECT_THAT(world.calls.of({"connect", "send", "receive", "close"}),
                ElementsAre("connect 10.0.0.5:32769 5000", "receive 10.0.0.5:32769 16384",
                            "send 10.0.0.5:32769 14 bytes", "receive 10.0.0.5:32769 6",
                            "receive 10.0.0.5:32769 5", "receive 10.0.0.5:32769 2", "close 10.0.0.5:32769"));
    EXPECT_THAT(staged.reports, IsEmpty());
    EXPECT_THAT(own.texts(), IsEmpty());
}

TEST_F(KorvaInternalsTest, UsesTheCommunicatorThatTheDeviceHasNow) {
    staged.device->setCommunicator(StagedDevice::communicatorOf(6));
    World::Peer& later = world.at("10.0.0.6", 32769);
    answerCapture(later, greyFile(4, 3));
    EXPECT_NE(staged.capture(), nullptr);
    later.answer(World::done());
    EXPECT_TRUE(staged.device->isAlive());
}

TEST_F(KorvaInternalsTest, CallsTheCallbackItselfWhichMayCountAndReplaceItselfWhileItRuns) {
    Codes later;
    auto token = std::make_shared<int>(1);
    staged.device->setNetworkHealthCallback([&, token, calls = 0](NetworkHealth health) mutable {
        if (++calls == 2)
            staged.device->setNetworkHealthCallback(into(later));
        staged.reports.push_back(health.getCode() + calls + *token); // what it captured is still there
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(staged.device->isAlive());
    EXPECT_THAT(staged.reports, ElementsAre(2058, 2059));
    EXPECT_THAT(later, ElementsAre(2056));
    EXPECT_EQ(token.use_count(), 1);
}

} // namespace
