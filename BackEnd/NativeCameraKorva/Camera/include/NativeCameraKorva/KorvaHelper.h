#pragma once
// What the plug-in does with a camera as a whole: asks who it is, takes a picture.

#include "NativeCameraKorva/KorvaExport.h"
#include "VantrelCommon/CameraInfo.h"

#include <string>

class Communicator;
class Image;

namespace Korva {

/// Takes one picture: configures the camera, has it expose, fetches the file, decodes it, reduces the samples
/// to 8 bits and has the host's imaging library convert them to grey. At most two attempts; an all-black
/// picture fails its attempt.
///
/// `communicator`: the camera's binary port; connected for the call. Blocks the calling thread, which must
/// have the only use of it.
/// `forceMode1`: capture mode 1. `png`: the camera sends PNG, else SGI. `monochrome`: one sample per pixel
/// (mode 3 unless forced), else three (mode 2). `exposure`: units of 100 ms, of which the low 16 bits are
/// sent. `delayBeforeTake`: wait 10 s between the configuration and the take request.
///
/// Returns a new grey 8-bit image, which the caller gives back to the imaging library; one of 0 x 0 pixels
/// if the file could not be decoded; null if both attempts failed, for which each left its log lines.
/// What the transport and the imaging library throw passes to the caller; nothing is leaked.
KORVA_EXPORT Image* capture(Communicator* communicator, bool forceMode1, bool png, bool monochrome,
                            int exposure, bool delayBeforeTake);

/// Asks the camera behind `communicator` (an EthernetCommunicator to its text port, not owned; connected for
/// the call) who it is, and returns its description. The resolution comes from the hardware identifier or,
/// where that is unknown, from a sample picture over a second connection, to the binary port.
///
/// `macAddress`: the camera's MAC address where the caller knows it. It is stored as given, even if it is
/// empty: the look-up that is then made shows only in the log.
/// What the camera leaves out of its replies is empty in the description. Blocks the calling thread, up to 4
/// s for each of three replies.
///
/// Throws DeviceException, after an error line with the same text, if the camera does not answer a query,
/// if an M61 has a firmware older than 3.2.15 and if no resolution can be found; without a line where
/// `communicator` is no EthernetCommunicator. What the transport throws passes to the caller; nothing is
/// leaked.
KORVA_EXPORT CameraInfo determineCameraInfo(Communicator* communicator, const std::string macAddress);

/// True if `version` has three numbers joined by dots that are 3.2.15 or later. Of each number the low 8
/// bits count; what follows its digits is ignored, and no digits are 0. A dot at the end adds no number.
KORVA_EXPORT bool checkSoftwareVersion(std::string version);

} // namespace Korva
