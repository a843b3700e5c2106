// Whole captures: the plug-in's library, the host's transport over real sockets, a simulated camera.

#include "ServedCamera.h"
#include "TemporaryFolder.h"

#include "Camera/PngWriter.h"
#include "Camera/Scene.h"
#include "Camera/SgiWriter.h"
#include "Communicator/DeviceException.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <thread>

using namespace Integration;
using Simulator::CameraSettings;
using Simulator::SceneKind;

namespace {

CameraSettings settingsOf(SceneKind scene, Simulator::PictureSize size = {173, 97}) {
    CameraSettings settings;
    settings.scene.kind = scene;
    settings.size = size;
    return settings;
}

struct KindCase {
    const char* name;
    CaptureKind kind;
};

void PrintTo(const KindCase& each, std::ostream* stream) {
    *stream << each.name;
}

class CaptureOfEveryKind : public testing::TestWithParam<KindCase> {};

} // namespace

TEST_P(CaptureOfEveryKind, GivesTheSceneInGrey) {
    const CaptureKind kind = GetParam().kind;
    for (const SceneKind scene : {SceneKind::grid, SceneKind::ramp, SceneKind::noise, SceneKind::white}) {
        const CameraSettings settings = settingsOf(scene);
        ServedCamera camera(settings);
        PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
        const ImagePointer image = captureFrom(communicator, kind, 15);
        ASSERT_NE(image, nullptr) << settings.scene.describe();
        EXPECT_EQ(image->getWidth(), 173u);
        EXPECT_EQ(image->getHeight(), 97u);
        EXPECT_EQ(image->getSamplesPerPixel(), 1u);
        EXPECT_EQ(image->getBitsPerSample(), 8u);
        EXPECT_EQ(pixelsOf(image.get()), expectedPixels(settings, kind, 15)) << settings.scene.describe();
        EXPECT_EQ(camera.stopAndCount("configure: exposure"), 1u);
    }
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Capture, CaptureOfEveryKind,
    testing::Values(KindCase{"Mode2Sgi", {false, false, false}}, KindCase{"Mode2Png", {false, true, false}},
                    KindCase{"Mode3Sgi", {false, false, true}}, KindCase{"Mode3Png", {false, true, true}},
                    KindCase{"Mode1Sgi", {true, false, false}}, KindCase{"Mode1Png", {true, true, false}},
                    KindCase{"Mode1SgiOneSample", {true, false, true}},
                    KindCase{"Mode1PngOneSample", {true, true, true}}),
    [](const auto& each) { return each.param.name; });

TEST(Capture, GrowsBrighterWithTheExposureUntilItSaturates) {
    const CameraSettings settings = settingsOf(SceneKind::ramp);
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    for (const int exposure : {1, 7, 15, 3600}) {
        const ImagePointer image = captureFrom(communicator, {}, exposure);
        EXPECT_EQ(pixelsOf(image.get()), expectedPixels(settings, {}, exposure)) << exposure;
    }
}

TEST(Capture, FetchesAFullSizePicture) {
    const CameraSettings settings = settingsOf(SceneKind::noise, {2748, 1836});
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    const ImagePointer image = captureFrom(communicator, {}, 15);
    EXPECT_TRUE(pixelsOf(image.get()) == expectedPixels(settings, {}, 15));
}

TEST(Capture, FetchesPicturesOfOnePixelOneRowAndOneColumn) {
    for (const Simulator::PictureSize size :
         {Simulator::PictureSize{1, 1}, Simulator::PictureSize{65535, 1}, Simulator::PictureSize{1, 4000}}) {
        const CameraSettings settings = settingsOf(SceneKind::white, size);
        ServedCamera camera(settings);
        PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
        const ImagePointer image = captureFrom(communicator, {}, 15);
        EXPECT_TRUE(pixelsOf(image.get()) == expectedPixels(settings, {}, 15)) << size.width;
    }
}

TEST(Capture, AssemblesADrippedPicture) {
    CameraSettings settings = settingsOf(SceneKind::noise);
    settings.faults = {Simulator::parseFault("any:drip=7/0")};
    settings.size = Simulator::PictureSize{40, 20};
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    EXPECT_EQ(pixelsOf(captureFrom(communicator, {}, 15).get()), expectedPixels(settings, {}, 15));
}

TEST(Capture, OutlastsPausesLongerThanTheQuietOfTheLine) {
    CameraSettings settings = settingsOf(SceneKind::noise, {40, 20});
    settings.faults = {Simulator::parseFault("get:drip=1000/60")};
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    EXPECT_EQ(pixelsOf(captureFrom(communicator, {}, 15).get()), expectedPixels(settings, {}, 15));
    EXPECT_EQ(camera.stopAndCount("configure: exposure"), 1u);
}

TEST(Capture, WorksAgainAfterTheConnectionWasPulled) {
    CameraSettings settings = settingsOf(SceneKind::ramp);
    settings.faults = {Simulator::parseFault("get:reset*1")};
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    EXPECT_THROW(captureFrom(communicator, {}, 15), DeviceException);
    EXPECT_FALSE(communicator.isConnected());
    EXPECT_EQ(pixelsOf(captureFrom(communicator, {}, 15).get()), expectedPixels(settings, {}, 15));
}

TEST(Capture, WorksAgainAfterTheCameraWasAwayAndCameBack) {
    const CameraSettings settings = settingsOf(SceneKind::ramp);
    auto camera = std::make_unique<ServedCamera>(settings);
    const int port = camera->port();
    PosixEthernetCommunicator communicator(L"127.0.0.1", port, -1);
    EXPECT_NE(captureFrom(communicator, {}, 15), nullptr);
    camera.reset();
    EXPECT_THROW(captureFrom(communicator, {}, 15), DeviceException);
    camera = std::make_unique<ServedCamera>(settings, static_cast<std::uint16_t>(port));
    EXPECT_EQ(pixelsOf(captureFrom(communicator, {}, 15).get()), expectedPixels(settings, {}, 15));
}

TEST(Capture, OfTwoCamerasAtOnceGivesEachItsOwnPicture) {
    const CameraSettings first = settingsOf(SceneKind::grid, {300, 200});
    const CameraSettings second = settingsOf(SceneKind::noise, {211, 150});
    ServedCamera firstCamera(first);
    ServedCamera secondCamera(second);
    const auto takeThree = [](const ServedCamera& camera, const CameraSettings& settings, bool& allRight) {
        const Bytes expected = expectedPixels(settings, {}, 15);
        PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
        allRight = true;
        for (int i = 0; i < 3; ++i)
            allRight = allRight && pixelsOf(captureFrom(communicator, {}, 15).get()) == expected;
    };
    bool firstRight = false;
    bool secondRight = false;
    std::thread other([&] { takeThree(secondCamera, second, secondRight); });
    takeThree(firstCamera, first, firstRight);
    other.join();
    EXPECT_TRUE(firstRight);
    EXPECT_TRUE(secondRight);
}

namespace {

/// What one capture at `level` leaves in the diagnostics folder.
std::vector<std::pair<std::string, Bytes>> dumpedBy(const CameraSettings& settings, const CaptureKind& kind,
                                                    const log4cxx::LevelPtr& level) {
    const TemporaryFolder folder;
    const std::string name = folder.path().string();
    ReferenceHost::setImagesSubDirectory(std::wstring(name.begin(), name.end()));
    const TestSupport::LogCapture log("Plenar.KorvaCamera.KorvaCapture", level);
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    EXPECT_NE(captureFrom(communicator, kind, 15), nullptr);
    std::vector<std::pair<std::string, Bytes>> files;
    for (const std::string& file : folder.names())
        files.emplace_back(file, fileBytes(folder.path() / file));
    return files;
}

} // namespace

TEST(ImageDump, HoldsExactlyTheFileTheCameraSent) {
    const CameraSettings settings = settingsOf(SceneKind::noise);
    const auto sgi = dumpedBy(settings, {false, false, false}, log4cxx::Level::getTrace());
    ASSERT_EQ(sgi.size(), 1u);
    EXPECT_TRUE(sgi[0].first.starts_with("KorvaImage ") && sgi[0].first.ends_with(".sgi")) << sgi[0].first;
    EXPECT_TRUE(sgi[0].second ==
                Simulator::writeSgi(Simulator::renderScene(SceneKind::noise, {173, 97}, 3, 15, 1)));

    const auto png = dumpedBy(settings, {false, true, true}, log4cxx::Level::getTrace());
    ASSERT_EQ(png.size(), 1u);
    EXPECT_TRUE(png[0].first.starts_with("KorvaImage ") && png[0].first.ends_with(".png")) << png[0].first;
    EXPECT_TRUE(png[0].second ==
                Simulator::writePng(Simulator::renderScene(SceneKind::noise, {173, 97}, 1, 15, 1)));
}

TEST(ImageDump, IsNotWrittenBelowTraceLevel) {
    EXPECT_TRUE(dumpedBy(settingsOf(SceneKind::noise), {}, log4cxx::Level::getDebug()).empty());
}

TEST(ImageDump, FolderThatIsMissingLeavesTheCaptureUnaffected) {
    ReferenceHost::setImagesSubDirectory(L"/dev/null/missing");
    const TestSupport::LogCapture log("Plenar.KorvaCamera.KorvaCapture", log4cxx::Level::getTrace());
    const CameraSettings settings = settingsOf(SceneKind::noise);
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    EXPECT_EQ(pixelsOf(captureFrom(communicator, {}, 15).get()), expectedPixels(settings, {}, 15));
}
