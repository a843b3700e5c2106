#pragma once
// Everything that can be chosen about a simulated camera.

#include "Camera/Fault.h"
#include "Camera/Scene.h"

#include <optional>
#include <string>
#include <vector>

namespace Simulator {

/// The picture size of a model: 1676 x 1266 for M61 and any unknown model, 2748 x 1836 for M615 and M62.
PictureSize pictureSizeOfModel(std::string_view model);

struct CameraSettings {
    std::string model = "M61";
    std::string firmware = "3.2.15";
    std::optional<PictureSize> size; ///< unset: the model's; each side from 1 to 65535 pixels
    Scene scene;
    std::uint64_t seed = 1;    ///< of the sensor's noise
    bool waitExposure = false; ///< answer a take request only after the exposure time
    std::vector<Fault> faults; ///< of those that still apply to a request, the first hits it

    PictureSize pictureSize() const { return size.value_or(pictureSizeOfModel(model)); }
};

} // namespace Simulator
