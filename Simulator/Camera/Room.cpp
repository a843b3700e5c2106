#include "Camera/Room.h"

#include "Camera/ProjectedPattern.h"
#include "Camera/Random.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace Simulator {

namespace {

constexpr float pi = 3.14159265F;

enum Surface { Floor, Ceiling, Left, Right, Back, Front };

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

float smoothEdge(float inside, float footprint) {
    return std::clamp(inside / footprint + 0.5F, 0.0F, 1.0F);
}

float distanceToJoint(float position, float spacing) {
    const float share = position / spacing;
    return std::abs(share - std::round(share)) * spacing;
}

/// A number from 0 to 1 that belongs to a cell.
float scatter(int column, int row) {
    const auto index = static_cast<std::uint64_t>(column * 8191 + row + 1'000'000);
    return static_cast<float>(randomBits(7, index) >> 40) / static_cast<float>(1 << 24);
}

Vector3 floorPaintAt(Vector3 place, float footprint) {
    const int plank = static_cast<int>(std::floor((place.x - roomLow.x) / plankWidth));
    const float shift = scatter(plank, 0) * plankLength;
    const int board = static_cast<int>(std::floor((place.z + shift) / plankLength));
    const float joint = std::min(distanceToJoint(place.x - roomLow.x, plankWidth),
                                 distanceToJoint(place.z + shift, plankLength));
    const float seam = smoothEdge(0.004F - joint, footprint) * std::min(1.0F, 0.008F / footprint);
    return floorPaint * ((0.75F + 0.5F * scatter(plank, board + 1)) * (1 - 0.7F * seam));
}

Vector3 ceilingPaintAt(Vector3 place, float footprint) {
    const float joint =
        std::min(distanceToJoint(place.x, ceilingTile), distanceToJoint(place.z, ceilingTile));
    const float seam = smoothEdge(0.010F - joint, footprint) * std::min(1.0F, 0.020F / footprint);
    return ceilingPaint * (1 - 0.45F * seam);
}

} // namespace

Room::Room() : m_patternFromWall(patternFromWall()) {
    lightSurfaces();
}

Vector3 Room::placeOn(int surface, float across, float along) {
    const Vector3 size = roomHigh - roomLow;
    const float x = roomLow.x + size.x * across;
    switch (surface) {
    case Floor:
        return {x, roomLow.y, size.z * along};
    case Ceiling:
        return {x, roomHigh.y, size.z * along};
    case Left:
        return {roomLow.x, size.y * across, size.z * along};
    case Right:
        return {roomHigh.x, size.y * across, size.z * along};
    case Back:
        return {x, size.y * along, roomLow.z};
    default:
        return {x, size.y * along, roomHigh.z};
    }
}

float Room::patchArea(int surface) {
    const Vector3 size = roomHigh - roomLow;
    const float whole = surface <= Ceiling ? size.x * size.z
                        : surface <= Right ? size.y * size.z
                                           : size.x * size.y;
    return whole / (mapSide * mapSide);
}

void Room::lightSurfaces() {
    constexpr int columns = 10;
    constexpr int rows = 6;
    std::vector<Patch> sources;
    const float width = 2 * screenHalfWidth / columns;
    const float height = (screenTop - screenBottom) / rows;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const Vector3 place{(static_cast<float>(column) + 0.5F) * width - screenHalfWidth,
                                (static_cast<float>(row) + 0.5F) * height + screenBottom, roomHigh.z};
            Vector3 mean;
            for (int part = 0; part < 16; ++part) {
                const Vector3 offset{(static_cast<float>(part % 4) - 1.5F) * width / 4,
                                     (static_cast<float>(part / 4) - 1.5F) * height / 4, 0};
                mean = mean + projectedLight(place + offset, 0.4F) * (1.0F / 16);
            }
            sources.push_back({place, facings[Front], mean * (screenGain * width * height), width * height});
        }

    for (int bounce = 0; bounce < 2; ++bounce) {
        std::vector<Patch> lit;
        for (int surface = 0; surface < surfaces; ++surface)
            for (int cell = 0; cell < mapSide * mapSide; ++cell) {
                const Vector3 place = placeOn(surface, (static_cast<float>(cell % mapSide) + 0.5F) / mapSide,
                                              (static_cast<float>(cell / mapSide) + 0.5F) / mapSide);
                const Vector3 facing = facings[static_cast<std::size_t>(surface)];
                Vector3 arriving = bounce == 0 ? houseLight : Vector3{};
                for (const Patch& source : sources) {
                    const Vector3 way = source.place - place;
                    const float square = dot(way, way);
                    const float cosines =
                        std::max(dot(way, facing), 0.0F) * std::max(-dot(way, source.facing), 0.0F);
                    if (cosines > 0)
                        arriving =
                            arriving + source.power * (cosines / (square * (pi * square + source.area)));
                }
                LightMap& map = m_maps[static_cast<std::size_t>(surface)];
                map[static_cast<std::size_t>(cell)] = map[static_cast<std::size_t>(cell)] + arriving;
                const float area = patchArea(surface);
                lit.push_back({place, facing, arriving * paint(surface, place, 1.0F) * area, area});
            }
        sources = std::move(lit);
    }
}

Vector3 Room::roomLight(int surface, Vector3 place) const {
    const Vector3 size = roomHigh - roomLow;
    const Vector3 share{(place.x - roomLow.x) / size.x, place.y / size.y, place.z / size.z};
    const bool side = surface == Left || surface == Right;
    const bool level = surface == Floor || surface == Ceiling;
    const float across = std::clamp((side ? share.y : share.x) * mapSide - 0.5F, 0.0F, mapSide - 1.001F);
    const float along =
        std::clamp((side || level ? share.z : share.y) * mapSide - 0.5F, 0.0F, mapSide - 1.001F);
    const auto column = static_cast<std::size_t>(across);
    const auto row = static_cast<std::size_t>(along);
    const float inColumn = across - static_cast<float>(column);
    const float inRow = along - static_cast<float>(row);
    const Vector3* const corner = &m_maps[static_cast<std::size_t>(surface)][row * mapSide + column];
    return blend(blend(corner[0], corner[1], inColumn), blend(corner[mapSide], corner[mapSide + 1], inColumn),
                 inRow);
}

Vector3 Room::projectedLight(Vector3 place, float footprint) const {
    const auto& m = m_patternFromWall;
    const float w = 1 / (m[6] * place.x + m[7] * place.y + m[8]);
    const float across = (m[0] * place.x + m[1] * place.y + m[2]) * w;
    const float up = (m[3] * place.x + m[4] * place.y + m[5]) * w;
    const float dx = across - 0.5F;
    const float dy = up - 0.5F;
    const float hotSpot = 1 - 0.45F * (dx * dx + dy * dy);
    return patternLight(across * patternColumns, up * patternRows, footprint) * hotSpot;
}

Vector3 Room::paint(int surface, Vector3 place, float footprint) {
    switch (surface) {
    case Floor:
        return floorPaintAt(place, footprint);
    case Ceiling:
        return ceilingPaintAt(place, footprint);
    case Front:
    case Left:
    case Right:
    default:
        return blend(surface == Front ? frontPaint : sidePaint, skirtingPaint,
                     smoothEdge(skirtingHeight - place.y, footprint));
    }
}

Vector3 Room::frontWall(Vector3 place, float footprint) const {
    const float inScreen =
        std::min({screenHalfWidth - std::abs(place.x), place.y - screenBottom, screenTop - place.y});
    const Vector3 around = roomLight(Front, place);
    Vector3 light = around * paint(Front, place, footprint);
    if (inScreen < -frameWidth - footprint)
        return light;
    light = blend(light, around * framePaint, smoothEdge(inScreen + frameWidth, footprint));
    if (inScreen < -footprint)
        return light;
    constexpr float cellsPerMetre = 3.9F;
    const Vector3 projected = projectedLight(place, std::max(footprint * cellsPerMetre, 1e-4F));
    return blend(light, (projected + around) * screenPaint, smoothEdge(inScreen, footprint));
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
        hit.surface = direction.z > 0 ? Front : Back;
    else if (hit.distance == toSide)
        hit.surface = direction.x > 0 ? Right : Left;
    else
        hit.surface = direction.y > 0 ? Ceiling : Floor;
    hit.place = eye + direction * hit.distance;
    return hit;
}

Vector3 Room::lightFrom(Vector3 eye, Vector3 direction, float pixelAngle) const {
    const Hit hit = firstHit(eye, direction);
    const float footprint = hit.distance * pixelAngle;
    if (hit.surface == Front)
        return frontWall(hit.place, footprint);

    Vector3 light = roomLight(hit.surface, hit.place) * paint(hit.surface, hit.place, footprint);
    if (hit.surface != Floor)
        return light;
    // The boards are varnished: what stands before them shows in them, blurred.
    const Vector3 mirrored{direction.x, -direction.y, direction.z};
    const Hit reflected = firstHit(hit.place, mirrored);
    const float grazing = 1 + direction.y;
    const float mirror = 0.09F + 0.7F * grazing * grazing * grazing * grazing;
    if (reflected.surface == Front)
        light = light + frontWall(reflected.place, 0.035F * reflected.distance) * mirror;
    return light;
}

} // namespace Simulator
