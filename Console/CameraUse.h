#pragma once
// What the tool does with one camera: pictures, and the connection probe.

#include "CameraHost.h"
#include "FetchGate.h"
#include "ImagingLibrary/image_t.h"
#include "VantrelCommon/NetworkHealth.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace Console {

class ProgressBar;

/// A camera in use: notes the health that it reports, shows on a bar how long it exposes and what arrives,
/// and lets Ctrl-C and the limits end a read. Camera, bar and gate outlive it.
class CameraUse {
public:
    /// The host counts units of 10 microseconds, the camera of 100 ms.
    static constexpr int exposureTimePerUnit = 10'000;

    /// With a gate, a picture of more than 1 MiB is fetched and decoded with a place there.
    CameraUse(NativeCamera& camera, ProgressBar& bar, const TimeLimits& limits, FetchGate* gate = nullptr);
    CameraUse(const CameraUse&) = delete;
    CameraUse& operator=(const CameraUse&) = delete;

    /// The camera forgets the bar and this.
    ~CameraUse();

    /// In the camera's units of 100 ms, 1 to 3600. Throws CommandFailure if it takes no pictures.
    void setExposure(int units);

    /// A picture by the host's command. Nothing if the camera reports no "picture captured"; the log says
    /// why. Throws what the host throws.
    std::optional<image_t> takePicture();

    /// What the camera has reported of the last picture or probe.
    const std::optional<NetworkHealth>& reported() const { return reported_; }

    /// What a probe of the connection came to.
    struct Probe {
        std::optional<NetworkHealth> reported; ///< why it failed; nothing if the camera answers
        std::optional<std::int64_t> errorCode; ///< of an `Error` answer, which is an answer all the same
    };
    Probe probe();

private:
    using Clock = std::chrono::steady_clock;

    void observe(std::size_t received, std::size_t expected);
    void noteFetched(std::size_t expected);
    void endPicture();

    NativeCamera& camera_;
    ProgressBar& bar_;
    TimeLimits limits_;
    FetchGate* gate_;
    std::unique_ptr<FetchGate::Place> place_;
    int exposureUnits_ = 0;
    std::optional<Clock::time_point> exposingSince_; ///< set while a picture is taken
    std::optional<std::uint64_t> fetchedBytes_;      ///< of the picture file that is being fetched
    std::optional<NetworkHealth> reported_;
};

} // namespace Console
