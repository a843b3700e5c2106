#include "NativeCameraControl/NativeCamera.h"

#include "Communicator/ClientFactory.h"
#include "FakeCamera.h"
#include "ReferenceHost/DeviceDescription.h"
#include "VantrelCommon/NetworkHealth.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <xercesc/dom/DOMNode.hpp>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeCamera;
using Tests::FakeCommunicator;
using Tests::filledInfo;

namespace {

xercesc::DOMNode* childNamed(xercesc::DOMNode* parent, const std::u16string& name) {
    for (xercesc::DOMNode* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
        if (child->getNodeName() == name)
            return child;
    return nullptr;
}

} // namespace

TEST(NativeCamera, TellsWhoItIs) {
    const FakeCamera camera(nullptr, filledInfo());
    EXPECT_EQ(camera.getUID(), L"serial");
    EXPECT_EQ(camera.getModel(), L"model");
    EXPECT_EQ(camera.getDescription(), L"model, ip, serial number serial");
    EXPECT_EQ(camera.getName(), camera.getDescription());
    EXPECT_EQ(camera.getVersion(), L"fw");
    EXPECT_EQ(camera.getMac(), L"mac");
    EXPECT_EQ(camera.getResolution(), (Point<int, 2>(-3, 2147483647)));
    EXPECT_EQ(camera.getCameraInfo().getSerialNumber(), L"serial");
    EXPECT_EQ(camera.getEmbeddedIntrinsics(), L"");
}

TEST(NativeCamera, WithoutSerialNumberIsKnownByItsMacAddress) {
    CameraInfo info = filledInfo();
    info.setSerialNumber(L"");
    const FakeCamera camera(nullptr, info);
    EXPECT_EQ(camera.getUID(), L"mac");
    EXPECT_EQ(camera.getDescription(), L"model, ip");
    EXPECT_EQ(FakeCamera().getDescription(), L"") << "that nobody described";
    EXPECT_EQ(FakeCamera().getUID(), L"");
    EXPECT_EQ(FakeCamera().getResolution(), (Point<int, 2>(0, 0)));
}

TEST(NativeCamera, DescribesItselfInOneLineWhateverItsTextsHold) {
    CameraInfo info;
    info.setModel(L"Meri\ndian\x1b[31m\x7f\x85");
    info.setIpAddress(L"\U0001F600");
    EXPECT_EQ(FakeCamera(nullptr, info).getDescription(),
              L"Meri\uFFFDdian\uFFFD[31m\uFFFD\uFFFD, \U0001F600");
}

TEST(NativeCamera, TakesDepthAndExposureFromItsImagingInterface) {
    FakeCamera camera;
    EXPECT_EQ(camera.getBitDepth(), 12);
    EXPECT_EQ(camera.getExposureTime(), 150000);
    camera.setExposureTime(-5);
    EXPECT_EQ(camera.getExposureTime(), -5);
    camera.removeAllInterfaces();
    EXPECT_EQ(camera.getBitDepth(), 8);
    EXPECT_EQ(camera.getExposureTime(), 0);
    EXPECT_THROW(camera.setExposureTime(1), DeviceException);
}

TEST(NativeCamera, RefusesADepthAndAGainThatItHasNot) {
    FakeCamera camera;
    EXPECT_NO_THROW(camera.setBitDepth(12));
    EXPECT_THROW(camera.setBitDepth(8), DeviceException);
    EXPECT_FALSE(camera.hasGainControl());
    EXPECT_EQ(camera.getGain(), 1.0);
    EXPECT_NO_THROW(camera.setGain(1.0));
    EXPECT_THROW(camera.setGain(2.0), DeviceException);
}

TEST(NativeCamera, WritesADescriptionThatCanBeReadBack) {
    const FakeCamera camera(new FakeCommunicator(L"10.0.0.5", 32769, 250), filledInfo());
    const ReferenceHost::DeviceDescription description(camera.toXml());

    const CameraInfo info(childNamed(description.root(), u"CameraInfo"));
    EXPECT_EQ(info.toXml(), filledInfo().toXml());

    const std::unique_ptr<Communicator> communicator(
        ClientFactory::buildCommunicator(childNamed(description.root(), u"connection")));
    const auto& ethernet = dynamic_cast<const EthernetCommunicator&>(*communicator);
    EXPECT_EQ(ethernet.getAddress(), L"10.0.0.5");
    EXPECT_EQ(ethernet.getPort(), 32769);
    EXPECT_EQ(ethernet.getConnectTimeoutMs(), 250);
}

TEST(NativeCamera, ExecutesCommandsAsABaseDevice) {
    FakeCamera camera;
    BaseDevice& device = camera;
    image_t image;
    device.execInternal(std::make_shared<Capture::FillMonoImage>(image, "left"), {});
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2u);
    ASSERT_NE(image.pixels, nullptr);
    EXPECT_EQ(image.pixels[5], 6);

    int code = 0;
    device.execInternal(std::make_shared<SetNetworkHealthCallback>(
                            [&code](NetworkHealth health) { code = health.getCode(); }),
                        {});
    camera.healthCallback(NetworkHealth(NetworkHealth::captureFailed));
    EXPECT_EQ(code, 1032);
}

TEST(NetworkHealth, HasATextForEveryCode) {
    for (const auto& [code, text] : {std::pair(2, L"picture captured"), std::pair(1032, L"capture failed"),
                                     std::pair(2056, L"connection check failed"),
                                     std::pair(0, L"unknown status"), std::pair(-1, L"unknown status")})
        EXPECT_EQ(NetworkHealth(code).getText(), text);
}
