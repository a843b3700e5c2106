#pragma once
// The words of the camera's text language, its ports, and the known models. Each source file
// that includes this has its own copy, built when the library is loaded.

#include "VantrelCommon/Point.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Korva {

/// This camera family's number in the host's CameraInfo.
constexpr int cameraType = 6;

/// UDP port of discovery and TCP port of the text language.
constexpr int textPort = 32768;
/// TCP port of the binary commands, which a device's own connection goes to.
constexpr int binaryPort = 32769;
/// A communicator's connect time-out: the host's own choice.
constexpr int hostsDefaultTimeout = -1;

/// The broadcast query, sent without a terminator.
const std::string discoveryQuery = "AreThereAnyKorvaAround?";

const std::string versionKeyword = "Version";
const std::string hardwareKey = "--HW";
const std::string softwareKey = "--SW";
const std::string apiKey = "--API";

const std::string serialNumberKeyword = "SerialNumber";
const std::string cameraKey = "--Camera";
const std::string spectroKey = "--Spectro";

const std::string settingsKeyword = "--Settings";
const std::string networkProtocolKey = "--NetworkProtocol";
const std::string staticProtocol = "static";
const std::string dhcpProtocol = "DHCP";
const std::string netMaskKey = "--NetMask";
const std::string netGatewayKey = "--NetGateway";

const std::string modelPrefix = "Korva Meridian";

/// A model, known by the end of its hardware identifier.
struct CameraModel {
    const char* hardwareId;
    int width; ///< of the pictures that it sends, in pixels: its sensor, halved
    int height;
};

/// The one model that must have the minimum firmware.
constexpr char modelM61[] = "M61";

/// All models, in the order in which an identifier is compared with them: a new one is a row here.
inline constexpr CameraModel cameraModels[] = {
    {modelM61, 1676, 1266},
    {"M615", 2748, 1836},
    {"M62", 2748, 1836},
};

/// The oldest firmware that an M61 may have, as numbers and as messages name it.
using SoftwareVersion = std::array<std::uint8_t, 3>;
constexpr SoftwareVersion minimumSoftwareVersion{3, 2, 15};
const std::string minimumSoftwareVersionText = std::to_string(minimumSoftwareVersion[0]) + "." +
                                               std::to_string(minimumSoftwareVersion[1]) + "." +
                                               std::to_string(minimumSoftwareVersion[2]);

/// Identifiers of the models, in their order.
const std::vector<std::string> knownHardwareIds = [] {
    std::vector<std::string> identifiers;
    for (const CameraModel& model : cameraModels)
        identifiers.emplace_back(model.hardwareId);
    return identifiers;
}();

/// Pixels, x then y, by identifier, times `factor`.
inline std::map<std::string, Point<int, 2>> sizesOfModels(int factor) {
    std::map<std::string, Point<int, 2>> sizes;
    for (const CameraModel& model : cameraModels)
        sizes.emplace(model.hardwareId, Point<int, 2>(factor * model.width, factor * model.height));
    return sizes;
}

/// Of the pictures that a model sends.
const std::map<std::string, Point<int, 2>> resolutions = sizesOfModels(1);

/// Of the whole sensors. Deliberately nothing looks here: a camera is known by its halved resolution.
const std::map<std::string, Point<int, 2>> sensorResolutions = sizesOfModels(2);

/// What stands for a resolution that could not be found.
const Point<int, 2> unknownResolution;

} // namespace Korva
