#pragma once
// What a camera says of itself, for people and for programs.

#include "Diagnosis/Facts.h"
#include "VantrelCommon/CameraInfo.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace Console {

/// The head of the table whose lines cameraRow begins; no line end.
std::string cameraTableHead();

/// A line of a table, printable, up to its last cell, the status: address, room, MAC address, model, serial
/// number, pixels, firmware; "-" for what is not known.
std::string cameraRow(const std::string& address, const std::string& room,
                      const std::optional<Diagnosis::Identity>& identity);

/// A line for each of what the camera says, printable, a line end behind each but the last.
std::string cameraDetails(const CameraInfo& camera);

/// One JSON object on one line of ASCII: address, macAddress, model, serialNumber, firmware, subnetMask,
/// defaultGateway, resolution (x, y), cameraType; the texts are the camera's own, unchanged.
std::string cameraJson(const CameraInfo& camera);

/// The same as a value.
nlohmann::ordered_json cameraObject(const CameraInfo& camera);

} // namespace Console
