#pragma once
// The reading of a message with a limit of the caller's choice.

#include "NativeCameraKorva/KorvaMessage.h"

#include <cstdint>
#include <vector>

class Communicator;

namespace Korva::Binary {

/// The most value bytes that the GetImage arguments of a message may announce together, where nobody says
/// otherwise: 256 MiB. The largest real picture has 30 MB.
inline constexpr std::uint32_t defaultImageByteLimit = std::uint32_t{256} << 20;

/// parseIncomingMessage with another limit on the value bytes of the message's images.
bool readMessage(Communicator& communicator, Header& header, std::vector<FullArg>& args,
                 std::uint32_t imageByteLimit);

} // namespace Korva::Binary
