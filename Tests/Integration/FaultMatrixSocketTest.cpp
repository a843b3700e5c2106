// Chosen cells of the fault matrix against the simulated camera over real sockets, held to the same table.

#include "ServedCamera.h"

#include "Camera/Camera.h"
#include "Camera/Random.h"
#include "Communicator/DeviceException.h"
#include "FaultMatrixIdentity.h"
#include "FaultMatrixReader.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"
#include "Support/WireMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <ostream>
#include <string>

using namespace FaultMatrix;
using Integration::ImpatientCommunicator;
using Integration::ServedCamera;

namespace {

constexpr Simulator::PictureSize pictureSize{8, 4};
constexpr unsigned int exposureUnits = 15; ///< a device's own
constexpr std::size_t garbageLength = 64;
constexpr wchar_t loopback[] = L"127.0.0.1";

/// A cell, and the fault as the simulator is told of it. Each strikes once, so that the camera is mended
/// then.
struct SocketCell {
    Exchange exchange;
    int attempt;
    Kind kind;
    const char* fault;
};

std::ostream& operator<<(std::ostream& stream, const SocketCell& cell) {
    return stream << cell.fault;
}

const SocketCell pictureCells[] = {
    {Exchange::configure, 1, Kind::closedAtOnce, "configure:close*1"},
    {Exchange::get, 2, Kind::closedAtOnce, "get:close*1"},
    {Exchange::take, 1, Kind::reset, "take:reset*1"},
    {Exchange::configure, 1, Kind::silent, "configure:silent*1"},
    {Exchange::get, 1, Kind::silent, "get:silent*1"},
    {Exchange::take, 2, Kind::silent, "take:silent*1"},
    {Exchange::configure, 1, Kind::truncatedThenClosed, "configure:truncate-close=3*1"},
    {Exchange::get, 2, Kind::truncatedThenClosed, "get:truncate-close=3*1"},
    {Exchange::take, 1, Kind::truncatedThenSilent, "take:truncate-silent=8*1"},
    {Exchange::get, 1, Kind::delayedPastTheTimeout, "get:delay=600*1"},
    {Exchange::take, 1, Kind::drippedByteByByte, "take:drip=1/1*1"},
    {Exchange::get, 1, Kind::drippedByteByByte, "get:drip=1/1*1"},
    {Exchange::get, 2, Kind::drippedInRandomPieces, "get:scatter=30*1"},
    {Exchange::configure, 1, Kind::drippedInRandomPieces, "configure:scatter=30*1"},
    {Exchange::configure, 1, Kind::wrongChecksum, "configure:checksum*1"},
    {Exchange::take, 2, Kind::wrongChecksum, "take:checksum*1"},
    {Exchange::get, 1, Kind::wrongChecksum, "get:checksum*1"},
    {Exchange::take, 1, Kind::lengthTooSmall, "take:length-small*1"},
    {Exchange::get, 1, Kind::lengthTooSmall, "get:length-small*1"},
    {Exchange::get, 1, Kind::lengthTooLarge, "get:length-large*1"},
    {Exchange::configure, 2, Kind::lengthWrapping, "configure:length-wrap*1"},
    {Exchange::get, 1, Kind::imageBeyondTheLimit, "get:huge-image*1"},
    {Exchange::take, 1, Kind::valueTooLong, "take:long-value*1"},
    {Exchange::take, 1, Kind::noArgument, "take:no-argument*1"},
    {Exchange::get, 1, Kind::twoArguments, "get:two-arguments*1"},
    {Exchange::configure, 1, Kind::arguments255, "configure:many-arguments*1"},
    {Exchange::get, 1, Kind::arguments255, "get:many-arguments*1"},
    {Exchange::configure, 1, Kind::wrongCommand, "configure:wrong-command*1"},
    {Exchange::take, 1, Kind::wrongCode, "take:unknown-code*1"},
    {Exchange::configure, 1, Kind::wrongAnswer, "configure:wrong-response*1"},
    {Exchange::get, 2, Kind::wrongAnswer, "get:wrong-response*1"},
    {Exchange::get, 1, Kind::errorWithACode, "get:error=7*1"},
    {Exchange::take, 1, Kind::garbage, "take:garbage*1"},
    {Exchange::get, 2, Kind::garbage, "get:garbage*1"},
    {Exchange::take, 1, Kind::answerOfTheMessageBefore, "take:stale*1"},
    {Exchange::get, 1, Kind::answerOfTheMessageBefore, "get:stale*1"},
    {Exchange::get, 1, Kind::answerTwice, "get:twice*1"},
    {Exchange::configure, 1, Kind::endlessData, "configure:endless*1"},
    {Exchange::get, 2, Kind::endlessData, "get:endless*1"},
};

const SocketCell probeCells[] = {
    {Exchange::probe, 1, Kind::closedAtOnce, "probe:close*1"},
    {Exchange::probe, 1, Kind::silent, "probe:silent*1"},
    {Exchange::probe, 1, Kind::truncatedThenClosed, "probe:truncate-close=3*1"},
    {Exchange::probe, 1, Kind::reset, "probe:reset*1"},
    {Exchange::probe, 1, Kind::wrongChecksum, "probe:checksum*1"},
    {Exchange::probe, 1, Kind::errorWithACode, "probe:error=7*1"},
    {Exchange::probe, 1, Kind::garbage, "probe:garbage*1"},
    {Exchange::probe, 1, Kind::endlessData, "probe:endless*1"},
};

const SocketCell replyCells[] = {
    {Exchange::version, 1, Kind::closedAtOnce, "version:close*1"},
    {Exchange::serial, 1, Kind::silent, "serial:silent*1"},
    {Exchange::network, 1, Kind::delayedPastTheTimeout, "network:delay=900*1"},
    {Exchange::serial, 1, Kind::truncatedThenClosed, "serial:truncate-close=14*1"},
    {Exchange::network, 1, Kind::truncatedThenClosed, "network:truncate-close=41*1"},
    {Exchange::version, 1, Kind::truncatedThenSilent, "version:truncate-silent=30*1"},
    {Exchange::network, 1, Kind::reset, "network:reset*1"},
    {Exchange::serial, 1, Kind::drippedByteByByte, "serial:drip=1/1*1"},
    {Exchange::network, 1, Kind::answerTwice, "network:twice*1"},
    {Exchange::serial, 1, Kind::answerOfTheMessageBefore, "serial:stale*1"},
    {Exchange::serial, 1, Kind::garbage, "serial:garbage*1"},
    {Exchange::network, 1, Kind::endlessData, "network:endless*1"},
};

Simulator::CameraSettings settingsOf(const SocketCell& cell) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::Noise;
    settings.size = pictureSize;
    if (cell.attempt == 2)
        settings.faults.push_back(
            Simulator::parseFault("configure:error=" + std::to_string(refusalCode) + "*1"));
    settings.faults.push_back(Simulator::parseFault(cell.fault));
    return settings;
}

/// The simulator's meaningless bytes: drawn from its seed, but for the first.
Bytes garbageOf(const Simulator::CameraSettings& settings) {
    Bytes bytes(garbageLength);
    for (std::size_t index = 0; index < bytes.size(); ++index)
        bytes[index] = static_cast<std::uint8_t>(Simulator::randomBits(settings.seed, index));
    bytes.front() = 0xAA;
    return bytes;
}

Bytes pictureAnswerOf(const Simulator::CameraSettings& settings) {
    Simulator::Configuration configuration;
    configuration.exposureUnits = exposureUnits;
    configuration.mode = 2;
    configuration.format = Simulator::PictureFormat::Sgi;
    return *Simulator::Camera(settings).pictureAnswer(configuration);
}

Struck struckBy(const SocketCell& cell, const Simulator::CameraSettings& settings) {
    const Place place{cell.exchange, cell.attempt};
    const bool isPicture = cell.exchange == Exchange::get;
    if (cell.kind == Kind::garbage)
        return {place, received(garbageOf(settings), Ending::silence, isPicture).reading, isPicture};
    return FaultMatrix::struckBy(cell.kind, place, TestSupport::wireMessage({{0, {}}}),
                                 pictureAnswerOf(settings));
}

std::wstring endpointOf(int port) {
    return std::wstring(loopback) + L":" + std::to_wstring(port);
}

/// Level and message of what the plug-in says at warn and above.
std::vector<TestSupport::LogText> textsOf(const Lines& lines) {
    std::vector<TestSupport::LogText> texts;
    for (const Line& line : lines)
        texts.push_back({line.level, line.message});
    return texts;
}

class PluginLog : public TestSupport::LogCapture {
public:
    PluginLog() : LogCapture("Plenar.KorvaCamera", log4cxx::Level::getWarn()) {}
};

CameraInfo describedBySize() {
    CameraInfo info;
    info.setResolutionX(static_cast<int>(pictureSize.width));
    info.setResolutionY(static_cast<int>(pictureSize.height));
    return info;
}

/// A device of the host's that is connected to a served camera.
struct ServedDevice {
    explicit ServedDevice(int port)
        : communicator(new ImpatientCommunicator(port)), camera(communicator, describedBySize()) {
        camera.setNetworkHealthCallback(
            [this](NetworkHealth health) { reports.push_back(health.getCode()); });
    }

    Bytes picture() {
        auto* const imaging =
            dynamic_cast<ImagingInterface*>(camera.getInterface(ImagingInterface::interfaceTypeName));
        const auto* const pixels = static_cast<const std::uint8_t*>(imaging->getImage());
        constexpr std::size_t count = std::size_t{pictureSize.width} * pictureSize.height;
        return pixels == nullptr ? Bytes{} : Bytes(pixels, pixels + count);
    }

    void expectMended(const Bytes& picture) {
        const PluginLog log;
        reports.clear();
        EXPECT_EQ(this->picture(), picture);
        EXPECT_TRUE(camera.isAlive());
        EXPECT_EQ(reports, std::vector<int>{2});
        EXPECT_TRUE(log.texts().empty());
        EXPECT_FALSE(communicator->isConnected());
        EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
    }

    ImpatientCommunicator* communicator; ///< the camera's
    std::vector<int> reports;
    KorvaCamera camera;
};

std::size_t checked = 0;

/// Tells the number at the end, when all cells have run.
struct Count : testing::Environment {
    void TearDown() override { std::printf("figure: fault cells checked over real sockets: %zu\n", checked); }
};
const testing::Environment* const count = testing::AddGlobalTestEnvironment(new Count);

std::string nameOfCell(const testing::TestParamInfo<SocketCell>& info) {
    std::string name;
    for (const char c : std::string(info.param.fault))
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    return name + "_attempt_" + std::to_string(info.param.attempt);
}

} // namespace

class PictureOverSockets : public testing::TestWithParam<SocketCell> {};

TEST_P(PictureOverSockets, EndsAsTheTableSays) {
    const Simulator::CameraSettings settings = settingsOf(GetParam());
    ServedCamera served(settings);
    ServedDevice device(served.port());
    const DeviceOutcome expected = pictureRequest(endpointOf(served.port()), struckBy(GetParam(), settings));
    const Bytes good = Integration::expectedPixels(settings, {}, exposureUnits);
    {
        const PluginLog log;
        EXPECT_EQ(device.picture(), expected.good ? good : Bytes{});
        EXPECT_EQ(log.texts(), textsOf(expected.lines));
    }
    EXPECT_EQ(device.reports, std::vector{expected.health});
    EXPECT_FALSE(device.communicator->isConnected());
    device.expectMended(good);
    // A camera that sends without end listens no more. One further configuration is the mended camera's.
    const int seen = GetParam().kind == Kind::endlessData ? GetParam().attempt : expected.configurations;
    EXPECT_EQ(served.stopAndCount("configure: exposure"), static_cast<std::size_t>(seen) + 1);
    ++checked;
}

INSTANTIATE_TEST_SUITE_P(capture, PictureOverSockets, testing::ValuesIn(pictureCells), nameOfCell);

class ProbeOverSockets : public testing::TestWithParam<SocketCell> {};

TEST_P(ProbeOverSockets, EndsAsTheTableSays) {
    const Simulator::CameraSettings settings = settingsOf(GetParam());
    ServedCamera served(settings);
    ServedDevice device(served.port());
    const DeviceOutcome expected =
        connectionCheck(endpointOf(served.port()), struckBy(GetParam(), settings).reading);
    {
        const PluginLog log;
        EXPECT_EQ(device.camera.isAlive(), expected.good);
        EXPECT_EQ(log.texts(), textsOf(expected.lines));
    }
    EXPECT_EQ(device.reports, expected.good ? std::vector<int>{} : std::vector{expected.health});
    device.expectMended(Integration::expectedPixels(settings, {}, exposureUnits));
    ++checked;
}

INSTANTIATE_TEST_SUITE_P(health, ProbeOverSockets, testing::ValuesIn(probeCells), nameOfCell);

class ReplyOverSockets : public testing::TestWithParam<SocketCell> {
protected:
    static constexpr std::size_t query(Exchange exchange) { return static_cast<std::size_t>(exchange) - 1; }

    static Identified goodCamera(int port) {
        return {loopback,
                {"[Version --HW M61 --SW 3.2.15 --API 1.4]", "[SerialNumber --Camera 1234]",
                 "[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 0.0.0.0]"},
                std::nullopt,
                std::nullopt,
                {0, 0},
                port};
    }

    static Identified faultyCamera(int port) {
        const SocketCell& cell = GetParam();
        Identified camera = goodCamera(port);
        const std::size_t at = query(cell.exchange);
        const Bytes noise = garbageOf(settingsOf(cell));
        camera.faulty = {
            at, cell.kind == Kind::garbage
                    ? receivedReply(std::string(noise.begin(), noise.end()), Ending::silence)
                    : replyReadingOf(cell.kind, camera.replies.at(at), camera.replies.at((at + 2) % 3))};
        return camera;
    }

    static void expectIdentified(const Identified& camera) {
        const IdentityOutcome expected = identify(camera);
        ImpatientCommunicator communicator(camera.textPort);
        const PluginLog log;
        try {
            const CameraInfo info = Korva::determineCameraInfo(&communicator, "00-00-00-00-00-01");
            ASSERT_TRUE(expected.identity);
            const Identity& its = *expected.identity;
            EXPECT_EQ(info.getFW(), Platform::wideFromUtf8("SW-" + its.software + "_API-" + its.api));
            EXPECT_EQ(info.getSerialNumber(), Platform::wideFromUtf8(its.serial));
            EXPECT_EQ(info.getSubnetMask(), Platform::wideFromUtf8(its.netMask));
            EXPECT_EQ(info.getDefaultGateway(), Platform::wideFromUtf8(its.gateway));
            EXPECT_EQ(info.getResolutionX(), its.size.first);
            EXPECT_EQ(info.getResolutionY(), its.size.second);
        } catch (const DeviceException& exception) {
            EXPECT_FALSE(expected.identity);
            EXPECT_EQ(exception.getMessage(), expected.exception);
        }
        EXPECT_EQ(log.texts(), textsOf(expected.lines));
        EXPECT_FALSE(communicator.isConnected());
    }
};

TEST_P(ReplyOverSockets, EndsAsTheTableSays) {
    const ServedCamera served(settingsOf(GetParam()));
    expectIdentified(faultyCamera(served.textPort()));
    expectIdentified(goodCamera(served.textPort()));
    ++checked;
}

INSTANTIATE_TEST_SUITE_P(identify, ReplyOverSockets, testing::ValuesIn(replyCells), nameOfCell);
