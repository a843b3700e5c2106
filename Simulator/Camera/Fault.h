#pragma once
// Faults of a camera or its network, as settings: what goes wrong, with which answer, how often.

#include "Camera/Place.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Simulator {

enum class FaultKind {
    // Of the binary protocol.
    checksum,       ///< the checksum is off by one
    error,          ///< `Error` with the code `number`; the request is not carried out
    wrongResponse,  ///< `Done` where a picture is due, an empty `GetImage` where `Done` is due
    noArgument,     ///< an answer without any argument
    twoArguments,   ///< the due argument and a `Done` behind it
    wrongCommand,   ///< command 2 echoed
    unknownCode,    ///< an argument of code 99
    lengthLarge,    ///< the message announces twice its length
    lengthSmall,    ///< the message announces half its length
    lengthWrap,     ///< an argument length that makes a 32-bit sum of lengths wrap to zero
    longValue,      ///< `Done` with 8 value bytes
    manyArguments,  ///< the due argument and 254 `Done` behind it
    hugeImage,      ///< a `GetImage` that announces 2 GiB, and nothing behind
    garbagePicture, ///< a picture file of 4096 meaningless bytes
    emptyPicture,   ///< a picture file of 0 x 0 pixels
    blackPicture,   ///< a picture whose samples are all zero
    // Of a delivery: on TCP, and those that need no connection also of discovery replies.
    flip,    ///< bit `number` of the answer, counted from the first byte's lowest, is the other way round
    garbage, ///< 64 meaningless bytes instead of the answer
    twice,   ///< the answer comes a second time
    stale,   ///< the answer to the message before on this connection; the first message gets none
    scatter, ///< pieces of random size, up to `pauseMs` between them; of discovery: a datagram each
    endless, ///< the byte 'U' instead of the answer, for as long as the client stays
    trail,   ///< the answer, and zeros behind it for as long as the client stays
    truncateClose,  ///< the first `number` bytes (unset: half of them), then the connection is closed
    truncateSilent, ///< the first `number` bytes (unset: half of them), and the rest never comes
    reset,          ///< the connection is reset
    delay,          ///< the answer comes `pauseMs` late
    drip,           ///< pieces of `number` bytes, `pauseMs` between them; of discovery: a datagram each
    close,          ///< the connection is closed without an answer
    silent,         ///< no answer; later requests are answered
    // Of replies in the text language and of discovery replies.
    missingKey,   ///< the key `text` and its value are left out
    emptyValue,   ///< the key `text` has no value
    notClosed,    ///< the closing bracket is left out
    length,       ///< `number` bytes in all: filled up within the brackets, or cut off
    empty,        ///< "[]"; of discovery: a datagram of no bytes
    otherMarker,  ///< the reply's first word in lower case ("[korva")
    hostile,      ///< values of control characters, terminal escapes, quotes and markup; addresses stay
    wrongAddress, ///< `text` behind --IP
};

/// One fault. It hits only requests that the camera would have granted; a refused request gets its `Error`.
struct Fault {
    FaultKind kind = FaultKind::checksum;
    Place place = Place::anyBinary;
    std::optional<std::uint32_t> number; ///< error code or count of bytes, as the kind says
    std::uint32_t pauseMs = 0;
    std::optional<std::uint32_t> times; ///< how often it hits; unset: always
    std::string text = {};              ///< key or address, as the kind says

    /// Whether it applies to an answer to `asked`, which is no group: the picture faults touch answers to get
    /// requests only.
    bool hits(Place asked) const;

    /// The text that `parseFault` reads back as this fault.
    std::string describe() const;

    bool operator==(const Fault&) const = default;
};

/// Reads PLACE:FAULT[=VALUE][*TIMES], such as "get:checksum", "take:error=7*1", "get:drip=1000/5*2" or
/// "version:missing-key=--SW". Throws std::invalid_argument with a message for the user that quotes `text`
/// and says what would be right.
Fault parseFault(std::string_view text);

/// How a fault is written and which there are, several lines, for the help of a command.
std::string faultHelp();

} // namespace Simulator
