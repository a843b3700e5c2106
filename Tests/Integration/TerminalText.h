#pragma once
// Judges what a program prints, without a line of the tool's own.

#include <string>

namespace Integration {

/// What in `text`, lines of UTF-8, could steer, confuse or break a terminal: a byte that is not part of
/// well-formed UTF-8, a control character other than the line feed, a separator of lines or paragraphs, a
/// character that is not seen or that turns the writing direction. Empty where there is none. Needs a UTF-8
/// locale in the process.
std::string whatSteersATerminal(const std::string& text);

} // namespace Integration
