#pragma once
// Shows received bytes in a line of a log.

#include "Camera/Bytes.h"

#include <string>
#include <string_view>

namespace Simulator {

/// The bytes as printable ASCII, every other byte and the backslash as \x and two hexadecimal digits; after
/// the first 300 bytes "... (N bytes)".
std::string quotedText(std::string_view text);
std::string quotedText(ByteView bytes);

} // namespace Simulator
