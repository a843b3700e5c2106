#pragma once
// The commands that take pictures, and the one that sets who is told of a camera's health.

#include "Device/Cmd.h"
#include "ImagingLibrary/image_t.h"
#include "VantrelCommon/NetworkHealth.h"

#include <string>

namespace Tolvane::DeviceFramework2::Device {

extern template class HOSTFRAMEWORK_EXPORT SetCmd<image_t&>;
extern template class HOSTFRAMEWORK_EXPORT SetCmd<NetworkHealthCallback>;

namespace Capture {

/// Takes a picture and moves it into the image: 8-bit grey, of the camera's size. If the camera gives no
/// picture its pixels say nothing: the network-health callback tells.
class HOSTFRAMEWORK_EXPORT FillMonoImage : public SetCmd<image_t&> {
public:
    explicit FillMonoImage(image_t& image, std::string key = {});
    ~FillMonoImage() override;
};

/// As FillMonoImage, in the camera's own format.
class HOSTFRAMEWORK_EXPORT FillNativeImage : public SetCmd<image_t&> {
public:
    explicit FillNativeImage(image_t& image, std::string key = {});
    ~FillNativeImage() override;
};

} // namespace Capture

/// Sets the camera's network-health callback, replacing an earlier one.
class HOSTFRAMEWORK_EXPORT SetNetworkHealthCallback : public SetCmd<NetworkHealthCallback> {
public:
    explicit SetNetworkHealthCallback(NetworkHealthCallback callback);
    ~SetNetworkHealthCallback() override;
};

} // namespace Tolvane::DeviceFramework2::Device
