#include "Camera/Scene.h"

#include "Camera/Random.h"
#include "Camera/SceneGrid.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Simulator {

namespace {

struct SceneRow {
    std::string_view name;
    SceneKind kind;
};

constexpr std::array sceneRows = {SceneRow{"grid", SceneKind::grid}, SceneRow{"ramp", SceneKind::ramp},
                                  SceneRow{"black", SceneKind::black}, SceneRow{"white", SceneKind::white},
                                  SceneRow{"noise", SceneKind::noise}};
constexpr std::string_view filePrefix = "file:";

/// A sample of `brightness` (saturated at the fitting exposure) after `exposureUnits`.
std::uint16_t exposed(std::uint64_t brightness, unsigned exposureUnits) {
    return static_cast<std::uint16_t>(
        std::min<std::uint64_t>(brightness * exposureUnits / fittingExposureUnits, saturatedSample));
}

RowRenderer rowsOfRamp(PictureSize size, unsigned channels, unsigned exposureUnits) {
    const std::uint64_t last = std::max<std::uint64_t>(size.width - 1, 1);
    return [=](std::uint32_t, std::span<std::uint16_t> samples) {
        for (std::size_t index = 0; index < samples.size(); ++index)
            samples[index] = exposed(index / channels * std::uint64_t{saturatedSample} / last, exposureUnits);
    };
}

RowRenderer rowsOfNoise(unsigned exposureUnits, std::uint64_t seed) {
    return [=](std::uint32_t row, std::span<std::uint16_t> samples) {
        std::uint64_t draw = row * std::uint64_t{samples.size()};
        for (std::uint16_t& sample : samples)
            sample = exposed(randomBits(seed, draw++) % (saturatedSample + 1U), exposureUnits);
    };
}

RowRenderer evenRows(std::uint16_t level) {
    return [=](std::uint32_t, std::span<std::uint16_t> samples) { std::ranges::fill(samples, level); };
}

} // namespace

std::string Scene::describe() const {
    if (kind == SceneKind::file)
        return std::string(filePrefix) + path;
    return std::string(std::ranges::find(sceneRows, kind, &SceneRow::kind)->name);
}

Scene parseScene(std::string_view text) {
    if (text.starts_with(filePrefix) && text.size() > filePrefix.size())
        return {SceneKind::file, std::string(text.substr(filePrefix.size()))};
    const auto row = std::ranges::find(sceneRows, text, &SceneRow::name);
    if (row == sceneRows.end())
        throw std::invalid_argument("Scene \"" + std::string(text) +
                                    "\": write grid, ramp, black, white, noise or file:PATH");
    return {row->kind, {}};
}

RowRenderer rowsOfScene(SceneKind scene, PictureSize size, unsigned channels, unsigned exposureUnits,
                        std::uint64_t seed) {
    switch (scene) {
    case SceneKind::grid:
        return rowsOfGrid(size, channels, exposureUnits, seed);
    case SceneKind::ramp:
        return rowsOfRamp(size, channels, exposureUnits);
    case SceneKind::noise:
        return rowsOfNoise(exposureUnits, seed);
    case SceneKind::white:
        return evenRows(saturatedSample);
    default:
        return evenRows(0);
    }
}

Picture renderScene(SceneKind scene, PictureSize size, unsigned channels, unsigned exposureUnits,
                    std::uint64_t seed) {
    const RowRenderer render = rowsOfScene(scene, size, channels, exposureUnits, seed);
    const std::size_t samplesPerRow = std::size_t{size.width} * channels;
    Picture picture{size, channels, std::vector<std::uint16_t>(samplesPerRow * size.height)};
    for (std::uint32_t row = 0; row < size.height; ++row)
        render(row, std::span(picture.samples).subspan(row * samplesPerRow, samplesPerRow));
    return picture;
}

} // namespace Simulator
