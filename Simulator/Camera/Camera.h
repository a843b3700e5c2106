#pragma once
// The simulated camera itself: what it looks at, the pictures it gives, the faults that are still to hit.

#include "Camera/Bytes.h"
#include "Camera/CameraSettings.h"
#include "Camera/Request.h"

#include <deque>
#include <memory>
#include <optional>

namespace Simulator {

/// Shared, because a picture of 30 MB is sent to several clients without being copied.
using SharedBytes = std::shared_ptr<const Bytes>;

/// Used by one thread. Sessions keep a reference to it and must not outlive it.
class Camera {
public:
    /// Throws std::invalid_argument for settings that no camera has, std::runtime_error naming the path if a
    /// scene's file cannot be read or is larger than 1 GiB.
    explicit Camera(CameraSettings settings);

    const CameraSettings& settings() const { return m_settings; }

    /// The whole answer to a get request after a capture with `configuration`; the last few are kept.
    SharedBytes pictureAnswer(const Configuration& configuration);

    /// As pictureAnswer, with every sample zero.
    SharedBytes blackPictureAnswer(const Configuration& configuration) const;

    /// The fault that hits the answer to a request or query now, which counts as one of its times; or
    /// nothing.
    std::optional<Fault> nextFault(Place place);

private:
    struct KeptAnswer {
        Configuration configuration;
        SharedBytes answer;
    };

    SharedBytes render(SceneKind scene, const Configuration& configuration) const;

    CameraSettings m_settings;
    SharedBytes m_fileAnswer; ///< of a scene from a file
    std::deque<KeptAnswer> m_kept;
};

} // namespace Simulator
