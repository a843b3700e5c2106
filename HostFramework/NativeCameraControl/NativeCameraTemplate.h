#pragma once
// What a search knows of a camera before it is built.

#include "DeviceControl/DeviceTemplate.h"
#include "VantrelCommon/CameraInfo.h"

class HOSTFRAMEWORK_EXPORT NativeCameraTemplate : public DeviceTemplate {
public:
    NativeCameraTemplate(const DeviceType& type, const CameraInfo& info,
                         const CommunicatorTemplate& communicator);
    ~NativeCameraTemplate() override;

    CameraInfo getCameraInfo() const { return info_; }

private:
    CameraInfo info_;
};
