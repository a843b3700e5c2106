// The order of virtual operations is a contract between host and plug-in. Where a pointer to a virtual
// member function holds the operation's offset in the table of virtual functions, the order can be read.

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "FakeCamera.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraControl/Imaging2Interface.h"
#include "Support/VirtualTable.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

using namespace Tolvane::DeviceFramework2::Device;
using TestSupport::entryOf;

namespace {

/// A destructor has two entries.
constexpr std::ptrdiff_t behindDestructor = 2;

template <typename... Members>
void expectInOrderFrom(std::ptrdiff_t first, Members... members) {
    const std::vector<std::ptrdiff_t> entries{entryOf(members)...};
    std::vector<std::ptrdiff_t> due(entries.size());
    std::iota(due.begin(), due.end(), first);
    EXPECT_EQ(entries, due);
}

} // namespace

TEST(SlotOrder, OfImagingLibrary) {
    expectInOrderFrom(0, &ImagingLibrary::createImage, &ImagingLibrary::releaseImage,
                      &ImagingLibrary::convertToGreyscale);
}

TEST(SlotOrder, OfDeviceType) {
    expectInOrderFrom(behindDestructor, &DeviceType::getVariants, &DeviceType::supports,
                      &DeviceType::isSameType);
}

TEST(SlotOrder, OfDeviceBuilder) {
    using FromElement = Device* (DeviceBuilder::*)(xercesc::DOMNode*) const;
    using FromTemplate = Device* (DeviceBuilder::*)(const DeviceTemplate&) const;
    using FromCommunicator = Device* (DeviceBuilder::*)(Communicator*) const;
    expectInOrderFrom(behindDestructor, static_cast<FromElement>(&DeviceBuilder::build),
                      static_cast<FromTemplate>(&DeviceBuilder::build),
                      static_cast<FromCommunicator>(&DeviceBuilder::build));
}

TEST(SlotOrder, OfDeviceFramework1Locator) {
    using Locator = DeviceFramework1Locator;
    expectInOrderFrom(behindDestructor, &Locator::serialObserverSearch, &Locator::broadcastObserverSearch,
                      &Locator::rangeObserverSearch, &Locator::supportsRangeSearch);
}

TEST(SlotOrder, OfBroadcastWorkerObserver) {
    expectInOrderFrom(behindDestructor, &BroadcastWorkerObserver::deviceFound);
}

TEST(SlotOrder, OfInterfaces) {
    using First = ImagingInterface;
    using Second = Imaging2Interface;
    expectInOrderFrom(behindDestructor, &BaseInterface::getInterfaceType, &BaseInterface::deregisterObserver,
                      &BaseInterface::updateObservers, &BaseInterface::registerObserver2);
    expectInOrderFrom(behindDestructor + 4, &First::getResolution, &First::getBitDepth,
                      &First::setExposureTime, &First::getExposureTime, &First::getImage);
    expectInOrderFrom(behindDestructor + 4, &Second::getBinning, &Second::setBinning, &Second::getGamma,
                      &Second::setGamma, &Second::getFrameCount, &Second::getFrameRate);
}

TEST(SlotOrder, OfINativeCamera) {
    using Camera = INativeCamera;
    expectInOrderFrom(0, &Camera::getBitDepth, &Camera::setBitDepth, &Camera::getExposureTime,
                      &Camera::setExposureTime, &Camera::hasGainControl, &Camera::getGain, &Camera::setGain,
                      &Camera::getResolution, &Camera::getCameraInfo, &Camera::getEmbeddedIntrinsics);
}

TEST(SlotOrder, OfACameraFamilysOwnOperationsIsRightBehindTheDestructor) {
    struct Family : NativeCamera {
        virtual void first() = 0;
    };
    expectInOrderFrom(10 + behindDestructor, &Family::first);
}

TEST(SlotOrder, OfDevice) {
    using ToText = std::string (Device::*)() const;
    using ToStream = void (Device::*)(std::ostream&, int) const;
    expectInOrderFrom(
        0, &Device::getName, &Device::setName, &Device::getId, &Device::updateId, &Device::getType,
        &Device::getUID, &Device::getModel, &Device::getModelId, &Device::setModelId, &Device::getDescription,
        &Device::getVersion, &Device::getMac, &Device::getCommunicator, &Device::setCommunicator,
        &Device::containsInterface, &Device::isAlive, &Device::isOffline, &Device::canDeviceDoTiling,
        static_cast<ToText>(&Device::toXml), static_cast<ToStream>(&Device::toXml), &Device::updatePassword,
        &Device::getPassword, &Device::observerRegistered, &Device::observerDeregistered,
        &Device::interfaceInvalid, &Device::setDataWaiting, &Device::setDataInvalid, &Device::startObserving,
        &Device::stopObserving, &Device::observing, &Device::stopPolling, &Device::getInternalInterface,
        &Device::toXmlInternal, &Device::startThread);
}

TEST(SlotOrder, OfBaseDevice) {
    struct Opened : BaseDevice {
        using BaseDevice::installCmdHandlers;
    };
    expectInOrderFrom(behindDestructor, &BaseDevice::supports, &BaseDevice::execAsync,
                      &BaseDevice::execInternal, &BaseDevice::initialize, &Opened::installCmdHandlers);
}
