// Whole captures: the plug-in's library, the host's transport over real sockets, a simulated camera.

#include "ServedCamera.h"

#include "Communicator/DeviceException.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>

#include <future>
#include <string>

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

} // namespace

TEST(Capture, OfEveryKindGivesTheSceneInGrey) {
    for (unsigned number = 0; number < 8 * 4; ++number) {
        const CaptureKind kind{(number & 1) != 0, (number & 2) != 0, (number & 4) != 0};
        const auto scenes = {SceneKind::grid, SceneKind::ramp, SceneKind::noise, SceneKind::white};
        ConnectedCamera connected(settingsOf(scenes.begin()[number / 8]));
        SCOPED_TRACE(connected.settings.scene.describe() + ", kind " + std::to_string(number % 8));
        const ImagePointer image = connected.capture(kind);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->getWidth(), 173u);
        EXPECT_EQ(image->getHeight(), 97u);
        EXPECT_EQ(image->getSamplesPerPixel(), 1u);
        EXPECT_EQ(image->getBitsPerSample(), 8u);
        EXPECT_EQ(pixelsOf(image.get()), expectedPixels(connected.settings, kind, 15));
        EXPECT_EQ(connected.camera->stopAndCount("configure: exposure"), 1u);
    }
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
}

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

TEST(Capture, WorksAgainAfterTheCameraWasAwayAndCameBack) {
    ConnectedCamera connected(settingsOf(SceneKind::ramp));
    EXPECT_TRUE(connected.givesItsScene());
    connected.camera.reset();
    EXPECT_THROW(connected.capture(), DeviceException);
    connected.camera.emplace(connected.settings, static_cast<std::uint16_t>(connected.port));
    EXPECT_TRUE(connected.givesItsScene());
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
