// Chosen cells of the fault matrix against the simulated camera over real sockets, held to the same table.

#include "ServedCamera.h"
#include "SocketCells.h"

#include "Communicator/DeviceException.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using namespace FaultMatrix;
using namespace Integration;

namespace {

constexpr unsigned int exposureUnits = 15; ///< a device's own
constexpr wchar_t loopback[] = L"127.0.0.1";

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

/// As a device asks for its pictures.
constexpr Simulator::Configuration deviceConfiguration{exposureUnits, 2, Simulator::PictureFormat::sgi};

std::wstring endpointOf(int port) {
    return std::wstring(loopback) + L":" + std::to_wstring(port);
}

CameraInfo describedBySize() {
    CameraInfo info;
    info.setResolutionX(static_cast<int>(cellPictureSize.width));
    info.setResolutionY(static_cast<int>(cellPictureSize.height));
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
        constexpr std::size_t count = std::size_t{cellPictureSize.width} * cellPictureSize.height;
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

} // namespace

class PictureOverSockets : public testing::TestWithParam<SocketCell> {};

TEST_P(PictureOverSockets, EndsAsTheTableSays) {
    const Simulator::CameraSettings settings = settingsOf(GetParam());
    ServedCamera served(settings);
    ServedDevice device(served.port());
    const DeviceOutcome expected =
        pictureRequest(endpointOf(served.port()), struckBy(GetParam(), deviceConfiguration));
    const Bytes good = expectedPixels(settings, {}, exposureUnits);
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
        connectionCheck(endpointOf(served.port()), struckBy(GetParam(), deviceConfiguration).reading);
    {
        const PluginLog log;
        EXPECT_EQ(device.camera.isAlive(), expected.good);
        EXPECT_EQ(log.texts(), textsOf(expected.lines));
    }
    EXPECT_EQ(device.reports, expected.good ? std::vector<int>{} : std::vector{expected.health});
    device.expectMended(expectedPixels(settings, {}, exposureUnits));
    ++checked;
}

INSTANTIATE_TEST_SUITE_P(health, ProbeOverSockets, testing::ValuesIn(probeCells), nameOfCell);

class ReplyOverSockets : public testing::TestWithParam<SocketCell> {
protected:
    /// At the ports that the system chose.
    static Identified at(int textPort, Identified camera) {
        camera.textPort = textPort;
        return camera;
    }

    static void expectIdentified(const Identified& camera) {
        const IdentityOutcome expected = identify(camera);
        ImpatientCommunicator communicator(camera.textPort);
        const PluginLog log;
        try {
            const CameraInfo info = Korva::determineCameraInfo(&communicator, "00-00-00-00-00-01");
            ASSERT_TRUE(expected.identity);
            expectSame(info, *expected.identity);
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
    expectIdentified(at(served.textPort(), faultyCamera(GetParam(), loopback)));
    expectIdentified(at(served.textPort(), goodCamera(GetParam(), loopback)));
    ++checked;
}

INSTANTIATE_TEST_SUITE_P(identify, ReplyOverSockets, testing::ValuesIn(replyCells), nameOfCell);
