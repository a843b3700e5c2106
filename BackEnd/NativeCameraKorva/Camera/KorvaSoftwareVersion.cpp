#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaHelper.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <utility>
#include <vector>

namespace Korva {
namespace {

/// The low 8 bits of the decimal number at the beginning of `piece`, 0 if there is none. Numbers beyond an
/// int's count as its largest or smallest.
std::uint8_t lowByte(const std::string& piece) {
    constexpr long smallest = std::numeric_limits<int>::min();
    constexpr long largest = std::numeric_limits<int>::max();
    const long number = std::clamp(std::strtol(piece.c_str(), nullptr, 10), smallest, largest);
    return static_cast<std::uint8_t>(number & 0xFF);
}

} // namespace

bool checkSoftwareVersion(std::string version) {
    std::istringstream stream(std::move(version));
    // Else the stream would keep a failed allocation to itself, and the firmware would pass for an old one.
    stream.exceptions(std::ios::badbit);
    std::vector<std::uint8_t> parts;
    std::string piece;
    while (std::getline(stream, piece, '.'))
        parts.push_back(lowByte(piece));
    return parts.size() == 3 && SoftwareVersion{parts[0], parts[1], parts[2]} >= minimumSoftwareVersion;
}

} // namespace Korva
