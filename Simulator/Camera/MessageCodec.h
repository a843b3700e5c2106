#pragma once
// The binary protocol as the camera sees it: bytes to requests, answers to bytes (Docs/Protocol.md).

#include "Camera/Bytes.h"
#include "Camera/ErrorCode.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace Simulator {

inline constexpr std::uint8_t cameraCommand = 1;

/// u8 on the wire; one numbering for requests and answers.
enum class ArgumentCode : std::uint8_t {
    done = 0,
    error = 1,
    exposure = 2,
    mode = 3,
    format = 4,
    takeImage = 5,
    getImage = 6,
    depth = 7,
    shift = 8,
};

inline constexpr std::size_t headerBytes = 6;         ///< command u8, length u32, argument count u8
inline constexpr std::size_t argumentHeaderBytes = 5; ///< code u8, length u32
inline constexpr std::size_t checksumBytes = 2;
inline constexpr std::size_t answerHeadBytes =
    headerBytes + argumentHeaderBytes; ///< before an answer's value
inline constexpr std::size_t smallestMessageBytes = headerBytes + checksumBytes;

/// Longest request the camera listens to: 255 arguments of four value bytes are 2303. A longer announcement
/// is garbage, after which no message boundary can be trusted.
inline constexpr std::size_t largestRequestBytes = 4096;

/// One argument; `value` is borrowed from whoever made it.
struct Argument {
    std::uint8_t code = 0;
    ByteView value;
};

Argument argument(ArgumentCode code, ByteView value = {});

/// A request taken apart; its values are borrowed from the message it was read from.
struct Message {
    std::uint8_t command = 0;
    std::vector<Argument> arguments;
};

/// Sum of all bytes, modulo 65536.
std::uint16_t checksumOf(ByteView bytes);

/// Stores the checksum of everything before them into the two last bytes; `message` has at least two.
void seal(Bytes& message);

/// A whole message, sealed. The values together must stay below 4 GiB (std::length_error).
Bytes encodeMessage(std::uint8_t command, std::span<const Argument> arguments);

/// A message of one argument that answers a camera command.
Bytes encodeAnswer(ArgumentCode code, ByteView value = {});

/// As encodeAnswer(ArgumentCode::getImage, file), and copies nothing: the file stands in `framed` behind
/// answerHeadBytes bytes of any value. Throws as encodeMessage.
Bytes encodeImageAnswer(Bytes framed);

/// An `Error` answer with `code` as its value.
Bytes encodeErrorAnswer(std::uint32_t code);

/// Length in bytes of the request at the front of `input`: nothing while its header is incomplete, 0 if the
/// header announces a length that no request has.
std::optional<std::size_t> announcedRequestLength(ByteView input);

/// Takes apart one whole request of the length its header announces. Checks, in this order: checksum,
/// lengths.
std::variant<Message, ErrorCode> decodeRequest(ByteView request);

} // namespace Simulator
