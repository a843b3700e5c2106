// Every fault of the binary protocol that the simulated camera has, and what a capture makes of it.

#include "ServedCamera.h"

#include "Camera/FaultTable.h"
#include "Cells.h"
#include "Communicator/DeviceException.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

using namespace Integration;
using TestSupport::LogText;

namespace {

constexpr Simulator::PictureSize pictureSize{40, 20};
constexpr int exposureUnits = 15;

const char faults[] =
    "configure:checksum*1 configure:wrong-response configure:wrong-command configure:many-arguments "
    "configure:garbage configure:truncate-silent=3*1 configure:silent*1 "
    "take:checksum take:error=7 take:no-argument take:two-arguments take:unknown-code "
    "take:long-value take:flip=103*1 take:stale take:endless take:trail take:truncate-silent=9*1 "
    "take:reset take:close take:silent "
    "get:checksum get:error=4294967295*1 get:wrong-response get:two-arguments get:length-large "
    "get:length-small get:length-wrap get:huge-image get:stale get:scatter=15 "
    "get:truncate-close=1000 get:truncate-silent=1011*1 get:silent*1 get:delay=150 get:drip=500/5 "
    "get:garbage-picture get:empty-picture get:black-picture*1 get:black-picture "
    "any:twice";

class CaptureFromFaultyCamera : public testing::TestWithParam<std::string> {};

Faults::Outcome outcomeOf(const Simulator::CameraSettings& settings, int port) {
    Simulator::Camera camera(settings);
    Faults::Camera sessions = Faults::sessionsOf(camera);
    sessions.address = "127.0.0.1";
    sessions.binaryPort = port;
    Faults::Asking asking;
    asking.longestRead = std::chrono::milliseconds(ImpatientCommunicator::longestReadMs);
    return Faults::capture(sessions, asking);
}

std::vector<LogText> textsOf(const Faults::Lines& lines) {
    std::vector<LogText> texts;
    for (const Faults::Line& line : lines)
        texts.push_back({line.level, line.message});
    return texts;
}

/// Compares what is done with what is expected.
void expectCapture(Communicator& communicator, const Faults::Outcome& expected) {
    try {
        const ImagePointer image = captureFrom(communicator, {}, exposureUnits);
        ASSERT_EQ(image != nullptr, expected.isGood);
        EXPECT_TRUE(pixelsOf(image.get()) == expected.pixels);
        EXPECT_EQ(expected.exception, "");
    } catch (const DeviceException& exception) {
        EXPECT_EQ(Platform::utf8FromWide(exception.getMessage()), expected.exception);
    }
}

std::string nameOf(const testing::TestParamInfo<std::string>& info) {
    std::string name;
    for (const char c : info.param)
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? std::string(1, c)
                : c == '*'                                       ? "_times"
                                                                 : "_";
    return name;
}

} // namespace

TEST_P(CaptureFromFaultyCamera, EndsAsItShouldAndSaysSo) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = pictureSize;
    settings.faults = {Simulator::parseFault(GetParam())};
    const TestSupport::LogCapture log("Plenar.KorvaCamera", log4cxx::Level::getWarn());
    ServedCamera camera(settings);
    ImpatientCommunicator communicator(camera.port());
    const Faults::Outcome expected = outcomeOf(settings, camera.port());

    expectCapture(communicator, expected);
    EXPECT_EQ(log.texts(), textsOf(expected.lines));
    // Noise, exposed so that nothing is cut off, worked out without a file of the camera's.
    EXPECT_TRUE(expected.pixels.empty() || expected.pixels == expectedPixels(settings, {}, exposureUnits));
    EXPECT_FALSE(communicator.isConnected());
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
    // A camera that sends without end listens no more.
    const Simulator::FaultKind kind = settings.faults.front().kind;
    const bool isDeaf = kind == Simulator::FaultKind::endless || kind == Simulator::FaultKind::trail;
    EXPECT_EQ(camera.stopAndCount("configure: exposure"), isDeaf ? 1u : std::size_t(expected.attempts));
}

INSTANTIATE_TEST_SUITE_P(Fault, CaptureFromFaultyCamera, testing::ValuesIn(Faults::faultsIn(faults)), nameOf);

TEST(CaptureFromFaultyCamera, EveryFaultOfTheBinaryProtocolIsAmongThese) {
    const std::vector<std::string> all = Faults::faultsIn(faults);
    for (const Simulator::FaultRow& row : Simulator::faultRows) {
        const bool isHere = std::ranges::any_of(
            all, [&row](const std::string& fault) { return Simulator::parseFault(fault).kind == row.kind; });
        EXPECT_EQ(isHere, (row.reach & (Simulator::inBinary | Simulator::inPictures)) != 0) << row.name;
    }
}
