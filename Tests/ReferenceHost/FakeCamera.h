#pragma once
// A camera built on the host's bases alone, for the tests of those.

#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraType.h"
#include "Support/Thrown.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Tests {

/// Held by whatever is to be seen to go.
using Token = std::shared_ptr<const int>;

/// A connection that is only counted.
class FakeCommunicator : public EthernetCommunicator {
public:
    explicit FakeCommunicator(std::wstring address = L"10.0.0.5", int port = 32769, int timeoutMs = -1,
                              Token token = {})
        : EthernetCommunicator(timeoutMs), address_(std::move(address)), port_(port),
          token_(std::move(token)) {}

    std::wstring getAddress() const override { return address_; }
    int getPort() const override { return port_; }
    void writeBytes(const void*, unsigned int, bool, int) override {}
    int readBytes(void*, unsigned int, int, unsigned int) override { return 0; }
    bool isConnected() const override { return connected; }

    bool connected = false;
    bool refuses = false;
    int connects = 0;
    int disconnects = 0;

protected:
    void connect() override {
        if (refuses)
            throw DeviceException(L"refused");
        ++connects;
        connected = true;
    }
    void disconnect() noexcept override {
        ++disconnects;
        connected = false;
    }

private:
    std::wstring address_;
    int port_;
    Token token_;
};

class FakeLocator : public DeviceFramework1Locator {
public:
    explicit FakeLocator(Token token = {}) : token_(std::move(token)) {}
    void serialObserverSearch(BroadcastWorkerObserver*) override {}
    void broadcastObserverSearch(BroadcastWorkerObserver*, unsigned int) override {}
    void rangeObserverSearch(BroadcastWorkerObserver*) override {}
    bool supportsRangeSearch() const override { return false; }

private:
    Token token_;
};

class FakeBuilder : public DeviceBuilder {
public:
    explicit FakeBuilder(Token token = {}) : token_(std::move(token)) {}
    Device* build(xercesc::DOMNode*) const override { return nullptr; }
    Device* build(const DeviceTemplate&) const override { return nullptr; }
    Device* build(Communicator*) const override { return nullptr; }

private:
    Token token_;
};

class FakeType : public NativeCameraType {
public:
    explicit FakeType(DeviceFramework1Locator* locator = new FakeLocator,
                      DeviceBuilder* builder = new FakeBuilder)
        : NativeCameraType(L"FAK", L"1.0", L"Fake", locator, builder) {}
    std::vector<std::wstring> getVariants() const override { return {}; }
    bool isSameType(const DeviceType* other) const override {
        return dynamic_cast<const FakeType*>(other) != nullptr;
    }
};

/// A command that no host knows.
class Knock : public Tolvane::DeviceFramework2::Device::Cmd {
public:
    using Cmd::Cmd;
};

inline void throwBroken(const std::shared_ptr<Tolvane::DeviceFramework2::Device::Cmd>&,
                        const Tolvane::DeviceFramework2::Device::CmdResultCallbacks&) {
    throw std::runtime_error("broken");
}

/// The message of the DeviceException that `action` throws; empty if it throws none.
template <typename Action>
std::string reasonOf(const Action& action) {
    return TestSupport::thrownBy<DeviceException>(action);
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

/// Imaging of 3 by 2 pixels.
class FakeImaging : public ImagingInterface {
public:
    using ImagingInterface::ImagingInterface;
    Point<int, 2> getResolution() override { return Point<int, 2>(3, 2); }
    int getBitDepth() override { return 12; }
    void setExposureTime(int time) override { exposureTime = time; }
    int getExposureTime() override { return exposureTime; }
    void* getImage() override { return pixels; }

    int exposureTime = 150000;
    unsigned char pixels[6] = {1, 2, 3, 4, 5, 6};
};

/// Answers the image commands and the health command as a camera does.
class FakeCamera : public NativeCamera {
public:
    explicit FakeCamera(Communicator* communicator = nullptr, const CameraInfo& info = {})
        : NativeCamera(communicator, info) {
        addInterface(new FakeImaging(*this));
        initialize();
    }
    ~FakeCamera() override { removeAllInterfaces(); }

    const DeviceType& getType() const override {
        static const FakeType type;
        return type;
    }

    using BaseDevice::installCmdHandler;

    NetworkHealthCallback healthCallback;
    int installations = 0;

protected:
    void installCmdHandlers() override {
        using namespace Tolvane::DeviceFramework2::Device;
        ++installations;
        installCommonCmdHandlers();
        installCmdHandler<Capture::FillMonoImage>(
            [this](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
                auto* const imaging =
                    dynamic_cast<ImagingInterface*>(getInterface(ImagingInterface::interfaceTypeName));
                auto& fill = dynamic_cast<SetCmd<image_t&>&>(*command);
                fill.getValue() = image_t(image_t::layoutGrey, 3, 2, imaging->getImage(), 0);
            });
        installCmdHandler<SetNetworkHealthCallback>(
            [this](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
                healthCallback = dynamic_cast<SetCmd<NetworkHealthCallback>&>(*command).getValue();
            });
    }
};

} // namespace Tests
