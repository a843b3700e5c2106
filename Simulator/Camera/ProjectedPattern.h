#pragma once
// The calibration grid that the projector throws: 16 x 10 cells, circles, grey steps, colour bars, and a
// target of its own colour in each corner, so that the picture's orientation can be told.

#include "Camera/Vector3.h"

namespace Simulator {

inline constexpr float patternColumns = 16;
inline constexpr float patternRows = 10;

/// The light at a place of the pattern, in cells from its lower left corner; nothing outside. `footprint` is
/// the width of a camera pixel in cells, over which edges are softened.
Vector3 patternLight(float column, float row, float footprint);

} // namespace Simulator
