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

namespace {

/// A destructor has two entries.
constexpr std::ptrdiff_t behindDestructor = 2;

template <typename... Members>
void expectInOrderFrom(std::ptrdiff_t first, Members... members) {
    const std::vector<std::ptrdiff_t> entries{TestSupport::entryOf(members)...};
    std::vector<std::ptrdiff_t> due(entries.size());
    std::iota(due.begin(), due.end(), first);
    EXPECT_EQ(entries, due);
}

} // namespace

TEST(SlotOrder, OfTheImagingLibrary) {
    expectInOrderFrom(0, &ImagingLibrary::createImage, &ImagingLibrary::releaseImage,
                      &ImagingLibrary::convertToGreyscale);
}

TEST(SlotOrder, OfATypeAndItsFactories) {
    expectInOrderFrom(behindDestructor, &DeviceType::getVariants, &DeviceType::supports,
                      &DeviceType::isSameType);
    using Builder = DeviceBuilder;
    expectInOrderFrom(behindDestructor,
                      static_cast<Device* (Builder::*)(xercesc::DOMNode*) const>(&Builder::build),
                      static_cast<Device* (Builder::*)(const DeviceTemplate&) const>(&Builder::build),
                      static_cast<Device* (Builder::*)(Communicator*) const>(&Builder::build));
    using Locator = DeviceFramework1Locator;
    expectInOrderFrom(behindDestructor, &Locator::serialObserverSearch, &Locator::broadcastObserverSearch,
                      &Locator::rangeObserverSearch, &Locator::supportsRangeSearch);
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

TEST(SlotOrder, OfADevice) {
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
    struct Opened : BaseDevice {
        using BaseDevice::installCmdHandlers;
    };
    expectInOrderFrom(behindDestructor, &BaseDevice::supports, &BaseDevice::execAsync,
                      &BaseDevice::execInternal, &BaseDevice::initialize, &Opened::installCmdHandlers);
}

TEST(SlotOrder, OfACameraWhoseFamilysOwnOperationsAreRightBehindTheDestructor) {
    using Camera = INativeCamera;
    expectInOrderFrom(0, &Camera::getBitDepth, &Camera::setBitDepth, &Camera::getExposureTime,
                      &Camera::setExposureTime, &Camera::hasGainControl, &Camera::getGain, &Camera::setGain,
                      &Camera::getResolution, &Camera::getCameraInfo, &Camera::getEmbeddedIntrinsics);
    struct Family : NativeCamera {
        virtual void first() = 0;
    };
    expectInOrderFrom(10 + behindDestructor, &Family::first);
}
