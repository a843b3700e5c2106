// The order of virtual operations is a contract between host and plug-in. Where a pointer to a virtual
// member function holds the operation's offset in the table of virtual functions, the order can be read.

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "FakeCamera.h"
#include "NativeCameraControl/Imaging2Interface.h"
#include "Support/VirtualTable.h"

#include <cstddef>
#include <gtest/gtest.h>

using namespace Tolvane::DeviceFramework2::Device;
using TestSupport::entryOf;

namespace {

/// Of a class whose slot 0 is its destructor.
template <typename Member>
std::ptrdiff_t slotBehindDestructor(Member member) {
    return entryOf(member) - 1;
}

} // namespace

TEST(SlotOrder, OfDeviceType) {
    EXPECT_EQ(slotBehindDestructor(&DeviceType::getVariants), 1);
    EXPECT_EQ(slotBehindDestructor(&DeviceType::supports), 2);
    EXPECT_EQ(slotBehindDestructor(&DeviceType::isSameType), 3);
}

TEST(SlotOrder, OfDeviceBuilder) {
    using FromElement = Device* (DeviceBuilder::*)(xercesc::DOMNode*) const;
    using FromTemplate = Device* (DeviceBuilder::*)(const DeviceTemplate&) const;
    using FromCommunicator = Device* (DeviceBuilder::*)(Communicator*) const;
    EXPECT_EQ(slotBehindDestructor(static_cast<FromElement>(&DeviceBuilder::build)), 1);
    EXPECT_EQ(slotBehindDestructor(static_cast<FromTemplate>(&DeviceBuilder::build)), 2);
    EXPECT_EQ(slotBehindDestructor(static_cast<FromCommunicator>(&DeviceBuilder::build)), 3);
}

TEST(SlotOrder, OfDeviceFramework1Locator) {
    EXPECT_EQ(slotBehindDestructor(&DeviceFramework1Locator::serialObserverSearch), 1);
    EXPECT_EQ(slotBehindDestructor(&DeviceFramework1Locator::broadcastObserverSearch), 2);
    EXPECT_EQ(slotBehindDestructor(&DeviceFramework1Locator::rangeObserverSearch), 3);
    EXPECT_EQ(slotBehindDestructor(&DeviceFramework1Locator::supportsRangeSearch), 4);
}

TEST(SlotOrder, OfBroadcastWorkerObserver) {
    EXPECT_EQ(slotBehindDestructor(&BroadcastWorkerObserver::deviceFound), 1);
}

TEST(SlotOrder, OfBaseInterface) {
    EXPECT_EQ(slotBehindDestructor(&BaseInterface::getInterfaceType), 1);
    EXPECT_EQ(slotBehindDestructor(&BaseInterface::deregisterObserver), 2);
    EXPECT_EQ(slotBehindDestructor(&BaseInterface::updateObservers), 3);
    EXPECT_EQ(slotBehindDestructor(&BaseInterface::registerObserver2), 4);
}

TEST(SlotOrder, OfImagingInterface) {
    EXPECT_EQ(slotBehindDestructor(&ImagingInterface::getResolution), 5);
    EXPECT_EQ(slotBehindDestructor(&ImagingInterface::getBitDepth), 6);
    EXPECT_EQ(slotBehindDestructor(&ImagingInterface::setExposureTime), 7);
    EXPECT_EQ(slotBehindDestructor(&ImagingInterface::getExposureTime), 8);
    EXPECT_EQ(slotBehindDestructor(&ImagingInterface::getImage), 9);
}

TEST(SlotOrder, OfImaging2Interface) {
    EXPECT_EQ(slotBehindDestructor(&Imaging2Interface::getBinning), 5);
    EXPECT_EQ(slotBehindDestructor(&Imaging2Interface::setBinning), 6);
    EXPECT_EQ(slotBehindDestructor(&Imaging2Interface::getGamma), 7);
    EXPECT_EQ(slotBehindDestructor(&Imaging2Interface::setGamma), 8);
    EXPECT_EQ(slotBehindDestructor(&Imaging2Interface::getFrameCount), 9);
    EXPECT_EQ(slotBehindDestructor(&Imaging2Interface::getFrameRate), 10);
}

TEST(SlotOrder, OfINativeCamera) {
    EXPECT_EQ(entryOf(&INativeCamera::getBitDepth), 0);
    EXPECT_EQ(entryOf(&INativeCamera::setBitDepth), 1);
    EXPECT_EQ(entryOf(&INativeCamera::getExposureTime), 2);
    EXPECT_EQ(entryOf(&INativeCamera::setExposureTime), 3);
    EXPECT_EQ(entryOf(&INativeCamera::hasGainControl), 4);
    EXPECT_EQ(entryOf(&INativeCamera::getGain), 5);
    EXPECT_EQ(entryOf(&INativeCamera::setGain), 6);
    EXPECT_EQ(entryOf(&INativeCamera::getResolution), 7);
    EXPECT_EQ(entryOf(&INativeCamera::getCameraInfo), 8);
    EXPECT_EQ(entryOf(&INativeCamera::getEmbeddedIntrinsics), 9);
}

TEST(SlotOrder, OfACameraFamilysOwnOperationsIsRightBehindTheDestructor) {
    struct Family : NativeCamera {
        virtual void first() = 0;
    };
    // Slot 10 is the destructor with its two entries, 10 and 11.
    EXPECT_EQ(entryOf(&Family::first), 12);
}

TEST(SlotOrder, OfDevice) {
    EXPECT_EQ(entryOf(&Device::getName), 0);
    EXPECT_EQ(entryOf(&Device::setName), 1);
    EXPECT_EQ(entryOf(&Device::getId), 2);
    EXPECT_EQ(entryOf(&Device::updateId), 3);
    EXPECT_EQ(entryOf(&Device::getType), 4);
    EXPECT_EQ(entryOf(&Device::getUID), 5);
    EXPECT_EQ(entryOf(&Device::getModel), 6);
    EXPECT_EQ(entryOf(&Device::getModelId), 7);
    EXPECT_EQ(entryOf(&Device::setModelId), 8);
    EXPECT_EQ(entryOf(&Device::getDescription), 9);
    EXPECT_EQ(entryOf(&Device::getVersion), 10);
    EXPECT_EQ(entryOf(&Device::getMac), 11);
    EXPECT_EQ(entryOf(&Device::getCommunicator), 12);
    EXPECT_EQ(entryOf(&Device::setCommunicator), 13);
    EXPECT_EQ(entryOf(&Device::containsInterface), 14);
    EXPECT_EQ(entryOf(&Device::isAlive), 15);
    EXPECT_EQ(entryOf(&Device::isOffline), 16);
    EXPECT_EQ(entryOf(&Device::canDeviceDoTiling), 17);
    EXPECT_EQ(entryOf(static_cast<std::string (Device::*)() const>(&Device::toXml)), 18);
    EXPECT_EQ(entryOf(static_cast<void (Device::*)(std::ostream&, int) const>(&Device::toXml)), 19);
    EXPECT_EQ(entryOf(&Device::updatePassword), 20);
    EXPECT_EQ(entryOf(&Device::getPassword), 21);
    EXPECT_EQ(entryOf(&Device::observerRegistered), 22);
    EXPECT_EQ(entryOf(&Device::observerDeregistered), 23);
    EXPECT_EQ(entryOf(&Device::interfaceInvalid), 24);
    EXPECT_EQ(entryOf(&Device::setDataWaiting), 25);
    EXPECT_EQ(entryOf(&Device::setDataInvalid), 26);
    EXPECT_EQ(entryOf(&Device::startObserving), 27);
    EXPECT_EQ(entryOf(&Device::stopObserving), 28);
    EXPECT_EQ(entryOf(&Device::observing), 29);
    EXPECT_EQ(entryOf(&Device::stopPolling), 30);
    EXPECT_EQ(entryOf(&Device::getInternalInterface), 31);
    EXPECT_EQ(entryOf(&Device::toXmlInternal), 32);
    EXPECT_EQ(entryOf(&Device::startThread), 33);
}

TEST(SlotOrder, OfBaseDevice) {
    struct Opened : BaseDevice {
        using BaseDevice::installCmdHandlers;
    };
    EXPECT_EQ(slotBehindDestructor(&BaseDevice::supports), 1);
    EXPECT_EQ(slotBehindDestructor(&BaseDevice::execAsync), 2);
    EXPECT_EQ(slotBehindDestructor(&BaseDevice::execInternal), 3);
    EXPECT_EQ(slotBehindDestructor(&BaseDevice::initialize), 4);
    EXPECT_EQ(slotBehindDestructor(&Opened::installCmdHandlers), 5);
}
