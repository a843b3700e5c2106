#pragma once
// The base of every camera device.

#include "DeviceControl/Device2Bridge.h"
#include "NativeCameraControl/INativeCamera.h"

/// A camera that is described by a CameraInfo. Exposure goes through the camera's ImagingInterface where it
/// has one.
class HOSTFRAMEWORK_EXPORT NativeCamera : public INativeCamera, public Device2Bridge {
public:
    /// Takes the communicator over.
    NativeCamera(Communicator* communicator, const CameraInfo& info);

    int getBitDepth() const override;
    void setBitDepth(int bits) override;
    int getExposureTime() const override;
    void setExposureTime(int time) override;
    bool hasGainControl() const override;
    double getGain() const override;
    void setGain(double gain) override;
    Point<int, 2> getResolution() const override;
    CameraInfo getCameraInfo() const override;
    std::wstring getEmbeddedIntrinsics() const override;
    ~NativeCamera() override;

    std::wstring getUID() const override;
    std::wstring getModel() const override;
    /// Model, address and serial number in one line.
    std::wstring getDescription() const override;
    std::wstring getVersion() const override;
    std::wstring getMac() const override;
    /// A "CameraInfo" and a "connection" element.
    void toXmlInternal(std::ostream& stream, int indent) const override;

protected:
    /// Installs what every camera answers to; nothing at present.
    void installCommonCmdHandlers();

private:
    CameraInfo info_;
    int bitDepth_ = 8;
};
