#pragma once
// Everything that can be chosen about a simulated camera.

#include "Camera/Fault.h"
#include "Camera/ModelTable.h"
#include "Camera/Scene.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Simulator {

inline constexpr std::uint16_t textPort = 32768;   ///< TCP: queries, UDP: discovery
inline constexpr std::uint16_t binaryPort = 32769; ///< TCP

/// How the camera treats one of its three languages.
enum class Service {
    answered,
    silent,  ///< the port is open and read, but nothing is ever answered
    refused, ///< the port is not open
};

/// The picture size of a model of the table, for any other text that of the first one.
PictureSize pictureSizeOfModel(std::string_view model);

/// "1676x1266" as a size. Nothing if the text is not two numbers from 1 to 65535 with an x between them.
std::optional<PictureSize> pictureSizeFromText(std::string_view text);

/// Throws std::invalid_argument if no camera takes pictures of this size: sides of 1 to 65535, 64 Mi
/// pixels in all.
void requirePictureSize(PictureSize size);

/// "answered", "silent" or "refused". Nothing for any other text.
std::optional<Service> serviceFromText(std::string_view text);

std::string_view describe(Service service);

/// No text of it may have more than `longestText` bytes. Texts are said as they are, whatever is in them.
struct CameraSettings {
    static constexpr std::size_t longestText = 1024;

    std::string model{models.front().name};
    std::string firmware = "3.2.15";
    std::optional<PictureSize> size; ///< unset: the model's; each side from 1 to 65535 pixels
    Scene scene;
    std::uint64_t seed = 1;    ///< of the sensor's noise
    bool waitExposure = false; ///< answer a take request only after the exposure time
    std::vector<Fault> faults; ///< of those that still apply to a request, the first hits it

    std::string room = "Lab";
    std::string announcedAddress; ///< written behind --IP; empty: the address asked at
    std::string hardware;         ///< hardware identifier; empty: the model
    std::string api = "1.4";
    std::string serialNumber = "1234";
    std::string networkProtocol = "static"; ///< or "DHCP"
    std::string netMask = "255.255.255.0";
    std::string gateway = "0.0.0.0";

    Service discovery = Service::answered;
    Service text = Service::answered;
    Service binary = Service::answered;

    PictureSize pictureSize() const { return size.value_or(pictureSizeOfModel(model)); }
    const std::string& hardwareIdentifier() const { return hardware.empty() ? model : hardware; }
    bool operator==(const CameraSettings&) const = default;
};

/// A camera, and where it is served.
struct CameraEntry {
    std::string address; ///< dotted IPv4
    std::uint16_t binaryTcpPort = binaryPort;
    std::uint16_t textTcpAndUdpPort = textPort; ///< of the text language and of discovery
    CameraSettings settings = {};

    bool operator==(const CameraEntry&) const = default;
};

} // namespace Simulator
