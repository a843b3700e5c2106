#pragma once
// What must come of whatever a camera sends: an oracle that reads the bytes, and when they arrive, as
// Docs/Protocol.md tells. It knows nothing of the plug-in's code; it talks to the camera's own sessions.

#include "Camera/Session.h"
#include "Platform/Clock.h"
#include "VantrelCommon/CameraInfo.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Faults {

using Simulator::Bytes;
using Size = std::pair<int, int>;
using Time = Platform::Clock::duration;

/// A line at warn or error.
struct Line {
    std::string level;
    std::string logger; ///< behind "Plenar.KorvaCamera."
    std::string file;   ///< of the location, behind "BackEnd/NativeCameraKorva/"
    std::string message;
    int number = 0; ///< of the location; 0 where it is no stable one, which equals any

    bool operator==(const Line& other) const;
};
using Lines = std::vector<Line>;
std::ostream& operator<<(std::ostream& stream, const Line& line);

/// Who answers at a camera's address, each connection by a session of its own.
struct Camera {
    using Accept = std::function<std::unique_ptr<Simulator::Session>()>;

    Accept text;
    Accept binary;
    std::string address = "10.0.0.5";
    int textPort = Simulator::textPort;
    int binaryPort = Simulator::binaryPort;
};

/// The sessions of a simulated camera, which outlives them; it is where `place` says.
Camera sessionsOf(Simulator::Camera& camera, Camera place = {});

/// How the host asks.
struct Asking {
    bool isPng = false;
    unsigned samplesPerPixel = 3;
    unsigned exposureUnits = 15;
    Size resolution{4, 3}; ///< of a device's camera, as it is described
    std::size_t mostPictureBytes = std::size_t{256} << 20;
    Time longestRead = std::chrono::seconds(10); ///< a host that waits for less than it is told to
};

struct Outcome {
    bool isGood = false;                     ///< a picture, a connection, an identity, a camera found
    Bytes pixels = {};                       ///< of a picture, in grey
    std::vector<std::wstring> identity = {}; ///< as told() puts it
    std::string exception = {};              ///< the message of the DeviceException, where one is thrown
    Lines lines = {};
    std::vector<int> health = {}; ///< the codes reported
    int attempts = 0;             ///< configurations sent
    int textConnections = 0;
    int binaryConnections = 0;
    int receives = 0; ///< how often bytes are waited for
    Time elapsed{0};
    /// False where it depends on when bytes come over a real network, or on what lies under transparency.
    bool isSure = true;
};

/// A capture without a device.
Outcome capture(const Camera& camera, const Asking& asking = {});
/// A device's picture.
Outcome picture(const Camera& camera, const Asking& asking = {});
/// A device's connection check.
Outcome check(const Camera& camera, const Asking& asking = {});
/// By address, whose hardware address is known.
Outcome identify(const Camera& camera, const Asking& asking = {});

/// A datagram, and how long after the one before it comes.
using Datagram = std::pair<std::string, Time>;
/// The address that it names; none where it is no reply.
std::optional<std::string> addressIn(const std::string& datagram);
/// A search on a network with this camera alone, that hears these datagrams.
Outcome search(const Camera& camera, const std::vector<Datagram>& datagrams, const Asking& asking = {});

/// How long it takes to read that answer to a request, beyond its arrival.
Time waitFor(const Camera::Accept& accept);

/// Model, firmware, serial number, net mask, gateway and size, as the host is told of them.
std::vector<std::wstring> told(const CameraInfo& info);

} // namespace Faults
