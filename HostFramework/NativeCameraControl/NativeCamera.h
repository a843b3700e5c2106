#pragma once
// The base of every camera device.

#include "DeviceControl/Device2Bridge.h"
#include "NativeCameraControl/INativeCamera.h"
#include "VantrelCommon/SlotNames.h"

#include <string>

/// A camera that is described by a CameraInfo. Depth and exposure go through the camera's ImagingInterface.
/// It overrides none of Device's operations, so a camera family's own come right behind the destructor.
///
/// To the device it says: the serial number as UID, else the MAC address; the model; model, address and
/// serial number as description, in one line (control characters become U+FFFD); the firmware as version;
/// the MAC address. Its stored description has a "CameraInfo" and a "connection" element.
class HOSTFRAMEWORK_EXPORT NativeCamera : public INativeCamera, public Device2Bridge {
public:
    /// Takes the communicator over, also if it throws.
    NativeCamera(Communicator* communicator, const CameraInfo& info);

    /// As the ImagingInterface has it, 8 without one.
    int getBitDepth() const override;
    /// Throws DeviceException for any other depth than getBitDepth(): it is the camera's own.
    void setBitDepth(int bits) override;
    /// As the ImagingInterface has it, 0 without one.
    int getExposureTime() const override;
    /// Throws DeviceException if the camera has no ImagingInterface.
    void setExposureTime(int time) override;
    bool hasGainControl() const override; // false
    double getGain() const override;      // 1.0
    /// Throws DeviceException for any other gain than 1.0.
    void setGain(double gain) override;
    /// As the description has it; (0, 0) if that is unknown.
    Point<int, 2> getResolution() const override;
    /// The description as given at construction.
    CameraInfo getCameraInfo() const override;
    std::wstring getEmbeddedIntrinsics() const override; // empty
    ~NativeCamera() override;

protected:
    /// Installs what every camera answers to; nothing at present.
    void installCommonCmdHandlers();

private:
    CameraInfo info_;
};
