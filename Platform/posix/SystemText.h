#pragma once
// The system's words for its errors.

#include <array>
#include <cstring>
#include <string>

namespace Platform {

inline std::string textOf(int error) {
    std::array<char, 256> buffer{};
    return strerror_r(error, buffer.data(), buffer.size());
}

} // namespace Platform
