#pragma once
// A dark room with a screen on its front wall, lit by what the projector throws onto it.

#include "Camera/Vector3.h"

#include <array>
#include <cstddef>
#include <vector>

namespace Simulator {

/// Metres: x from the left wall to the right, y from floor to ceiling, z from the back wall to the front.
class Room {
public:
    Room();

    /// The light that comes from `direction` (a unit vector) to `eye`, a place inside the room.
    /// `pixelAngle` is the width of a camera pixel in radians.
    Vector3 lightFrom(Vector3 eye, Vector3 direction, float pixelAngle) const;

private:
    static constexpr std::size_t mapSide = 12;
    static constexpr std::size_t surfaces = 6;
    using LightMap = std::array<Vector3, mapSide * mapSide>;
    using Homography = std::array<float, 9>;

    struct Hit {
        std::size_t surface = 0;
        float distance = 0;
        Vector3 place;
    };

    struct Patch {
        Vector3 place;
        Vector3 facing;
        Vector3 power; ///< light given off, times area
        float area = 0;
    };

    static Hit firstHit(Vector3 eye, Vector3 direction);
    static Vector3 placeOn(std::size_t surface, float across, float along);
    static float patchArea(std::size_t surface);
    static Vector3 paint(std::size_t surface, Vector3 place, float footprint);

    std::vector<Patch> screenPatches() const;
    static Vector3 lightArriving(Vector3 place, Vector3 facing, const std::vector<Patch>& sources);
    /// Adds the light of `sources` to the maps; gives back what the surfaces throw on.
    std::vector<Patch> lightSurfaces(const std::vector<Patch>& sources);
    Vector3 projectedLight(Vector3 place, float footprint) const;
    Vector3 roomLight(std::size_t surface, Vector3 place) const;
    Vector3 frontWall(Vector3 place, float footprint) const;

    Homography patternFromWall_;
    std::array<LightMap, surfaces>
        maps_{}; ///< light that arrives, once from the screen and once from the walls
};

} // namespace Simulator
