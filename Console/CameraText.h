#pragma once
// What a camera says of itself, for people and for programs.

#include "Diagnosis/Facts.h"
#include "VantrelCommon/CameraInfo.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Console {

/// A camera in a table.
struct CameraLine {
    std::string address; ///< any text, as the next
    std::string room;
    std::optional<Diagnosis::Identity> identity;
};

/// The head of a table, and a line for each camera up to its last cell, the status: address, room, MAC
/// address, model, serial number, pixels, firmware; "-" for what is not known. Printable, without line ends;
/// what is too long for its column ends with "…".
std::vector<std::string> cameraTable(const std::vector<CameraLine>& cameras);

/// A line for each of what the camera says, printable, a line end behind each but the last.
std::string cameraDetails(const CameraInfo& camera);

/// An object: address, macAddress, model, serialNumber, firmware, subnetMask, defaultGateway, resolution
/// (x, y), cameraType; the texts are the camera's own, unchanged.
nlohmann::ordered_json cameraObject(const CameraInfo& camera);

} // namespace Console
