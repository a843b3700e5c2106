#pragma once
// What the simulated camera looks at.

#include "Camera/Picture.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace Simulator {

enum class SceneKind {
    grid,  ///< a projected calibration grid on a screen in a dark room
    ramp,  ///< from black at the left to white at the right
    black, ///< every sample 0
    white, ///< every sample saturated
    noise, ///< every sample at random
    file,  ///< a picture file served as it is, whatever was configured
};

struct Scene {
    SceneKind kind = SceneKind::grid;
    std::string path; ///< of a file

    std::string describe() const;
    bool operator==(const Scene&) const = default;
};

/// Reads "grid", "ramp", "black", "white", "noise" or "file:PATH".
/// Throws std::invalid_argument with a message for the user.
Scene parseScene(std::string_view text);

/// The exposure at which grid and ramp just use the whole range of the sensor, in units of 100 ms.
inline constexpr unsigned fittingExposureUnits = 15;

/// Renders one row of a picture, counted from the top, into all the row's samples.
using RowRenderer = std::function<void(std::uint32_t row, std::span<std::uint16_t> samples)>;

/// What renders the rows of a scene other than a file, in any order. Grid, ramp and noise grow brighter with
/// `exposureUnits` until they saturate. The same arguments give the same rows. `channels` is 1 or 3.
RowRenderer rowsOfScene(SceneKind scene, PictureSize size, unsigned channels, unsigned exposureUnits,
                        std::uint64_t seed);

/// All rows of rowsOfScene at once.
Picture renderScene(SceneKind scene, PictureSize size, unsigned channels, unsigned exposureUnits,
                    std::uint64_t seed);

} // namespace Simulator
