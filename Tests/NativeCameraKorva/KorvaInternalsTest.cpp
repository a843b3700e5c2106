#include "NativeCameraKorva/KorvaInternals.h"

#include "Communicator/DeviceException.h"
#include "ReferenceHost/HostControl.h"
#include "StagedDevice.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"

#include <gmock/gmock.h>
#include <log4cxx/logmanager.h>

#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

using namespace DeviceFixture;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using TestSupport::LogCapture;
using TestSupport::LogLine;
using TestSupport::LogText;

namespace {

constexpr const char* loggerName = "Plenar.KorvaCamera.KorvaInternals";
const LogText failedLine{"ERROR", "Failed to capture Korva image"};

/// Internals of a device of their own, apart from those that the device made itself.
struct Bench {
    explicit Bench(int width = 4, int height = 3) : device(width, height), internals(device.device.get()) {
        internals.setNetworkHealthCallback(into(reports));
    }

    StagedDevice device;
    World::Peer& camera = device.camera;
    KorvaInternals internals;
    Codes reports;
};

struct KorvaInternalsTest : ::testing::Test {
    World::Stage world;
    LogCapture everything{loggerName};

    ~KorvaInternalsTest() override {
        TestSupport::expectFrom(everything, "KorvaInternals");
        EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
    }
};

Bytes bytesAt(const void* pixels, std::size_t count) {
    const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
    return Bytes(bytes, bytes + count);
}

const DeviceException deviceFailure(L"K\u00E4mera \U0001F4F7 weg", L"Somewhere", 12);
const std::runtime_error otherFailure("something else");

void expectLine(const LogLine& line, const std::string& level, const std::string& message,
                const std::string& method) {
    EXPECT_EQ(line.level, level);
    EXPECT_EQ(line.message, message);
    EXPECT_EQ(line.logger, loggerName);
    EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaInternals");
    EXPECT_EQ(line.method, method);
}

/// What setExposureTime logs for a time, and so what it computes.
std::string loggedExposureFor(int time) {
    const StagedDevice camera;
    KorvaInternals internals(camera.device.get());
    const LogCapture log(loggerName);
    internals.setExposureTime(time);
    EXPECT_EQ(internals.getExposureTime(), time);
    return log.lines().size() == 1 ? log.lines().front().message : "not one line";
}

std::string exposureLine(int units) {
    return "Setting korva exposure to " + std::to_string(units) + " x100 ms";
}

} // namespace

TEST_F(KorvaInternalsTest, TellsOfItsCreationWithTheCamerasDescriptionThenSetsTheFirstExposure) {
    const StagedDevice camera;
    const LogCapture log(loggerName);
    const KorvaInternals internals(camera.device.get());
    ASSERT_EQ(log.lines().size(), 2u);
    expectLine(log.lines()[0], "INFO",
               "Korva Internals created for Korva Camera: Korva Meridian M61, 10.0.0.5, serial number 4711",
               "KorvaInternals");
    expectLine(log.lines()[1], "INFO", "Setting korva exposure to 15 x100 ms", "setExposureTime");
    EXPECT_EQ(internals.getExposureTime(), 150000);
}

TEST_F(KorvaInternalsTest, TellsOfItsCreationInUtf8) {
    CameraInfo info;
    info.setModel(L"M\u00FCller \U0001F4F7");
    KorvaCamera camera(nullptr, info);
    const LogCapture log(loggerName);
    const KorvaInternals internals(&camera);
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(log.lines().front().message,
              "Korva Internals created for Korva Camera: M\xC3\xBCller \xF0\x9F\x93\xB7");
}

TEST_F(KorvaInternalsTest, SaysNothingWhereInfoIsNotEnabled) {
    const StagedDevice camera;
    const LogCapture log(loggerName, log4cxx::Level::getWarn());
    const KorvaInternals internals(camera.device.get());
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(internals.getExposureTime(), 150000);
}

TEST_F(KorvaInternalsTest, TurnsExposureTimesIntoUnits) {
    EXPECT_EQ(loggedExposureFor(150000), exposureLine(15));
    EXPECT_EQ(loggedExposureFor(100000), exposureLine(10));
    EXPECT_EQ(loggedExposureFor(99999), exposureLine(9));
    EXPECT_EQ(loggedExposureFor(10000), exposureLine(1));
}

TEST_F(KorvaInternalsTest, ClampsUnitsToOneAndThreeThousandSixHundred) {
    EXPECT_EQ(loggedExposureFor(0), exposureLine(1));
    EXPECT_EQ(loggedExposureFor(5000), exposureLine(1));
    EXPECT_EQ(loggedExposureFor(-5000), exposureLine(1));
    EXPECT_EQ(loggedExposureFor(35990000), exposureLine(3599));
    EXPECT_EQ(loggedExposureFor(36000000), exposureLine(3600));
    EXPECT_EQ(loggedExposureFor(36010000), exposureLine(3600));
    EXPECT_EQ(loggedExposureFor(40000000), exposureLine(3600));
}

TEST_F(KorvaInternalsTest, ReadsANegativeQuotientAsALargeOne) {
    EXPECT_EQ(loggedExposureFor(-200000), exposureLine(3600));
    EXPECT_EQ(loggedExposureFor(-10000), exposureLine(3600));
}

TEST_F(KorvaInternalsTest, KeepsTheLowSixteenBitsOfTheQuotient) {
    // 2,147,480,000 / 100,000 = 21,474; no quotient of 32 bits is above that, but negative ones wrap.
    EXPECT_EQ(loggedExposureFor(214748000), exposureLine(3600));
    // -2,147,480,000 / 100,000 = -21,474, which is 44,062 in 16 bits.
    EXPECT_EQ(loggedExposureFor(-214748000), exposureLine(3600));
}

TEST_F(KorvaInternalsTest, LetsTheProductWrap) {
    // 429,596,730 x 10 = 2^32 + 1,000,004, so 10 units.
    EXPECT_EQ(loggedExposureFor(429596730), exposureLine(10));
    // 2^31 - 1 times 10 wraps to -10, and -2^31 times 10 to 0.
    EXPECT_EQ(loggedExposureFor(std::numeric_limits<int>::max()), exposureLine(1));
    EXPECT_EQ(loggedExposureFor(std::numeric_limits<int>::min()), exposureLine(1));
}

TEST_F(KorvaInternalsTest, CapturesWithItsExposureInSgiAndThreeSamples) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    bench.internals.setExposureTime(2570000);
    ASSERT_NE(bench.internals.getImaging1Image(), nullptr);
    const Bytes configuration = World::message(
        {{2, {0x01, 0x01}}, {3, {2}}, {4, {1}}, {7, {16}}, {8, {4}}}); // 257 units, mode 2, SGI
    ASSERT_EQ(bench.camera.requests().size(), 3u);
    EXPECT_EQ(bench.camera.requests()[0], configuration);
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
}

TEST_F(KorvaInternalsTest, CopiesThePictureAndReportsIt) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    const LogCapture log(loggerName);
    const void* const pixels = bench.internals.getImaging1Image();
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(bytesAt(pixels, 12), greyPixels(12));
    EXPECT_THAT(bench.reports, ElementsAre(2));
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(world.network.openConnections(), IsEmpty());
}

TEST_F(KorvaInternalsTest, ReusesItsBufferForTheNextPicture) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    answerCapture(bench.camera, greyFile(4, 3, 50));
    const void* const first = bench.internals.getImaging1Image();
    const void* const second = bench.internals.getImaging1Image();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second, first);
    EXPECT_EQ(bytesAt(second, 12), greyPixels(12, 50));
    EXPECT_THAT(bench.reports, ElementsAre(2, 2));
}

TEST_F(KorvaInternalsTest, KeepsItsBufferOverAFailedCapture) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    const void* const first = bench.internals.getImaging1Image();
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_EQ(bytesAt(first, 12), greyPixels(12));
    answerCapture(bench.camera, greyFile(4, 3, 7));
    EXPECT_EQ(bench.internals.getImaging1Image(), first);
    EXPECT_THAT(bench.reports, ElementsAre(2, 1032, 2));
}

TEST_F(KorvaInternalsTest, ReleasesThePictureBeforeItReportsIt) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    std::size_t alive = 99;
    bench.internals.setNetworkHealthCallback(
        [&alive](NetworkHealth) { alive = ReferenceHost::liveImageCount(); });
    ASSERT_NE(bench.internals.getImaging1Image(), nullptr);
    EXPECT_EQ(alive, 0u);
}

TEST_F(KorvaInternalsTest, TakesTheFirstPixelsOfALargerPictureAndWarns) {
    Bench bench(4, 3);
    answerCapture(bench.camera, greyFile(5, 4));
    const LogCapture log(loggerName);
    const void* const pixels = bench.internals.getImaging1Image();
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(bytesAt(pixels, 12), greyPixels(12));
    EXPECT_THAT(bench.reports, ElementsAre(2));
    EXPECT_THAT(
        log.texts(),
        ElementsAre(LogText{"WARN", "Korva picture has the size 5 x 4, the camera's resolution is 4 x 3"}));
}

TEST_F(KorvaInternalsTest, TakesAPictureOfAsManyPixelsInAnotherShapeAndWarns) {
    Bench bench(4, 3);
    answerCapture(bench.camera, greyFile(3, 4));
    const LogCapture log(loggerName);
    const void* const pixels = bench.internals.getImaging1Image();
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(bytesAt(pixels, 12), greyPixels(12));
    EXPECT_THAT(
        log.texts(),
        ElementsAre(LogText{"WARN", "Korva picture has the size 3 x 4, the camera's resolution is 4 x 3"}));
}

TEST_F(KorvaInternalsTest, CountsAPictureOfFewerPixelsAsNone) {
    Bench bench(4, 3);
    answerCapture(bench.camera, greyFile(11, 1));
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(1032));
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getError()), ElementsAre(failedLine));
}

TEST_F(KorvaInternalsTest, CountsAFileThatIsNoPictureAsNone) {
    for (const int size : {0, 4}) {
        Bench bench(size, size);
        answerCapture(bench.camera, Bytes(600, 0x55));
        const LogCapture log(loggerName);
        EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
        EXPECT_THAT(bench.reports, ElementsAre(1032));
        EXPECT_THAT(log.textsFrom(log4cxx::Level::getError()), ElementsAre(failedLine));
    }
}

TEST_F(KorvaInternalsTest, CopiesNothingForACameraOfUnknownResolution) {
    Bench bench(0, 0);
    answerCapture(bench.camera, greyFile(4, 3));
    const LogCapture log(loggerName);
    EXPECT_NE(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(2));
    EXPECT_THAT(
        log.texts(),
        ElementsAre(LogText{"WARN", "Korva picture has the size 4 x 3, the camera's resolution is 0 x 0"}));
}

TEST_F(KorvaInternalsTest, CopiesNothingForAResolutionThatIsNegativeOrBeyondAnyPicture) {
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    const std::vector<std::pair<int, int>> sizes{{-4, 3},        {4, -3},      {-4, -3},   {least, least},
                                                 {65536, 65536}, {most, most}, {0, least}, {least, 0}};
    for (const auto& [width, height] : sizes) {
        Bench bench(width, height);
        answerCapture(bench.camera, greyFile(4, 3));
        EXPECT_EQ(bench.internals.getImaging1Image(), nullptr) << width << " x " << height;
        EXPECT_THAT(bench.reports, ElementsAre(1032));
    }
}

TEST_F(KorvaInternalsTest, ReportsAFailedCapture) {
    Bench bench;
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(1032));
    ASSERT_EQ(log.lines().size(), 1u);
    expectLine(log.lines()[0], "ERROR", "Failed to capture Korva image", "getImaging1Image");
}

TEST_F(KorvaInternalsTest, LogsOneErrorLineForAFailedCaptureThatNobodyIsToldOf) {
    Bench bench;
    bench.internals.setNetworkHealthCallback(nullptr);
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(failedLine));
}

TEST_F(KorvaInternalsTest, ReportsATransportThatFailsDuringACapture) {
    Bench bench;
    world.calls.throwFrom("connect", deviceFailure);
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(1032));
    ASSERT_EQ(log.lines().size(), 1u);
    expectLine(log.lines()[0], "ERROR", "Communicator error: K\xC3\xA4mera \xF0\x9F\x93\xB7 weg",
               "getImaging1Image");
    EXPECT_EQ(log.lines()[0].line, 101);
}

TEST_F(KorvaInternalsTest, ReportsATransportThatFailsInTheMiddleOfAPicture) {
    Bench bench;
    Bytes beginning = World::image(greyFile(4, 3));
    beginning.resize(100);
    bench.camera.answer(World::done()).answer(World::done());
    bench.camera.act({World::sending(beginning), Simulator::ResetConnection{}});
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(1032));
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"ERROR", "Communicator error: 10.0.0.5:32769: receive failed: "
                                             "Connection reset by peer"}));
    EXPECT_THAT(world.network.openConnections(), IsEmpty());
}

TEST_F(KorvaInternalsTest, ReportsAnythingElseThatFailsDuringACapture) {
    Bench bench;
    world.calls.throwFrom("send", otherFailure);
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(1032));
    ASSERT_EQ(log.lines().size(), 1u);
    expectLine(log.lines()[0], "ERROR", "Unknown error during image capture", "getImaging1Image");
    EXPECT_EQ(log.lines()[0].line, 107);
}

TEST_F(KorvaInternalsTest, TakesWhatIsNoExceptionForAFailureToo) {
    Bench bench;
    world.calls.throwFrom("send", 42);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(1032));
}

TEST_F(KorvaInternalsTest, LogsTheMessageOfAFailureWithoutItsSource) {
    Bench bench;
    world.calls.throwAlways("connect", DeviceException(L"gone", L"Communicator.cpp", 99));
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "Communicator error: gone"},
                                         LogText{"ERROR", "validateConnection: Communicator error: gone"}));
}

TEST_F(KorvaInternalsTest, LogsAFailureThatCannotBeConvertedWithoutItsMessage) {
    Bench bench;
    world.calls.throwFrom("connect", deviceFailure);
    world.calls.failAlways("WideCharToMultiByte", 0);
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "Communicator error: "}));
}

TEST_F(KorvaInternalsTest, ProbesTheConnectionWithOneMessage) {
    Bench bench;
    bench.camera.answer(World::done());
    const LogCapture log(loggerName);
    EXPECT_TRUE(bench.internals.validateConnection());
    const Bytes probe{1, 0, 0, 0, 0x0E, 1, 4, 0, 0, 0, 1, 0, 0, 0x15};
    EXPECT_THAT(bench.camera.requests(), ElementsAre(probe));
    EXPECT_THAT(bench.reports, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(KorvaInternalsTest, HoldsTheConnectionForTheProbeAlone) {
    Bench bench;
    bench.camera.answer(World::done());
    EXPECT_TRUE(bench.internals.validateConnection());
    EXPECT_THAT(world.calls.of({"connect", "send", "receive", "close"}),
                ElementsAre("connect 10.0.0.5:32769 5000", "receive 10.0.0.5:32769 16384",
                            "send 10.0.0.5:32769 14 bytes", "receive 10.0.0.5:32769 6",
                            "receive 10.0.0.5:32769 5", "receive 10.0.0.5:32769 2", "close 10.0.0.5:32769"));
}

TEST_F(KorvaInternalsTest, AcceptsAnAnswerToTheProbeWhateverItSays) {
    Bench bench;
    bench.camera.answer(World::refusal(7));
    EXPECT_TRUE(bench.internals.validateConnection());
    bench.camera.answer(World::message({}, 9));
    EXPECT_TRUE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, IsEmpty());
}

TEST_F(KorvaInternalsTest, AcceptsAPictureWithAWrongSumForAnAnswerToTheProbe) {
    Bench bench;
    Bytes wrongSum = World::image({1, 2});
    ++wrongSum.back();
    bench.camera.answer(wrongSum);
    const LogCapture log(loggerName);
    const LogCapture protocolLog("Plenar.KorvaCamera.KorvaInternalsComm", log4cxx::Level::getWarn());
    EXPECT_TRUE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(protocolLog.texts(),
                ElementsAre(LogText{"WARN", "Korva Response failed chksum: sent 7424 : calculated 28"}));
}

TEST_F(KorvaInternalsTest, ReportsAProbeWithoutAReadableAnswer) {
    Bench bench;
    Bytes wrongSum = World::done();
    ++wrongSum.back();
    bench.camera.answer(wrongSum);
    const LogCapture log(loggerName);
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, ElementsAre(2056));
    ASSERT_EQ(log.lines().size(), 1u);
    expectLine(log.lines()[0], "ERROR", "validateConnection: parseIncomingMessage failed",
               "validateConnection");
    EXPECT_EQ(log.lines()[0].line, 138);
    EXPECT_THAT(world.network.openConnections(), IsEmpty());
}

TEST_F(KorvaInternalsTest, ReportsATransportThatFailsDuringAProbe) {
    Bench bench;
    world.calls.throwFrom("receive 10.0.0.5:32769 6", deviceFailure);
    const LogCapture log(loggerName);
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, ElementsAre(2056));
    ASSERT_EQ(log.lines().size(), 1u);
    expectLine(log.lines()[0], "ERROR",
               "validateConnection: Communicator error: K\xC3\xA4mera \xF0\x9F\x93\xB7 weg",
               "validateConnection");
    EXPECT_EQ(log.lines()[0].line, 147);
    EXPECT_THAT(world.network.openConnections(), IsEmpty());
}

TEST_F(KorvaInternalsTest, ReportsAnythingElseThatFailsDuringAProbe) {
    Bench bench;
    world.calls.throwFrom("connect", otherFailure);
    const LogCapture log(loggerName);
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, ElementsAre(2056));
    ASSERT_EQ(log.lines().size(), 1u);
    expectLine(log.lines()[0], "ERROR", "isAlive Unknown error during isAlive()", "validateConnection");
    EXPECT_EQ(log.lines()[0].line, 153);
}

TEST_F(KorvaInternalsTest, FailsQuietlyWithoutACallback) {
    Bench bench;
    bench.internals.setNetworkHealthCallback(nullptr);
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, IsEmpty());
}

TEST_F(KorvaInternalsTest, OfADeviceWithoutACommunicatorFailInTheirOrdinaryWay) {
    KorvaCamera camera(nullptr, describedAs(4, 3));
    KorvaInternals internals(&camera);
    Codes reports;
    internals.setNetworkHealthCallback(into(reports));
    const LogCapture log(loggerName);
    EXPECT_EQ(internals.getImaging1Image(), nullptr);
    EXPECT_FALSE(internals.validateConnection());
    EXPECT_THAT(reports, ElementsAre(1032, 2056));
    EXPECT_THAT(
        log.texts(),
        ElementsAre(failedLine, LogText{"ERROR", "validateConnection: Communicator error: The camera has no "
                                                 "communicator"}));
}

TEST_F(KorvaInternalsTest, UsesTheCommunicatorThatTheDeviceHasNow) {
    Bench bench;
    bench.device.device->setCommunicator(StagedDevice::communicatorOf(6));
    World::Peer& later = world.at("10.0.0.6", 32769);
    answerCapture(later, greyFile(4, 3));
    EXPECT_NE(bench.internals.getImaging1Image(), nullptr);
    later.answer(World::done());
    EXPECT_TRUE(bench.internals.validateConnection());
}

TEST_F(KorvaInternalsTest, ReplacesTheCallback) {
    Bench bench;
    Codes later;
    bench.internals.setNetworkHealthCallback(into(later));
    EXPECT_FALSE(bench.internals.validateConnection());
    EXPECT_THAT(bench.reports, IsEmpty());
    EXPECT_THAT(later, ElementsAre(2056));
}

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

TEST_F(KorvaInternalsTest, ReportTheSameFailuresWithoutLogging) {
    const LogCapture log(loggerName, log4cxx::Level::getOff());
    const std::vector<std::function<void()>> failures{
        [] {}, // the camera answers nothing
        [this] { world.calls.throwAlways("connect", deviceFailure); },
        [this] { world.calls.throwAlways("connect", otherFailure); }};
    for (const auto& fail : failures) {
        Bench bench;
        world.calls.failNoMore();
        fail();
        EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
        EXPECT_FALSE(bench.internals.validateConnection());
        EXPECT_THAT(bench.reports, ElementsAre(1032, 2056));
    }
    world.calls.failNoMore();
    Bench larger;
    answerCapture(larger.camera, greyFile(5, 4));
    EXPECT_NE(larger.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(larger.reports, ElementsAre(2));
    larger.internals.setNetworkHealthCallback([](NetworkHealth) { throw std::runtime_error("host"); });
    EXPECT_NO_THROW(EXPECT_FALSE(larger.internals.validateConnection()));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KorvaInternalsTest, LetNoExceptionOfTheCallbackOut) {
    Bench bench;
    bench.internals.setNetworkHealthCallback([](NetworkHealth) { throw std::runtime_error("host"); });
    const LogCapture log(loggerName);
    EXPECT_NO_THROW(EXPECT_EQ(bench.internals.getImaging1Image(), nullptr));
    EXPECT_NO_THROW(EXPECT_FALSE(bench.internals.validateConnection()));
    EXPECT_THAT(log.texts(),
                ElementsAre(failedLine,
                            LogText{"WARN", "The network-health callback failed to take the status 1032"},
                            LogText{"ERROR", "validateConnection: parseIncomingMessage failed"},
                            LogText{"WARN", "The network-health callback failed to take the status 2056"}));
}

TEST_F(KorvaInternalsTest, TakeAPictureThatCouldNotBeReportedForAFailedCapture) {
    Bench bench;
    answerCapture(bench.camera, greyFile(4, 3));
    bench.internals.setNetworkHealthCallback([&bench](NetworkHealth health) {
        bench.reports.push_back(health.getCode());
        if (health.getCode() == 2)
            throw std::runtime_error("host");
    });
    const LogCapture log(loggerName);
    EXPECT_EQ(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(bench.reports, ElementsAre(2, 1032));
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "Unknown error during image capture"}));
}

TEST_F(KorvaInternalsTest, ReportAFailureThatCannotBeLogged) {
    Bench bench;
    LogCapture log(loggerName);
    log.onLine([](const LogLine&) { throw std::bad_alloc(); });
    EXPECT_NO_THROW(EXPECT_EQ(bench.internals.getImaging1Image(), nullptr));
    EXPECT_NO_THROW(EXPECT_FALSE(bench.internals.validateConnection()));
    bench.internals.setNetworkHealthCallback([](NetworkHealth) { throw std::runtime_error("host"); });
    EXPECT_NO_THROW(EXPECT_FALSE(bench.internals.validateConnection()));
    EXPECT_THAT(bench.reports, ElementsAre(1032, 2056));
}

TEST_F(KorvaInternalsTest, ReadTheDelaySettingOnceAtConstruction) {
    const StagedDevice camera;
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "true");
    const KorvaInternals with(camera.device.get());
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "false");
    const KorvaInternals without(camera.device.get());
    EXPECT_TRUE(with.hasGetImageDelay());
    EXPECT_FALSE(without.hasGetImageDelay());
}

TEST_F(KorvaInternalsTest, NeitherWaitNorTurnToAnythingElseForTheDelaySetting) {
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "true");
    Bench bench;
    ReferenceHost::setDeveloperSetting("KorvaGetImageDelay", "false");
    answerCapture(bench.camera, greyFile(4, 3));
    EXPECT_NE(bench.internals.getImaging1Image(), nullptr);
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
}

TEST(ModuleObjects, MakeTheSettingsKnownThatNobodyReads) {
    const auto settings = ReferenceHost::developerSettings();
    EXPECT_THAT(settings, Contains(Key("developerMode")));
    EXPECT_THAT(settings, Contains(Key("tradeshow")));
    EXPECT_THAT(settings, Contains(Key("enableTimingProfileLogging")));
    EXPECT_THAT(settings, Contains(Key("logging.ImageDirectory")));
}

TEST(ModuleObjects, PutTheirLoggersIntoTheHierarchy) {
    EXPECT_NE(log4cxx::LogManager::exists("Plenar.KorvaCamera.KorvaInternals"), nullptr);
    EXPECT_NE(log4cxx::LogManager::exists("Plenar.KorvaCamera.KorvaIntrinsics"), nullptr);
    EXPECT_NE(log4cxx::LogManager::exists("Plenar.KorvaCamera.KorvaImagingInterface"), nullptr);
    EXPECT_EQ(log4cxx::LogManager::exists("Plenar.KorvaCamera.NoSuchLogger"), nullptr);
}
