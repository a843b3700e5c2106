#include "NativeCameraKorva/KorvaImagingInterface.h"

#include "DeviceFixture.h"
#include "NativeCameraControl/Imaging2Interface.h"
#include "NativeCameraKorva/KorvaInternals.h"
#include "Support/LogCapture.h"

#include <gtest/gtest.h>

#include <typeinfo>

using namespace DeviceFixture;

namespace {

struct KorvaImagingInterfaceTest : ::testing::Test {
    HeldCamera camera{1676, 1266};
    std::shared_ptr<KorvaInternals> internals = std::make_shared<KorvaInternals>(camera.device.get());
    KorvaImagingInterface imaging{*camera.device, internals};
    ImagingInterface& host = imaging; ///< as the host sees it
};

/// A device that is no KorvaCamera.
class OtherCamera final : public NativeCamera {
public:
    OtherCamera() : NativeCamera(nullptr, describedAs(4, 3)) {}
    const DeviceType& getType() const override { throw std::bad_cast(); }
};

} // namespace

TEST_F(KorvaImagingInterfaceTest, IsFoundUnderTheHostsName) {
    EXPECT_EQ(host.getInterfaceType(), ImagingInterface::interfaceTypeName);
}

TEST_F(KorvaImagingInterfaceTest, AnswersWithTheResolutionOfTheCamerasDescription) {
    EXPECT_EQ(host.getResolution(), (Point<int, 2>(1676, 1266)));
}

TEST_F(KorvaImagingInterfaceTest, RefusesTheResolutionOfADeviceThatIsNoKorvaCamera) {
    OtherCamera other;
    KorvaImagingInterface stray(other, internals);
    EXPECT_THROW(stray.getResolution(), std::bad_cast);
}

TEST_F(KorvaImagingInterfaceTest, AnswersWithEightBitsWhateverTheCameraIs) {
    EXPECT_EQ(host.getBitDepth(), 8);
}

TEST_F(KorvaImagingInterfaceTest, HandsTheExposureToTheInternalsAndAnswersWithItAsGiven) {
    EXPECT_EQ(host.getExposureTime(), 150000);
    const TestSupport::LogCapture log("Plenar.KorvaCamera.KorvaInternals");
    host.setExposureTime(-5000);
    EXPECT_EQ(host.getExposureTime(), -5000);
    EXPECT_EQ(internals->getExposureTime(), -5000);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].message, "Setting korva exposure to 1 x100 ms");
}

TEST_F(KorvaImagingInterfaceTest, AnswersWithThePictureOfTheInternals) {
    HeldCamera small(4, 3);
    auto its = std::make_shared<KorvaInternals>(small.device.get());
    KorvaImagingInterface smallImaging(*small.device, its);
    answerCapture(*small.transport, greyFile(4, 3));
    const auto* const pixels = static_cast<const std::uint8_t*>(smallImaging.getImage());
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(Bytes(pixels, pixels + 12), greyPixels(12));
    EXPECT_EQ(smallImaging.getImage(), nullptr); // nothing more is answered
}

TEST(KorvaImaging2Interface, IsFoundUnderTheHostsNameAndAnswersZero) {
    const HeldCamera camera;
    auto* const imaging =
        dynamic_cast<Imaging2Interface*>(camera.device->getInterface(Imaging2Interface::interfaceTypeName));
    ASSERT_NE(imaging, nullptr);
    imaging->setBinning(4);
    imaging->setGamma(2.2);
    EXPECT_EQ(imaging->getBinning(), 0);
    EXPECT_EQ(imaging->getGamma(), 0.0);
    EXPECT_EQ(imaging->getFrameCount(), 0);
    EXPECT_EQ(imaging->getFrameRate(), 0);
    EXPECT_TRUE(camera.transport->calls().empty());
}
