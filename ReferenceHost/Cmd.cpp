#include "Device/Cmd.h"

#include "Device/CaptureCmds.h"

#include <typeinfo>

namespace Tolvane::DeviceFramework2::Device {

Cmd::Cmd(std::string key) : key_(std::move(key)) {}

Cmd::~Cmd() = default;

std::string Cmd::getTypeName() const {
    return typeid(*this).name();
}

template class SetCmd<image_t&>;
template class SetCmd<NetworkHealthCallback>;

Capture::FillMonoImage::FillMonoImage(image_t& image, std::string key) : SetCmd(image, std::move(key)) {}

Capture::FillMonoImage::~FillMonoImage() = default;

Capture::FillNativeImage::FillNativeImage(image_t& image, std::string key) : SetCmd(image, std::move(key)) {}

Capture::FillNativeImage::~FillNativeImage() = default;

SetNetworkHealthCallback::SetNetworkHealthCallback(NetworkHealthCallback callback)
    : SetCmd(std::move(callback)) {}

SetNetworkHealthCallback::~SetNetworkHealthCallback() = default;

} // namespace Tolvane::DeviceFramework2::Device
