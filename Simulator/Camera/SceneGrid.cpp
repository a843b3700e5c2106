#include "Camera/SceneGrid.h"

#include "Camera/Random.h"
#include "Camera/Room.h"

#include <algorithm>

namespace Simulator {

namespace {

constexpr Vector3 cameraPlace{-2.35F, 1.45F, 0.55F};
constexpr Vector3 cameraTarget{-0.1F, 1.72F, 7.5F};
constexpr Vector3 almostUp{0.012F, 1.0F, 0.0F}; // nobody mounts a camera quite level
constexpr float halfFieldOfView = 0.52F;        // tangent of half the horizontal angle
constexpr float barrelDistortion = 0.055F;
constexpr float vignetting = 1.15F;

constexpr float whiteLevel = 15000; // brightest part of the grid at the fitting exposure
constexpr float blackLevel = 24;
constexpr float readNoise = 10;
constexpr float shotNoise = 1.3F; // of the square root of a sample

/// The camera's lens: which way a pixel looks, and how much of the light arrives.
class Lens {
public:
    explicit Lens(PictureSize size)
        : forward_(normalized(cameraTarget - cameraPlace)), right_(normalized(cross(almostUp, forward_))),
          up_(cross(forward_, right_)), scale_(2.0F / static_cast<float>(size.width)),
          centreColumn_(static_cast<float>(size.width) / 2 - 0.5F),
          centreRow_(static_cast<float>(size.height) / 2 - 0.5F) {}

    struct Ray {
        Vector3 direction;
        float transmission = 0;
    };

    Ray at(std::uint32_t column, std::uint32_t row) const {
        const float x = (static_cast<float>(column) - centreColumn_) * scale_;
        const float y = (centreRow_ - static_cast<float>(row)) * scale_;
        const float bend = halfFieldOfView * (1 + barrelDistortion * (x * x + y * y));
        const float right = x * bend;
        const float up = y * bend;
        const float cosine = 1 / std::sqrt(1 + right * right + up * up);
        const float fall =
            std::max(0.0F, 1 - vignetting * (1 - cosine * cosine)); // of a picture that is very high
        return {(forward_ + right_ * right + up_ * up) * cosine, fall * cosine};
    }

    float pixelAngle() const { return scale_ * halfFieldOfView; }

private:
    Vector3 forward_;
    Vector3 right_;
    Vector3 up_;
    float scale_;
    float centreColumn_;
    float centreRow_;
};

/// Nearly normal noise of variance 1 from 21 random bits: the sum of three even ones.
float noiseOf(std::uint64_t bits) {
    const auto sum = static_cast<float>((bits & 127) + (bits >> 7 & 127) + (bits >> 14 & 127));
    return (sum - 190.5F) * (1.0F / 64.0F);
}

std::uint16_t sense(float light, std::uint64_t bits) {
    const float clean = std::min(light, 4.0F * saturatedSample);
    const float noisy = clean + blackLevel + noiseOf(bits) * (readNoise + shotNoise * std::sqrt(clean));
    return static_cast<std::uint16_t>(std::clamp(noisy + 0.5F, 0.0F, float{saturatedSample}));
}

/// The same for every picture, and not quickly lit.
const Room& theRoom() {
    static const Room room;
    return room;
}

} // namespace

RowRenderer rowsOfGrid(PictureSize size, unsigned channels, unsigned exposureUnits, std::uint64_t seed) {
    const float gain =
        whiteLevel * static_cast<float>(exposureUnits) / static_cast<float>(fittingExposureUnits);
    return [=, lens = Lens(size)](std::uint32_t row, std::span<std::uint16_t> samples) {
        const Vector3 luma{0.299F, 0.587F, 0.114F};
        std::uint16_t* sample = samples.data();
        std::uint64_t pixel = row * std::uint64_t{size.width};
        for (std::uint32_t column = 0; column < size.width; ++column, ++pixel) {
            const Lens::Ray ray = lens.at(column, row);
            const Vector3 light = theRoom().lightFrom(cameraPlace, ray.direction, lens.pixelAngle()) *
                                  (gain * ray.transmission);
            const std::uint64_t bits = randomBits(seed, pixel);
            if (channels == 1) {
                *sample++ = sense(dot(light, luma), bits);
                continue;
            }
            *sample++ = sense(light.x, bits);
            *sample++ = sense(light.y, bits >> 21);
            *sample++ = sense(light.z, bits >> 42);
        }
    };
}

} // namespace Simulator
