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
    Checksum,       ///< the checksum is off by one
    Error,          ///< `Error` with the code `number`; the request is not carried out
    WrongResponse,  ///< `Done` where a picture is due, an empty `GetImage` where `Done` is due
    NoArgument,     ///< an answer without any argument
    TwoArguments,   ///< the due argument and a `Done` behind it
    WrongCommand,   ///< command 2 echoed
    UnknownCode,    ///< an argument of code 99
    LengthLarge,    ///< the message announces twice its length
    LengthSmall,    ///< the message announces half its length
    LengthWrap,     ///< an argument length that makes a 32-bit sum of lengths wrap to zero
    LongValue,      ///< `Done` with 8 value bytes
    ManyArguments,  ///< the due argument and 254 `Done` behind it
    HugeImage,      ///< a `GetImage` that announces 2 GiB, and nothing behind
    GarbagePicture, ///< a picture file of 4096 meaningless bytes
    EmptyPicture,   ///< a picture file of 0 x 0 pixels
    BlackPicture,   ///< a picture whose samples are all zero
    // Of a delivery: on TCP, and those that need no connection also of discovery replies.
    Flip,    ///< bit `number` of the answer, counted from the first byte's lowest, is the other way round
    Garbage, ///< 64 meaningless bytes instead of the answer
    Twice,   ///< the answer comes a second time
    Stale,   ///< the answer to the message before on this connection; the first message gets none
    Scatter, ///< pieces of random size, up to `pauseMs` between them; of discovery: a datagram each
    Endless, ///< the byte 'U' instead of the answer, for as long as the client stays
    TruncateClose,  ///< the first `number` bytes (unset: half of them), then the connection is closed
    TruncateSilent, ///< the first `number` bytes (unset: half of them), and the rest never comes
    Reset,          ///< the connection is reset
    Delay,          ///< the answer comes `pauseMs` late
    Drip,           ///< pieces of `number` bytes, `pauseMs` between them; of discovery: a datagram each
    Close,          ///< the connection is closed without an answer
    Silent,         ///< no answer; later requests are answered
    // Of replies in the text language and of discovery replies.
    MissingKey,   ///< the key `text` and its value are left out
    EmptyValue,   ///< the key `text` has no value
    NotClosed,    ///< the closing bracket is left out
    Length,       ///< `number` bytes in all: filled up within the brackets, or cut off
    Empty,        ///< "[]"; of discovery: a datagram of no bytes
    OtherMarker,  ///< the reply's first word in lower case ("[korva")
    Hostile,      ///< values of control characters, terminal escapes, quotes and markup; addresses stay
    WrongAddress, ///< `text` behind --IP
};

/// One fault. It hits only requests that the camera would have granted; a refused request gets its `Error`.
struct Fault {
    FaultKind kind = FaultKind::Checksum;
    Place place = Place::AnyBinary;
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
