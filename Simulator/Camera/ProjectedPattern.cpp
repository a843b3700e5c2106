#include "Camera/ProjectedPattern.h"

#include <algorithm>
#include <array>

namespace Simulator {

namespace {

constexpr Vector3 lineLight{0.97F, 1.0F, 1.0F};
constexpr Vector3 darkCell{0.075F, 0.095F, 0.125F};
constexpr Vector3 lightCell{0.115F, 0.14F, 0.18F};
constexpr Vector3 blackLight{0.015F, 0.017F, 0.02F};
constexpr float lineHalfWidth = 0.032F;
constexpr float centreColumn = patternColumns / 2;
constexpr float centreRow = patternRows / 2;
constexpr float largeCircle = 4.5F;
constexpr float targetInset = 1.5F;
constexpr float targetRadius = 1.0F;
constexpr float stripLeft = 5;
constexpr float stripRight = 11;

Vector3 gridLight(float column, float row, float footprint) {
    const bool odd = ((static_cast<int>(column) + static_cast<int>(row)) & 1) != 0;
    const float nearest = std::min(distanceToWhole(column), distanceToWhole(row));
    return blend(odd ? darkCell : lightCell, lineLight, lineCoverage(nearest, lineHalfWidth, footprint));
}

/// Seven bars of colour or eight steps of grey, a row of half a cell's height.
Vector3 stripLight(float column, bool coloured) {
    const float place = (column - stripLeft) / (stripRight - stripLeft);
    if (!coloured) {
        const float step = static_cast<float>(static_cast<int>(place * 8)) / 7;
        return blackLight + Vector3{0.95F, 0.95F, 0.95F} * (step * step);
    }
    constexpr std::array<Vector3, 7> bars = {{{0.9F, 0.9F, 0.9F},
                                              {0.9F, 0.85F, 0.05F},
                                              {0.05F, 0.8F, 0.85F},
                                              {0.05F, 0.75F, 0.1F},
                                              {0.8F, 0.08F, 0.75F},
                                              {0.85F, 0.06F, 0.05F},
                                              {0.06F, 0.1F, 0.9F}}};
    return bars[std::clamp<std::size_t>(static_cast<std::size_t>(place * 7), 0, bars.size() - 1)];
}

void addStrips(Vector3& light, float column, float row, float footprint) {
    const bool upper = row > centreRow;
    const float middle = upper ? centreRow + 1.5F : centreRow - 1.5F;
    const float inside = std::min({0.3F - std::abs(row - middle), column - stripLeft, stripRight - column});
    if (inside > -footprint)
        light = blend(light, stripLight(std::clamp(column, stripLeft, stripRight - 0.01F), upper),
                      coverage(inside, footprint));
}

void addCircles(Vector3& light, float column, float row, float footprint) {
    const float distance = lengthOf(column - centreColumn, row - centreRow);
    light = blend(light, lineLight,
                  lineCoverage(std::abs(distance - largeCircle), lineHalfWidth * 1.3F, footprint));
    if (distance > 1)
        return;
    const float rings =
        std::cos(distance * 4 * 3.14159265F); // white at the centre, twice more, and at the rim
    light = blend(blackLight, lineLight, coverage(rings * 0.08F, footprint));
}

Vector3 targetColour(bool right, bool top) {
    if (top)
        return right ? Vector3{0.1F, 0.85F, 0.2F} : Vector3{0.95F, 0.15F, 0.1F};
    return right ? Vector3{0.95F, 0.8F, 0.1F} : Vector3{0.15F, 0.3F, 1.0F};
}

void addTarget(Vector3& light, float column, float row, float footprint) {
    const bool right = column > centreColumn;
    const bool top = row > centreRow;
    const float across = column - (right ? patternColumns - targetInset : targetInset);
    const float up = row - (top ? patternRows - targetInset : targetInset);
    const float distance = lengthOf(across, up);
    if (distance > targetRadius + footprint)
        return;
    const float quadrant = std::min(std::abs(across), std::abs(up)) * (across * up > 0 ? 1.0F : -1.0F);
    const Vector3 checker = blend(blackLight, lineLight, coverage(quadrant, footprint));
    Vector3 target = blend(targetColour(right, top), blackLight, coverage(0.78F - distance, footprint));
    target = blend(target, checker, coverage(0.68F - distance, footprint));
    light = blend(light, target, coverage(targetRadius - distance, footprint));
}

} // namespace

Vector3 patternLight(float column, float row, float footprint) {
    const float inside = std::min({column, row, patternColumns - column, patternRows - row}) + lineHalfWidth;
    if (inside < -footprint)
        return {};
    Vector3 light =
        gridLight(std::clamp(column, 0.0F, patternColumns), std::clamp(row, 0.0F, patternRows), footprint);
    addCircles(light, column, row, footprint);
    addStrips(light, column, row, footprint);
    addTarget(light, column, row, footprint);
    return light * coverage(inside, footprint);
}

} // namespace Simulator
