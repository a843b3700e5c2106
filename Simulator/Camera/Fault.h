#pragma once
// Faults of a camera or its network, as settings: what goes wrong, with which answer, how often.

#include "Camera/Request.h"

#include <optional>
#include <string>
#include <string_view>

namespace Simulator {

enum class FaultKind {
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
    TruncateClose,  ///< the first `number` bytes (unset: half of them), then the connection is closed
    TruncateSilent, ///< the first `number` bytes (unset: half of them), and the rest never comes
    Reset,          ///< the connection is reset
    Delay,          ///< the answer comes `pauseMs` late
    Drip,           ///< pieces of `number` bytes, `pauseMs` between them
    Close,          ///< the connection is closed without an answer
    Silent,         ///< no answer; later requests are answered
    GarbagePicture, ///< a picture file of 4096 meaningless bytes
    EmptyPicture,   ///< a picture file of 0 x 0 pixels
    BlackPicture,   ///< a picture whose samples are all zero
};

/// One fault. It hits only requests that the camera would have granted; a refused request gets its `Error`.
struct Fault {
    FaultKind kind = FaultKind::Checksum;
    std::optional<RequestKind> request;  ///< unset: any request
    std::optional<std::uint32_t> number; ///< error code or count of bytes, as the kind says
    std::uint32_t pauseMs = 0;
    std::optional<std::uint32_t> times; ///< how often it hits; unset: always

    /// Whether it applies to an answer to `asked`: the picture faults touch answers to get requests only.
    bool hits(RequestKind asked) const;

    /// The text that `parseFault` reads back as this fault.
    std::string describe() const;

    bool operator==(const Fault&) const = default;
};

/// Reads REQUEST:FAULT[=VALUE][*TIMES], such as "get:checksum", "take:error=7*1" or "get:drip=1000/5*2".
/// Throws std::invalid_argument with a message for the user that quotes `text` and says what would be right.
Fault parseFault(std::string_view text);

/// How a fault is written and which there are, several lines, for the help of a command.
std::string faultHelp();

} // namespace Simulator
