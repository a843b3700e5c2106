#pragma once
// The models that a simulated camera can be.

#include "Camera/Picture.h"

#include <array>
#include <string_view>

namespace Simulator {

struct Model {
    std::string_view name;
    PictureSize pictures;
};

/// The first is what a camera is unless it is told otherwise, and any other text takes its pictures.
inline constexpr std::array models = {
    Model{"M61", {1676, 1266}},
    Model{"M615", {2748, 1836}},
    Model{"M62", {2748, 1836}},
};

} // namespace Simulator
