#pragma once
// What a camera says of itself, for people and for programs.

#include "VantrelCommon/CameraInfo.h"

#include <string>
#include <vector>

namespace Console {

/// The head of the table whose lines cameraRow makes; no line end.
std::string cameraTableHead();

/// One line of a table, printable, no line end: address, MAC address, model, serial number, resolution,
/// firmware.
std::string cameraRow(const CameraInfo& camera);

/// A line for each of what the camera says, printable, a line end behind each but the last.
std::string cameraDetails(const CameraInfo& camera);

/// One JSON object on one line of ASCII: address, macAddress, model, serialNumber, firmware, subnetMask,
/// defaultGateway, resolution (x, y), cameraType; the texts are the camera's own, unchanged.
std::string cameraJson(const CameraInfo& camera);

/// {"cameras": [...]}, each as cameraJson makes it; of a search that was cut, "cut" says why.
std::string camerasJson(const std::vector<CameraInfo>& cameras, const std::string& cut);

} // namespace Console
