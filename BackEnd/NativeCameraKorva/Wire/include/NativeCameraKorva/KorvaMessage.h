#pragma once
// The records and codes of the binary protocol, laid out as on the wire (Docs/Protocol.md, "Messages").

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace Korva::Binary {

/// First byte of a message. One byte on the wire.
enum class Command : std::uint8_t {
    Camera = 1 ///< camera command; a response echoes it
};

/// First byte of an argument. One numbering serves requests and responses.
enum class ArgCode : std::uint8_t {
    Done = 0,      ///< response, no value required: the command was carried out
    Error = 1,     ///< response, u32 big-endian: the camera's error code
    Exposure = 2,  ///< request, u16 big-endian, in units of 100 ms
    Mode = 3,      ///< request, u8: 1, 2 or 3
    Format = 4,    ///< request, u8: 1 SGI, 2 PNG; 0 in the connection probe
    TakeImage = 5, ///< request, no value: expose and keep a picture
    GetImage = 6,  ///< request: no value; response: the whole image file
    Depth = 7,     ///< request, u8: bits per sample, 16
    Shift = 8      ///< request, u8: 4
};

#pragma pack(push, 1)

/// The six bytes that begin a message, in wire order and wire byte order.
struct Header {
    std::uint8_t command = 0; ///< offset 0, u8: a Command
    std::uint32_t length =
        0; ///< offset 1, u32 big-endian as on the wire, unaligned: bytes of the whole message
    std::uint8_t argCount = 0; ///< offset 5, u8: arguments that follow
};

/// The five bytes that begin an argument, in wire order and wire byte order.
struct ArgHeader {
    std::uint8_t type = 0;    ///< offset 0, u8: an ArgCode
    std::uint32_t length = 0; ///< offset 1, u32 big-endian as on the wire, unaligned: value bytes that follow
};

#pragma pack(pop)

inline constexpr std::size_t headerBytes = 6;
inline constexpr std::size_t argHeaderBytes = 5;
inline constexpr std::size_t checksumBytes = 2;
inline constexpr std::size_t inlineValueBytes = 4;
inline constexpr std::size_t maximumArgCount = 255;

static_assert(sizeof(Header) == headerBytes && std::is_trivially_copyable_v<Header>);
static_assert(sizeof(ArgHeader) == argHeaderBytes && std::is_trivially_copyable_v<ArgHeader>);

/// One argument. Movable, not copyable: `data` belongs to it and goes with it.
struct FullArg {
    ArgHeader header;

    /// The value bytes in wire order, for values of at most 4 bytes; shorter ones fill the front.
    std::array<std::uint8_t, inlineValueBytes> value{};

    /// The value bytes of a received GetImage argument, header.length of them; else null.
    std::unique_ptr<std::uint8_t[]> data;
};

/// Converts between the wire's big-endian numbers and this machine's; its own inverse.
constexpr std::uint32_t bigEndian32(std::uint32_t number) noexcept {
    if constexpr (std::endian::native == std::endian::little)
        return (number >> 24) | ((number >> 8) & 0xFF00u) | ((number << 8) & 0xFF0000u) | (number << 24);
    else
        return number;
}

/// The 16-bit twin of bigEndian32.
constexpr std::uint16_t bigEndian16(std::uint16_t number) noexcept {
    if constexpr (std::endian::native == std::endian::little)
        return static_cast<std::uint16_t>((number >> 8) | (number << 8));
    else
        return number;
}

} // namespace Korva::Binary
