#pragma once
// Makes text from a camera fit to be shown on a terminal.

#include <string>
#include <string_view>

namespace Diagnosis {

/// `text` with every control character (those of one byte, delete, U+0080 to U+009F, the line and paragraph
/// separators), every character that is not seen (those of no width, those that turn the writing direction,
/// fillers and blanks that look like a space, selectors of a shape, tags) and every byte that is not part of
/// well-formed UTF-8 written as \x and two lower-case hexadecimal digits per byte. The result is one line of
/// well-formed UTF-8 that cannot steer a terminal.
std::string printable(std::string_view text);

/// A well-formed XML document with each of those characters as a character reference, but for the line feed:
/// the same document, unable to steer a terminal. A byte that is not part of well-formed UTF-8 is left out.
std::string printableXml(std::string_view xml);

} // namespace Diagnosis
