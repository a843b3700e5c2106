#pragma once
// Three numbers: a place in metres, a direction, or an amount of red, green and blue light.

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

} // namespace Simulator
