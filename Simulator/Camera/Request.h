#pragma once
// What a client asks of the camera, judged as strictly as the camera judges it.

#include "Camera/MessageCodec.h"
#include "Camera/Place.h"

#include <cstdint>
#include <string>
#include <variant>

namespace Simulator {

enum class PictureFormat : std::uint8_t { sgi = 1, png = 2 };

inline constexpr std::uint16_t shortestExposureUnits = 1;   ///< 0.1 s
inline constexpr std::uint16_t longestExposureUnits = 3600; ///< 360 s

/// How the next picture is taken. Modes 1 and 2 give red, green and blue, mode 3 gives grey.
struct Configuration {
    std::uint16_t exposureUnits = shortestExposureUnits; ///< of 100 ms
    std::uint8_t mode = 2;                               ///< 1, 2 or 3
    PictureFormat format = PictureFormat::sgi;

    unsigned channels() const { return mode == 3 ? 1 : 3; }
    bool operator==(const Configuration&) const = default;
};

enum class RequestKind { configure, take, get, probe };

/// Where a fault strikes that hits the answer to this request.
Place placeOf(RequestKind request);

struct Request {
    RequestKind kind = RequestKind::probe;
    Configuration configuration;  ///< of configure
    std::uint8_t probedValue = 0; ///< of probe: any, and without effect

    /// The request in words: "configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4".
    std::string describe() const;
};

/// Checks, in this order: command, known arguments, arguments of one request in its order, lengths, values.
std::variant<Request, ErrorCode> parseRequest(const Message& message);

} // namespace Simulator
