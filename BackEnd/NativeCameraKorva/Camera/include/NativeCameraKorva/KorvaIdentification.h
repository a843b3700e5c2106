#pragma once
// Who a camera is: its resolution, its MAC address, and the whole identification by address.

#include "VantrelCommon/CameraInfo.h"
#include "VantrelCommon/Point.h"

#include <string>
#include <string_view>

class Communicator;

namespace Korva {

/// The MAC address that stands for a failed lookup.
inline constexpr char unknownMacAddress[] = "00-00-00-00-00-00";

/// True if `text` ends with `suffix` and, deliberately, wherever it is one character shorter, whatever it
/// says. So it comes of how the ends are compared: the last occurrence of `suffix` with (length of text -
/// length of suffix), in unsigned sizes, where "not found" is the largest one, as is 0 - 1. An empty suffix
/// always matches.
bool endsWithOrIsOneShorter(std::string_view text, std::string_view suffix);

/// The resolution of a camera by its hardware identifier, or, where that is unknown, the size of a sample
/// picture taken over `imageCommunicator` (not owned; used only then; at most two grabs). (0, 0) where
/// neither gives one. Never throws for a camera's or a transport's fault: it logs.
Point<int, 2> getKorvaResolution(std::string hardwareId, Communicator* imageCommunicator);

/// The MAC address of the camera at an IPv4 address, by ARP: hexadecimal pairs in lower case joined by
/// hyphens, or unknownMacAddress with a warn line. Blocks as long as the system's ARP does, about 3 s at
/// most.
std::string getKorvaMacAddress(const std::string ip);

/// Identifies the camera at an IPv4 address (UTF-8) over a connection of its own to TCP port 32768, closed
/// before it returns. `mac`: as for determineCameraInfo. Throws what that throws.
CameraInfo determineCameraInfoByAddress(const std::string& ip, const std::string& mac);

} // namespace Korva
