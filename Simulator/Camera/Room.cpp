#include "Camera/Room.h"

#include "Camera/ProjectedPattern.h"
#include "Camera/Random.h"

#include <algorithm>
#include <limits>

namespace Simulator {

namespace {

constexpr float pi = 3.14159265F;

enum Surface : std::size_t { floor, ceiling, left, right, back, front };

constexpr Vector3 roomLow{-4.3F, 0.0F, 0.0F};
constexpr Vector3 roomHigh{4.3F, 3.75F, 7.5F};

constexpr std::array<Vector3, 6> facings = {
    {{0, 1, 0}, {0, -1, 0}, {1, 0, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, -1}}};

constexpr float screenHalfWidth = 2.2F;
constexpr float screenBottom = 0.62F;
constexpr float screenTop = 3.37F;
constexpr float frameWidth = 0.07F;

// Where the projector's corners fall on the front wall: lower left, lower right, upper right, upper left. It
// stands a little askew, as projectors do before they are calibrated.
constexpr std::array<std::array<float, 2>, 4> projectedCorners = {
    {{-2.03F, 0.84F}, {2.08F, 0.74F}, {1.99F, 3.24F}, {-1.93F, 3.17F}}};

constexpr Vector3 screenPaint{0.95F, 0.95F, 0.94F};
constexpr Vector3 framePaint{0.02F, 0.02F, 0.02F};
constexpr Vector3 frontPaint{0.58F, 0.63F, 0.72F};
constexpr Vector3 sidePaint{0.46F, 0.47F, 0.52F};
constexpr Vector3 skirtingPaint{0.10F, 0.09F, 0.09F};
constexpr Vector3 ceilingPaint{0.58F, 0.58F, 0.56F};
constexpr Vector3 floorPaint{0.36F, 0.25F, 0.17F};
constexpr float skirtingHeight = 0.14F;
constexpr float ceilingTile = 0.75F;
constexpr float plankWidth = 0.16F;
constexpr float plankLength = 1.6F;

// The eye of a camera is linear and a picture of a dark room nearly black: the screen lights the room more
// than a real one would.
constexpr float screenGain = 17.0F;
constexpr Vector3 houseLight{0.050F, 0.045F, 0.040F};

std::array<float, 9> patternFromWall() {
    // The projective map of the unit square onto four corners in closed form, and then its inverse.
    const auto& c = projectedCorners;
    const float dx1 = c[1][0] - c[2][0];
    const float dy1 = c[1][1] - c[2][1];
    const float dx2 = c[3][0] - c[2][0];
    const float dy2 = c[3][1] - c[2][1];
    const float sx = c[0][0] - c[1][0] + c[2][0] - c[3][0];
    const float sy = c[0][1] - c[1][1] + c[2][1] - c[3][1];
    const float scale = dx1 * dy2 - dx2 * dy1;
    const float g = (sx * dy2 - dx2 * sy) / scale;
    const float h = (dx1 * sy - sx * dy1) / scale;
    const Vector3 rowX{c[1][0] - c[0][0] + g * c[1][0], c[3][0] - c[0][0] + h * c[3][0], c[0][0]};
    const Vector3 rowY{c[1][1] - c[0][1] + g * c[1][1], c[3][1] - c[0][1] + h * c[3][1], c[0][1]};
    const Vector3 rowW{g, h, 1};
    const Vector3 first = cross(rowY, rowW);
    const Vector3 second = cross(rowW, rowX);
    const Vector3 third = cross(rowX, rowY);
    return {first.x, second.x, third.x, first.y, second.y, third.y, first.z, second.z, third.z};
}

/// Distance to the nearest joint of a floor or ceiling laid in pieces of `spacing`; `position` is at least 0.
float distanceToJoint(float position, float spacing) {
    return distanceToWhole(position / spacing) * spacing;
}

/// A number from 0 to 1 that belongs to a cell.
float scatter(int column, int row) {
    const std::uint64_t bits =
        randomBits(static_cast<std::uint64_t>(column), static_cast<std::uint64_t>(row));
    return static_cast<float>(bits >> 40) / static_cast<float>(1 << 24);
}

Vector3 floorPaintAt(Vector3 place, float footprint) {
    const int plank = static_cast<int>((place.x - roomLow.x) / plankWidth);
    const float shift = scatter(plank, 0) * plankLength;
    const int board = static_cast<int>((place.z + shift) / plankLength);
    const float joint = std::min(distanceToJoint(place.x - roomLow.x, plankWidth),
                                 distanceToJoint(place.z + shift, plankLength));
    const float seam = lineCoverage(joint, 0.004F, footprint);
    return floorPaint * ((0.75F + 0.5F * scatter(plank, board + 1)) * (1 - 0.7F * seam));
}

Vector3 ceilingPaintAt(Vector3 place, float footprint) {
    const float joint =
        std::min(distanceToJoint(place.x - roomLow.x, ceilingTile), distanceToJoint(place.z, ceilingTile));
    const float seam = lineCoverage(joint, 0.010F, footprint);
    return ceilingPaint * (1 - 0.45F * seam);
}

} // namespace

Room::Room() : patternFromWall_(patternFromWall()) {
    for (LightMap& map : maps_)
        map.fill(houseLight);
    const std::vector<Patch> lit = lightSurfaces(screenPatches());
    lightSurfaces(lit);
}

Vector3 Room::placeOn(std::size_t surface, float across, float along) {
    const Vector3 size = roomHigh - roomLow;
    const float x = roomLow.x + size.x * across;
    switch (surface) {
    case floor:
        return {x, roomLow.y, size.z * along};
    case ceiling:
        return {x, roomHigh.y, size.z * along};
    case left:
        return {roomLow.x, size.y * across, size.z * along};
    case right:
        return {roomHigh.x, size.y * across, size.z * along};
    case back:
        return {x, size.y * along, roomLow.z};
    default:
        return {x, size.y * along, roomHigh.z};
    }
}

float Room::patchArea(std::size_t surface) {
    const Vector3 size = roomHigh - roomLow;
    const float whole = surface <= ceiling ? size.x * size.z
                        : surface <= right ? size.y * size.z
                                           : size.x * size.y;
    return whole / (mapSide * mapSide);
}

std::vector<Room::Patch> Room::screenPatches() const {
    constexpr int columns = 10;
    constexpr int rows = 6;
    constexpr int parts = 4; // in each direction, over which a patch's light is averaged
    constexpr float width = 2 * screenHalfWidth / columns;
    constexpr float height = (screenTop - screenBottom) / rows;
    const auto middle = [](int index, int count) {
        return (static_cast<float>(index % count) + 0.5F) / static_cast<float>(count);
    };
    std::vector<Patch> patches;
    for (int patch = 0; patch < columns * rows; ++patch) {
        const int row = patch / columns;
        const Vector3 corner{static_cast<float>(patch % columns) * width - screenHalfWidth,
                             static_cast<float>(row) * height + screenBottom, roomHigh.z};
        Vector3 mean;
        for (int part = 0; part < parts * parts; ++part) {
            const int partRow = part / parts;
            const Vector3 place =
                corner + Vector3{middle(part, parts) * width, middle(partRow, parts) * height, 0};
            mean = mean + projectedLight(place, 0.4F) * (1.0F / (parts * parts));
        }
        patches.push_back({corner + Vector3{width / 2, height / 2, 0}, facings[front],
                           mean * (screenGain * width * height), width * height});
    }
    return patches;
}

Vector3 Room::lightArriving(Vector3 place, Vector3 facing, const std::vector<Patch>& sources) {
    Vector3 arriving;
    for (const Patch& source : sources) {
        const Vector3 way = source.place - place;
        const float square = dot(way, way);
        const float cosines = std::max(dot(way, facing), 0.0F) * std::max(-dot(way, source.facing), 0.0F);
        if (cosines > 0)
            arriving = arriving + source.power * (cosines / (square * (pi * square + source.area)));
    }
    return arriving;
}

std::vector<Room::Patch> Room::lightSurfaces(const std::vector<Patch>& sources) {
    std::vector<Patch> lit;
    for (std::size_t surface = 0; surface < surfaces; ++surface)
        for (std::size_t cell = 0; cell < maps_[surface].size(); ++cell) {
            const std::size_t row = cell / mapSide;
            const Vector3 place = placeOn(surface, (static_cast<float>(cell % mapSide) + 0.5F) / mapSide,
                                          (static_cast<float>(row) + 0.5F) / mapSide);
            const Vector3 arriving = lightArriving(place, facings[surface], sources);
            maps_[surface][cell] = maps_[surface][cell] + arriving;
            const float area = patchArea(surface);
            lit.push_back({place, facings[surface], arriving * paint(surface, place, 1.0F) * area, area});
        }
    return lit;
}

Vector3 Room::roomLight(std::size_t surface, Vector3 place) const {
    const Vector3 size = roomHigh - roomLow;
    const Vector3 share{(place.x - roomLow.x) / size.x, place.y / size.y, place.z / size.z};
    const bool side = surface == left || surface == right;
    const bool level = surface == floor || surface == ceiling;
    const float across = std::clamp((side ? share.y : share.x) * mapSide - 0.5F, 0.0F, mapSide - 1.001F);
    const float along =
        std::clamp((side || level ? share.z : share.y) * mapSide - 0.5F, 0.0F, mapSide - 1.001F);
    const auto column = static_cast<std::size_t>(across);
    const auto row = static_cast<std::size_t>(along);
    const float inColumn = across - static_cast<float>(column);
    const float inRow = along - static_cast<float>(row);
    const Vector3* const corner = &maps_[surface][row * mapSide + column];
    return blend(blend(corner[0], corner[1], inColumn), blend(corner[mapSide], corner[mapSide + 1], inColumn),
                 inRow);
}

Vector3 Room::projectedLight(Vector3 place, float footprint) const {
    const auto& m = patternFromWall_;
    const float w = 1 / (m[6] * place.x + m[7] * place.y + m[8]);
    const float across = (m[0] * place.x + m[1] * place.y + m[2]) * w;
    const float up = (m[3] * place.x + m[4] * place.y + m[5]) * w;
    const float dx = across - 0.5F;
    const float dy = up - 0.5F;
    const float hotSpot = 1 - 0.45F * (dx * dx + dy * dy);
    return patternLight(across * patternColumns, up * patternRows, footprint) * hotSpot;
}

Vector3 Room::paint(std::size_t surface, Vector3 place, float footprint) {
    switch (surface) {
    case floor:
        return floorPaintAt(place, footprint);
    case ceiling:
        return ceilingPaintAt(place, footprint);
    case front:
    case left:
    case right:
    default:
        return blend(surface == front ? frontPaint : sidePaint, skirtingPaint,
                     coverage(skirtingHeight - place.y, footprint));
    }
}

Vector3 Room::frontWall(Vector3 place, float footprint) const {
    const float inScreen =
        std::min({screenHalfWidth - std::abs(place.x), place.y - screenBottom, screenTop - place.y});
    const Vector3 around = roomLight(front, place);
    Vector3 light = around * paint(front, place, footprint);
    if (inScreen < -frameWidth - footprint)
        return light;
    light = blend(light, around * framePaint, coverage(inScreen + frameWidth, footprint));
    if (inScreen < -footprint)
        return light;
    constexpr float cellsPerMetre = 3.9F;
    const Vector3 projected = projectedLight(place, std::max(footprint * cellsPerMetre, 1e-4F));
    return blend(light, (projected + around) * screenPaint, coverage(inScreen, footprint));
}

Room::Hit Room::firstHit(Vector3 eye, Vector3 direction) {
    const auto reach = [](float from, float step, float low, float high) {
        if (step == 0)
            return std::numeric_limits<float>::max();
        return ((step > 0 ? high : low) - from) / step;
    };
    const float toSide = reach(eye.x, direction.x, roomLow.x, roomHigh.x);
    const float toLevel = reach(eye.y, direction.y, roomLow.y, roomHigh.y);
    const float toEnd = reach(eye.z, direction.z, roomLow.z, roomHigh.z);
    Hit hit;
    hit.distance = std::min({toSide, toLevel, toEnd});
    if (hit.distance == toEnd)
        hit.surface = direction.z > 0 ? front : back;
    else if (hit.distance == toSide)
        hit.surface = direction.x > 0 ? right : left;
    else
        hit.surface = direction.y > 0 ? ceiling : floor;
    hit.place = eye + direction * hit.distance;
    return hit;
}

Vector3 Room::lightFrom(Vector3 eye, Vector3 direction, float pixelAngle) const {
    const Hit hit = firstHit(eye, direction);
    const float footprint = hit.distance * pixelAngle;
    if (hit.surface == front)
        return frontWall(hit.place, footprint);

    Vector3 light = roomLight(hit.surface, hit.place) * paint(hit.surface, hit.place, footprint);
    if (hit.surface != floor)
        return light;
    // The boards are varnished: what stands before them shows in them, blurred.
    const Vector3 mirrored{direction.x, -direction.y, direction.z};
    const Hit reflected = firstHit(hit.place, mirrored);
    const float grazing = 1 + direction.y;
    const float mirror = 0.09F + 0.7F * grazing * grazing * grazing * grazing;
    if (reflected.surface == front)
        light = light + frontWall(reflected.place, 0.035F * reflected.distance) * mirror;
    return light;
}

} // namespace Simulator
