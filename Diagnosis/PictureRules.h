#pragma once
// What a picture's numbers say, and which exposure to try next. Plain arithmetic on the whole picture.

#include "PictureFacts.h"
#include "Verdict.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace Diagnosis {

inline constexpr int shortestExposure = 1; ///< units of 100 ms
inline constexpr int longestExposure = 3600;
/// A camera may answer the request for a picture after its exposure, and has 10 s for it.
inline constexpr int longestSureExposure = 95;

/// Measures `pixels`, width x height bytes in rows from the top, both at least 1.
PictureFacts measured(std::uint32_t width, std::uint32_t height, std::span<const unsigned char> pixels);

/// "31 % overexposed; try --exposure 0.6", "99.9 % black": what is wrong with it, in units of 100 ms of
/// exposure (1 to 3600); nothing if it is fit for use. A failure if too little is left of it to be used,
/// else a note.
std::optional<Verdict> verdictOn(const PictureFacts& picture, int exposureUnits);

/// The exposure to try next, in units of 100 ms, so that the 99.5 % percentile comes between 70 % and 90 % of
/// full scale; nothing if it is there already, or if no other exposure from 1 to 3600 can be better. At most
/// 16 times as long.
std::optional<int> nextExposure(const PictureFacts& picture, int exposureUnits);

/// How far the 99.5 % percentile is from that range, in grey values; 0 within it.
unsigned distanceFromFit(const PictureFacts& picture);

/// A note on an exposure (units of 100 ms) that a camera may not answer after: it has 10 s to answer the
/// request for a picture, and may expose first. Nothing on a shorter one.
std::optional<Verdict> verdictOnExposure(int exposureUnits);

/// The camera at an address is another than the one that is described.
Verdict anotherCamera(const std::string& address, const std::string& describedSerialNumber,
                      const std::string& foundSerialNumber);

/// An exposure in seconds, as the command line takes it: "0.6", "12".
std::string secondsText(int exposureUnits);

/// A share, 0 to 1, as "31 %", "99.9 %", "0.4 %": "100 %" and "0 %" only of all and nothing.
std::string percentText(double share);

} // namespace Diagnosis
