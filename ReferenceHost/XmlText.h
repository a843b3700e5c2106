#pragma once
// The texts of the host's XML: read from Xerces-C's nodes, written as UTF-8.

#include <functional>
#include <iosfwd>
#include <string>
#include <xercesc/dom/DOMNode.hpp>

namespace ReferenceHost {

/// The parser's UTF-16 as wide text, unpaired surrogates becoming U+FFFD. Null gives an empty text.
std::wstring wideFromXml(const XMLCh* text);

/// Calls `visit` for every child element, in order, with its name and the text in it.
void forEachChildElement(
    const xercesc::DOMNode& element,
    const std::function<void(const std::wstring& name, const std::wstring& text)>& visit);

/// The decimal number that `text` holds, blanks around it apart. Throws DeviceException, which names the
/// element, where it holds none or one that does not fit.
int numberOfElement(const std::wstring& name, const std::wstring& text);

/// Writes <name>text</name> on a line of its own behind `indent` blanks. Markup is escaped, and characters
/// that XML cannot hold become U+FFFD.
void writeElement(std::ostream& stream, int indent, const char* name, const std::wstring& text);

/// Writes a line with a tag alone, such as "/Device".
void writeTag(std::ostream& stream, int indent, const char* tag);

} // namespace ReferenceHost
