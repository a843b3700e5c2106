#pragma once
// The short stories that a run is made of. Each begins with a camera in whatever state, lets something happen
// to it, mends it, and demands the next picture.

#include "SoakedCamera.h"

#include <cstddef>
#include <string>

namespace Soak {

/// Where a play takes place.
struct Stage {
    SoakedCamera& camera;
    std::size_t index; ///< of the camera
    const Integration::CameraNetworks& networks;
    const DeviceType& type;
    Tally& tally;
};

/// A play drawn at random, of those that end within a second or so.
void playQuickly(const Stage& stage);

/// The same, of those that wait for up to two time-outs of 10 s.
void playSlowly(const Stage& stage);

/// Serves without a fault, and takes the picture that must come.
void demandPicture(SoakedCamera& camera, const std::string& circumstance);

} // namespace Soak
