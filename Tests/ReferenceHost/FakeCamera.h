#pragma once
// A camera built on the host's bases alone, for the tests of those.

#include "Communicator/PosixEthernetCommunicator.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraType.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Tests {

/// A connection that nobody makes.
struct FakeCommunicator : PosixEthernetCommunicator {
    explicit FakeCommunicator(const std::wstring& address = L"10.0.0.5", int timeoutMs = -1)
        : PosixEthernetCommunicator(address, 32769, timeoutMs) {}
};

struct FakeLocator : DeviceFramework1Locator {
    void serialObserverSearch(BroadcastWorkerObserver*) override {}
    void broadcastObserverSearch(BroadcastWorkerObserver*, unsigned int) override {}
    void rangeObserverSearch(BroadcastWorkerObserver*) override {}
    bool supportsRangeSearch() const override { return false; }
};

struct FakeBuilder : DeviceBuilder {
    Device* build(xercesc::DOMNode*) const override { return nullptr; }
    Device* build(const DeviceTemplate&) const override { return nullptr; }
    Device* build(Communicator*) const override { return nullptr; }
};

/// With a token that is seen to go with it.
template <class Fake>
struct Watched : Fake {
    explicit Watched(std::shared_ptr<const int> itsToken) : token(std::move(itsToken)) {}
    std::shared_ptr<const int> token;
};

struct FakeType : NativeCameraType {
    explicit FakeType(DeviceFramework1Locator* locator = new FakeLocator,
                      DeviceBuilder* builder = new FakeBuilder)
        : NativeCameraType(L"FAK", L"1.0", L"Fake", locator, builder) {}
    std::vector<std::wstring> getVariants() const override { return {}; }
    bool isSameType(const DeviceType* other) const override { return other == this; }
};

/// A command that no host knows.
struct Knock : Tolvane::DeviceFramework2::Device::Cmd {};

inline void throwBroken(const std::shared_ptr<Tolvane::DeviceFramework2::Device::Cmd>&,
                        const Tolvane::DeviceFramework2::Device::CmdResultCallbacks&) {
    throw std::runtime_error("broken");
}

/// Another value in each field.
inline CameraInfo filledInfo() {
    CameraInfo info;
    info.setCameraTypeEnum(6);
    info.setIpAddress(L"ip");
    info.setFW(L"fw");
    info.setMacAddress(L"mac");
    info.setResolutionX(-3);
    info.setResolutionY(2147483647);
    info.setModel(L"model");
    info.setSerialNumber(L"serial");
    info.setDefaultGateway(L"gateway");
    info.setSubnetMask(L"mask");
    return info;
}

/// Imaging of 12 bits.
struct FakeImaging : ImagingInterface {
    using ImagingInterface::ImagingInterface;
    Point<int, 2> getResolution() override { return Point<int, 2>(3, 2); }
    int getBitDepth() override { return 12; }
    void setExposureTime(int time) override { exposureTime = time; }
    int getExposureTime() override { return exposureTime; }
    void* getImage() override { return nullptr; }

    int exposureTime = 150000;
};

/// A camera that has no interfaces and handles no commands.
struct FakeCamera : NativeCamera {
    explicit FakeCamera(const CameraInfo& info = {}, Communicator* communicator = nullptr)
        : NativeCamera(communicator, info) {}
    const DeviceType& getType() const override {
        static const FakeType type;
        return type;
    }
    using BaseDevice::installCmdHandler;
};

} // namespace Tests
