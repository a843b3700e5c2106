#pragma once
// The host-visible face of the camera's imaging.

#include "NativeCameraControl/ImagingInterface.h"

#include <memory>

class KorvaInternals;

/// Hands everything on to the camera's internals, which it keeps alive. See KorvaInternals for threads and
/// failures.
class KorvaImagingInterface final : public ImagingInterface {
public:
    /// `device`, a KorvaCamera, outlives the interface.
    KorvaImagingInterface(Device& device, std::shared_ptr<KorvaInternals> internals);
    ~KorvaImagingInterface() override;

    /// As the camera's description has it. Throws std::bad_cast if the device is no KorvaCamera.
    Point<int, 2> getResolution() override;
    int getBitDepth() override; // 8
    void setExposureTime(int time) override;
    int getExposureTime() override; // as last set
    void* getImage() override;      // KorvaInternals::getImaging1Image()

private:
    std::shared_ptr<KorvaInternals> internals_;
};
