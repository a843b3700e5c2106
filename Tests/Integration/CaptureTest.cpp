// Whole captures: the plug-in's library, the host's transport over real sockets, a simulated camera.

#include "ServedCamera.h"

#include "Camera/PngWriter.h"
#include "Camera/Scene.h"
#include "Camera/SgiWriter.h"
#include "Communicator/DeviceException.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"
#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <tuple>

using namespace Integration;
using Simulator::CameraSettings;
using Simulator::SceneKind;

namespace {

CameraSettings settingsOf(SceneKind scene, Simulator::PictureSize size = {173, 97},
                          const char* fault = nullptr) {
    CameraSettings settings;
    settings.scene.kind = scene;
    settings.size = size;
    if (fault != nullptr)
        settings.faults = {Simulator::parseFault(fault)};
    return settings;
}

class CaptureOfEveryKind : public testing::TestWithParam<std::tuple<bool, bool, bool>> {};

} // namespace

TEST_P(CaptureOfEveryKind, GivesTheSceneInGrey) {
    const auto& [forceMode1, png, monochrome] = GetParam();
    const CaptureKind kind{forceMode1, png, monochrome};
    for (const SceneKind scene : {SceneKind::grid, SceneKind::ramp, SceneKind::noise, SceneKind::white}) {
        ConnectedCamera connected(settingsOf(scene));
        const ImagePointer image = connected.capture(kind);
        ASSERT_NE(image, nullptr) << connected.settings.scene.describe();
        EXPECT_EQ(image->getWidth(), 173u);
        EXPECT_EQ(image->getHeight(), 97u);
        EXPECT_EQ(image->getSamplesPerPixel(), 1u);
        EXPECT_EQ(image->getBitsPerSample(), 8u);
        EXPECT_EQ(pixelsOf(image.get()), expectedPixels(connected.settings, kind, 15))
            << connected.settings.scene.describe();
        EXPECT_EQ(connected.camera.stopAndCount("configure: exposure"), 1u);
    }
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Capture, CaptureOfEveryKind,
                         testing::Combine(testing::Bool(), testing::Bool(), testing::Bool()),
                         [](const auto& kind) {
                             return std::string(std::get<0>(kind.param) ? "Forced" : "Chosen") + "Mode" +
                                    (std::get<1>(kind.param) ? "Png" : "Sgi") +
                                    (std::get<2>(kind.param) ? "OneSample" : "Colour");
                         });

TEST(Capture, GrowsBrighterWithTheExposureUntilItSaturates) {
    ConnectedCamera connected(settingsOf(SceneKind::ramp));
    for (const int exposure : {1, 7, 15, 3600})
        EXPECT_TRUE(connected.givesItsScene({}, exposure)) << exposure;
}

TEST(Capture, FetchesPicturesOfOnePixelOneRowOneColumnAndFullSize) {
    for (const Simulator::PictureSize size :
         {Simulator::PictureSize{1, 1}, {65535, 1}, {1, 4000}, {2748, 1836}})
        EXPECT_TRUE(ConnectedCamera(settingsOf(SceneKind::noise, size)).givesItsScene()) << size.width;
}

TEST(Capture, AssemblesAPictureThatDripsAndPausesLongerThanTheQuietOfTheLine) {
    for (const char* fault : {"any:drip=7/0", "get:drip=1000/60"}) {
        ConnectedCamera connected(settingsOf(SceneKind::noise, {40, 20}, fault));
        EXPECT_TRUE(connected.givesItsScene()) << fault;
        EXPECT_EQ(connected.camera.stopAndCount("configure: exposure"), 1u) << fault;
    }
}

TEST(Capture, WorksAgainAfterTheConnectionWasPulled) {
    ConnectedCamera connected(settingsOf(SceneKind::ramp, {173, 97}, "get:reset*1"));
    EXPECT_THROW(connected.capture(), DeviceException);
    EXPECT_FALSE(connected.communicator.isConnected());
    EXPECT_TRUE(connected.givesItsScene());
}

TEST(Capture, WorksAgainAfterTheCameraWasAwayAndCameBack) {
    const CameraSettings settings = settingsOf(SceneKind::ramp);
    auto camera = std::make_unique<ServedCamera>(settings);
    const auto port = static_cast<std::uint16_t>(camera->port());
    PosixEthernetCommunicator communicator(L"127.0.0.1", port, -1);
    EXPECT_NE(captureFrom(communicator, {}, 15), nullptr);
    camera.reset();
    EXPECT_THROW(captureFrom(communicator, {}, 15), DeviceException);
    camera = std::make_unique<ServedCamera>(settings, port);
    EXPECT_EQ(pixelsOf(captureFrom(communicator, {}, 15).get()), expectedPixels(settings, {}, 15));
}

TEST(Capture, OfTwoCamerasAtOnceGivesEachItsOwnPicture) {
    const auto givesThree = [](const CameraSettings& settings) {
        ConnectedCamera connected(settings);
        return connected.givesItsScene() && connected.givesItsScene() && connected.givesItsScene();
    };
    auto other = std::async(std::launch::async, givesThree, settingsOf(SceneKind::noise, {211, 150}));
    EXPECT_TRUE(givesThree(settingsOf(SceneKind::grid, {300, 200})));
    EXPECT_TRUE(other.get());
}

TEST(Capture, DumpsExactlyTheFileTheCameraSent) {
    for (const bool png : {false, true}) {
        const TestSupport::TemporaryFolder folder;
        ReferenceHost::setImagesSubDirectory(folder.path().wstring());
        const TestSupport::LogCapture log("Plenar.KorvaCamera.KorvaCapture", log4cxx::Level::getTrace());
        EXPECT_NE(ConnectedCamera(settingsOf(SceneKind::noise)).capture({false, png, png}), nullptr);
        const Simulator::Picture sent =
            Simulator::renderScene(SceneKind::noise, {173, 97}, png ? 1 : 3, 15, 1);
        ASSERT_EQ(folder.names().size(), 1u);
        const std::string name = folder.names()[0];
        EXPECT_TRUE(name.starts_with("KorvaImage ") && name.ends_with(png ? ".png" : ".sgi")) << name;
        std::ifstream stream(folder.file(name), std::ios::binary);
        const Bytes dumped(std::istreambuf_iterator<char>(stream), {});
        EXPECT_TRUE(dumped == (png ? Simulator::writePng(sent) : Simulator::writeSgi(sent)));
    }
}
