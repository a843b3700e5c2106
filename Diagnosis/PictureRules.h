#pragma once
// What a picture's numbers say, and which exposure to try next. Plain arithmetic on the whole picture.

#include "PictureFacts.h"
#include "Verdict.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace Diagnosis {

inline constexpr int shortestExposure = 1; ///< units of 100 ms
inline constexpr int longestExposure = 3600;
/// What the plug-in waits for the answer to the request for a picture, likewise.
inline constexpr int answerTime = 100;
/// A camera may answer that only after its exposure: it has a second left to read the picture out.
inline constexpr int longestSureExposure = answerTime - 10;

/// Measures `pixels`, width x height bytes in rows from the top, both at least 1.
PictureFacts measured(std::uint32_t width, std::uint32_t height, std::span<const unsigned char> pixels);

/// "31 % overexposed; try --exposure 0.6", "99.9 % black": what is wrong with it, in units of 100 ms of
/// exposure (1 to 3600); nothing if it is fit for use. A failure if too little is left of it to be used,
/// else a note. Advises no exposure that a camera may not answer, unless this one has just answered a longer
/// one than that.
std::optional<Verdict> verdictOn(const PictureFacts& picture, int exposureUnits);

/// The exposure to try next, in units of 100 ms, so that the 99.5 % percentile comes between 70 % and 90 % of
/// full scale; nothing if it is there already, or if no other exposure from 1 to 3600 can be better. At most
/// 16 times as long.
std::optional<int> nextExposure(const PictureFacts& picture, int exposureUnits);

/// How far the 99.5 % percentile is from that range, in grey values; 0 within it.
unsigned distanceFromFit(const PictureFacts& picture);

/// A note on an exposure (units of 100 ms) that a camera may not answer after: beyond longestSureExposure.
/// Nothing on a shorter one.
std::optional<Verdict> verdictOnExposure(int exposureUnits);

/// A note on an exposure that leaves a picture no time: `most`, above zero, is for both. Nothing if there is
/// enough, as far as that is known before.
std::optional<Verdict> verdictOnTime(int exposureUnits, std::chrono::milliseconds most);

/// The camera at an address is another than the one that is described.
Verdict anotherCamera(const std::string& address, const std::string& describedSerialNumber,
                      const std::string& foundSerialNumber);

/// A verdict on one picture of several, with the exposure that tells which (units of 100 ms).
Verdict atExposure(Verdict verdict, int exposureUnits);

/// An exposure in seconds, as the command line takes it: "0.6", "12".
std::string secondsText(int exposureUnits);

/// A share, 0 to 1, as "31 %", "99.9 %", "0.4 %": "100 %" and "0 %" only of all and nothing.
std::string percentText(double share);

} // namespace Diagnosis
