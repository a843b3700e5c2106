#pragma once
// The arithmetic of the rendered scene: three numbers (a place in metres, a direction, or an amount of red,
// green and blue light) and edges softened over a pixel.

#include <algorithm>
#include <cmath>

namespace Simulator {

struct Vector3 {
    float x = 0;
    float y = 0;
    float z = 0;
};

inline Vector3 operator+(Vector3 a, Vector3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector3 operator-(Vector3 a, Vector3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector3 operator*(Vector3 a, Vector3 b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
inline Vector3 operator*(Vector3 a, float factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}

inline float dot(Vector3 a, Vector3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vector3 cross(Vector3 a, Vector3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline Vector3 normalized(Vector3 a) {
    return a * (1.0F / std::sqrt(dot(a, a)));
}

/// `from` at share 0, `to` at share 1.
inline Vector3 blend(Vector3 from, Vector3 to, float share) {
    return from + (to - from) * share;
}

inline float lengthOf(float across, float up) {
    return std::sqrt(across * across + up * up);
}

/// How much of a pixel of width `footprint` lies inside an edge that is `inside` away (negative: outside).
inline float coverage(float inside, float footprint) {
    return std::clamp(inside / footprint + 0.5F, 0.0F, 1.0F);
}

/// How much of a pixel is covered by a line; a line thinner than the pixel covers a part of it.
inline float lineCoverage(float distance, float halfWidth, float footprint) {
    return coverage(halfWidth - distance, footprint) * std::min(1.0F, 2 * halfWidth / footprint);
}

/// From a position of at least 0 to the nearest whole number. Millions of times per picture, hence no
/// std::round, which is a call where the instruction set has no instruction for it.
inline float distanceToWhole(float position) {
    const float above = position - static_cast<float>(static_cast<int>(position));
    return std::min(above, 1 - above);
}

} // namespace Simulator
