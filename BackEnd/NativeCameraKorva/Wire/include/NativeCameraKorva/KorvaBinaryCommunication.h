#pragma once
// Sends, reads and judges messages of the binary protocol (Docs/Protocol.md, "Messages").

#include "NativeCameraKorva/KorvaExport.h"
#include "NativeCameraKorva/KorvaMessage.h"

#include <cstdint>
#include <vector>

class Communicator;

namespace Korva::Binary {

/// The checksum of the complete message of `length` bytes at `message`: the sum, modulo 65536, of all its
/// bytes but the last two, which are the checksum itself. `length` is at least 2.
KORVA_EXPORT std::uint16_t calculateChkSum(const unsigned char* message, std::uint64_t length);

/// The checksum field of the complete message that starts at `header`: the header's address plus its decoded
/// length minus 2. The message lies whole in one buffer. The field is big-endian and may lie at an odd
/// address, so copy its two bytes rather than reading through the pointer.
KORVA_EXPORT std::uint16_t* getChkSum(Header* header);

/// Encodes one request and hands it to the transport in one write.
///
/// False, with an error line and nothing written, for more than 255 arguments and for an argument of more
/// than 4 value bytes. `args` is not changed. What the transport throws passes to the caller.
KORVA_EXPORT bool createAndSendMessage(Command command, std::vector<FullArg>& args,
                                       Communicator* communicator);

/// Reads one message: `header` gets its six bytes, `args` one more entry per argument (callers clear it
/// beforehand).
///
/// True if the message was read and its checksum matches, and, with a warn line, if the checksum of a
/// message whose first argument is a GetImage does not. False, with an error or warn line, where bytes are
/// missing, where the transport answers a read with more than was asked or less than nothing, where an
/// argument runs past the announced length, where an argument other than GetImage announces more than 4 value
/// bytes, and if a GetImage value takes the message's images above 256 MiB or its memory cannot be had.
/// On failure arguments already read stay in `args`. What the transport throws passes to the caller.
KORVA_EXPORT bool parseIncomingMessage(Communicator* communicator, Header& header,
                                       std::vector<FullArg>& args);

/// Judges a response by its echoed command and the type of its first argument: Done is accepted unless
/// `expectImage`, GetImage only if `expectImage`. False, with an error or warn line, for all else, a response
/// without arguments included.
KORVA_EXPORT bool validateCommandResponse(Header& header, std::vector<FullArg>& args, bool expectImage);

} // namespace Korva::Binary
