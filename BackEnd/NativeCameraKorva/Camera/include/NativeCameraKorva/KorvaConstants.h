#pragma once
// The words of the camera's text language, its ports, and the known hardware identifiers. Each source file
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

/// Models by the end of their hardware identifier. Only the M61 must have the minimum firmware.
const std::string modelM61 = "M61";
const std::string modelM615 = "M615";
const std::string modelM62 = "M62";

/// The oldest firmware that an M61 may have, as numbers and as messages name it.
using SoftwareVersion = std::array<std::uint8_t, 3>;
constexpr SoftwareVersion minimumSoftwareVersion{3, 2, 15};
const std::string minimumSoftwareVersionText = std::to_string(minimumSoftwareVersion[0]) + "." +
                                               std::to_string(minimumSoftwareVersion[1]) + "." +
                                               std::to_string(minimumSoftwareVersion[2]);

/// In the order in which an identifier is compared with them.
const std::vector<std::string> knownHardwareIds{modelM61, modelM615, modelM62};

/// Pixels, x then y, of the pictures that a model sends: its sensor, halved.
const std::map<std::string, Point<int, 2>> resolutions{
    {modelM61, Point<int, 2>(1676, 1266)},
    {modelM615, Point<int, 2>(2748, 1836)},
    {modelM62, Point<int, 2>(2748, 1836)},
};

/// Pixels of the whole sensors. Deliberately nothing looks here: a camera is known by its halved resolution.
const std::map<std::string, Point<int, 2>> sensorResolutions{
    {modelM61, Point<int, 2>(3352, 2532)},
    {modelM615, Point<int, 2>(5496, 3672)},
    {modelM62, Point<int, 2>(5496, 3672)},
};

/// What stands for a resolution that could not be found.
const Point<int, 2> unknownResolution;

} // namespace Korva
