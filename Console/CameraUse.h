#pragma once
// What the tool does with one camera: pictures, and the connection probe.

#include "CameraHost.h"
#include "ImagingLibrary/image_t.h"
#include "VantrelCommon/NetworkHealth.h"

#include <optional>

namespace Console {

class ProgressBar;

/// A camera in use: notes the health that it reports, shows on a bar what arrives, and lets Ctrl-C and the
/// limits end a read. Camera and bar outlive it.
class CameraUse {
public:
    CameraUse(NativeCamera& camera, ProgressBar& bar, const TimeLimits& limits);
    CameraUse(const CameraUse&) = delete;
    CameraUse& operator=(const CameraUse&) = delete;

    /// The camera forgets the bar and this.
    ~CameraUse();

    /// In the camera's units of 100 ms, 1 to 3600. Throws CommandFailure if it takes no pictures.
    void setExposure(int units);

    /// A picture by the host's command. Nothing if the camera reports no "picture captured"; the log's
    /// remarks say why. Throws what the host throws.
    std::optional<image_t> takePicture();

    /// Probes the connection: nothing if the camera answers, else what it reports.
    std::optional<NetworkHealth> probe();

private:
    NativeCamera& camera_;
    TimeLimits limits_;
    int exposureUnits_ = 0;
    std::optional<NetworkHealth> reported_;
};

} // namespace Console
