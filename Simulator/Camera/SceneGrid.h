#pragma once
// The default scene: a projector throws a calibration grid onto a screen in a dark room, and the camera looks
// at it from the side.

#include "Camera/Scene.h"

#include <cstdint>

namespace Simulator {

/// Arguments as rowsOfScene. Lens distortion, vignetting, shot noise and read noise included.
RowRenderer rowsOfGrid(PictureSize size, unsigned channels, unsigned exposureUnits, std::uint64_t seed);

} // namespace Simulator
