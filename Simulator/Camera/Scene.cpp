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

constexpr std::array sceneRows = {SceneRow{"grid", SceneKind::Grid}, SceneRow{"ramp", SceneKind::Ramp},
                                  SceneRow{"black", SceneKind::Black}, SceneRow{"white", SceneKind::White},
                                  SceneRow{"noise", SceneKind::Noise}};
constexpr std::string_view filePrefix = "file:";

/// A sample of `brightness` (saturated at the fitting exposure) after `exposureUnits`.
std::uint16_t exposed(std::uint64_t brightness, unsigned exposureUnits) {
    return static_cast<std::uint16_t>(
        std::min<std::uint64_t>(brightness * exposureUnits / fittingExposureUnits, saturatedSample));
}

void renderRamp(Picture& picture, unsigned exposureUnits) {
    const std::uint64_t last = std::max<std::uint64_t>(picture.size.width - 1, 1);
    auto sample = picture.samples.begin();
    for (std::uint32_t row = 0; row < picture.size.height; ++row)
        for (std::uint32_t column = 0; column < picture.size.width; ++column)
            sample = std::fill_n(sample, picture.channels,
                                 exposed(column * std::uint64_t{saturatedSample} / last, exposureUnits));
}

void renderNoise(Picture& picture, unsigned exposureUnits, std::uint64_t seed) {
    for (std::size_t index = 0; index < picture.samples.size(); ++index)
        picture.samples[index] = exposed(randomBits(seed, index) % (saturatedSample + 1U), exposureUnits);
}

} // namespace

std::string Scene::describe() const {
    if (kind == SceneKind::File)
        return std::string(filePrefix) + path;
    return std::string(std::ranges::find(sceneRows, kind, &SceneRow::kind)->name);
}

Scene parseScene(std::string_view text) {
    if (text.starts_with(filePrefix) && text.size() > filePrefix.size())
        return {SceneKind::File, std::string(text.substr(filePrefix.size()))};
    const auto* const row = std::ranges::find(sceneRows, text, &SceneRow::name);
    if (row == sceneRows.end())
        throw std::invalid_argument("Scene \"" + std::string(text) +
                                    "\": write grid, ramp, black, white, noise or file:PATH");
    return {row->kind, {}};
}

Picture renderScene(SceneKind scene, PictureSize size, unsigned channels, unsigned exposureUnits,
                    std::uint64_t seed) {
    if (scene == SceneKind::Grid)
        return renderGrid(size, channels, exposureUnits, seed);
    const std::uint16_t background = scene == SceneKind::White ? saturatedSample : 0;
    Picture picture{size, channels, {}};
    picture.samples.assign(std::size_t{size.width} * size.height * channels, background);
    if (scene == SceneKind::Ramp)
        renderRamp(picture, exposureUnits);
    else if (scene == SceneKind::Noise)
        renderNoise(picture, exposureUnits, seed);
    return picture;
}

} // namespace Simulator
