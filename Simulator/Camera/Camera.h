#pragma once
// The simulated camera itself: what it looks at, the pictures it gives, the faults that are still to hit.

#include "Camera/CameraSettings.h"
#include "Camera/Darkroom.h"
#include "Camera/Request.h"

#include <deque>
#include <memory>
#include <optional>

namespace Simulator {

/// Used by one thread. Sessions keep a reference to it and must not outlive it.
class Camera {
public:
    /// Throws std::invalid_argument for settings that no camera has, std::runtime_error naming the path if a
    /// scene's file cannot be read or is larger than 256 MiB.
    explicit Camera(CameraSettings settings);

    const CameraSettings& settings() const { return settings_; }

    /// Asks for the picture of a capture with `configuration`, which work() renders.
    SharedOrder orderPicture(const Configuration& configuration);

    /// As orderPicture, with every sample zero.
    SharedOrder orderBlackPicture(const Configuration& configuration);

    /// Renders a piece of what was asked for, as Darkroom::work.
    void work() { darkroom_.work(); }

    /// The whole answer to a get request after a capture with `configuration`, rendered at once unless it was
    /// already. Throws what the rendering throws.
    SharedBytes pictureAnswer(const Configuration& configuration);

    /// As pictureAnswer, with every sample zero.
    SharedBytes blackPictureAnswer(const Configuration& configuration);

    /// The fault that hits the answer to a request or query now, which counts as one of its times; or
    /// nothing.
    std::optional<Fault> nextFault(Place place);

private:
    CameraSettings settings_;
    Darkroom darkroom_;
    SharedOrder filePicture_; ///< of a scene from a file; null otherwise
};

} // namespace Simulator
