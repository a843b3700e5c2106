#pragma once
// A whole set of cameras, described in a JSON file.

#include "Camera/CameraSettings.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Simulator {

/// The message names the file, and the camera and the key where there are some.
class CameraSetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr std::size_t mostCamerasOfSet = 256;

/// Reads {"cameras": [{"address": "10.77.1.11", "model": "M615", ...}, ...]}. A camera's keys are those of
/// settingTable(); only "address" must be there. `name` is the path of the file that the text is from: it
/// names the text in messages, and a picture of a scene is a regular file in its folder or below it, whatever
/// the path written leads through. Throws CameraSetError if the text is not such a description, has no
/// camera or more than `mostCamerasOfSet`, or says what a camera cannot be.
std::vector<CameraEntry> parseCameraSet(std::string_view text, const std::string& name);

/// As parseCameraSet, of a file of at most 1 MiB.
std::vector<CameraEntry> readCameraSet(const std::string& path);

} // namespace Simulator
