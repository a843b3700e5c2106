#pragma once
// What the hosts of soak and attack do with a loaded plug-in and the devices that it makes.

#include "Camera/CameraSettings.h"
#include "Communicator/ClientFactory.h"
#include "Communicator/EthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "DeviceControl/DeviceType.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"
#include "VantrelCommon/CameraInfo.h"
#include "VantrelCommon/NetworkHealth.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Soak {

namespace Commands = Tolvane::DeviceFramework2::Device;
using Bytes = std::vector<unsigned char>;

/// What a picture or a connection check gave.
struct Shot {
    std::vector<int> health;                 ///< reported
    std::pair<unsigned, unsigned> size = {}; ///< of the picture
    std::optional<Bytes> pixels = {};        ///< none where null came
    bool isAlive = false;

    bool isReported(int code) const { return health == std::vector{code}; }
};

inline void keep(Shot& shot, const void* pixels, unsigned width, unsigned height, std::size_t count) {
    shot.size = {width, height};
    const auto* const first = static_cast<const unsigned char*>(pixels);
    if (pixels != nullptr)
        shot.pixels.emplace(first, first + count);
}

/// What `work` makes the device report.
template <class Work>
Shot listenedTo(Device& device, const Work& work) {
    Shot shot;
    const auto callback = [&shot](NetworkHealth reported) { shot.health.push_back(reported.getCode()); };
    device.execInternal(std::make_shared<Commands::SetNetworkHealthCallback>(callback), {});
    work(shot);
    device.execInternal(std::make_shared<Commands::SetNetworkHealthCallback>(NetworkHealthCallback()), {});
    return shot;
}

inline std::wstring wide(const std::string& text) {
    return Platform::wideFromUtf8(text);
}

inline CameraInfo infoOf(const Device& device) {
    return dynamic_cast<const NativeCamera&>(device).getCameraInfo();
}

inline CameraInfo infoOf(const DeviceTemplate& found) {
    return dynamic_cast<const NativeCameraTemplate&>(found).getCameraInfo();
}

inline std::unique_ptr<Communicator> connectionTo(const std::string& address, int port) {
    return std::unique_ptr<Communicator>(ClientFactory::createEthernetCommunicator(wide(address), port, -1));
}

/// Null where the plug-in gives none.
inline std::unique_ptr<Device> buildFromConnection(const DeviceType& type, const std::string& address) {
    return std::unique_ptr<Device>(type.getBuilder().build(connectionTo(address, Simulator::textPort).get()));
}

/// The same. Throws what the host throws where the text is no description.
inline std::unique_ptr<Device> buildFromDescription(const DeviceType& type, const std::string& description) {
    const ReferenceHost::DeviceDescription read(description);
    return std::unique_ptr<Device>(type.getBuilder().build(read.root()));
}

/// What a search finds, in its order.
inline std::vector<std::unique_ptr<DeviceTemplate>> search(const DeviceType& type) {
    struct : BroadcastWorkerObserver {
        void deviceFound(DeviceTemplate* found, int) override { templates.emplace_back(found); }
        std::vector<std::unique_ptr<DeviceTemplate>> templates;
    } finder;
    type.getLocator().broadcastObserverSearch(&finder, 0);
    return std::move(finder.templates);
}

/// 0: getImage of the imaging interface; 1: FillNativeImage; 2: FillMonoImage; 3: FillNativeImage, on a
/// thread of the host's.
inline Shot takePicture(Device& device, std::size_t way) {
    return listenedTo(device, [&](Shot& shot) {
        image_t image;
        if (way == 0) {
            auto& imaging =
                dynamic_cast<ImagingInterface&>(*device.getInterface(ImagingInterface::interfaceTypeName));
            const auto size = imaging.getResolution();
            const auto width = static_cast<unsigned>(size.x());
            const auto height = static_cast<unsigned>(size.y());
            return keep(shot, imaging.getImage(), width, height, std::size_t{width} * height);
        }
        if (way == 1)
            device.execInternal(std::make_shared<Commands::Capture::FillNativeImage>(image), {});
        else if (way == 2)
            device.execInternal(std::make_shared<Commands::Capture::FillMonoImage>(image), {});
        else
            device.execAsync(std::make_shared<Commands::Capture::FillNativeImage>(image), {}).get();
        keep(shot, image.pixels.get(), static_cast<unsigned>(image.width), image.height,
             image_t::byteCount(image.format, image.width, image.height));
    });
}

inline Shot checkConnection(Device& device) {
    return listenedTo(device, [&](Shot& shot) { shot.isAlive = device.isAlive(); });
}

} // namespace Soak
