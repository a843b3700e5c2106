#include "XmlText.h"

#include "Communicator/DeviceException.h"
#include "Platform/Text.h"

#include <algorithm>
#include <charconv>
#include <ostream>
#include <xercesc/util/XMLString.hpp>

namespace {

constexpr wchar_t replacementCharacter = L'\uFFFD';
constexpr bool wideIsUtf16 = sizeof(wchar_t) == sizeof(XMLCh);

constexpr bool isLeadSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool isTrailSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// What XML 1.0 calls a character. In UTF-16 the halves of a pair pass: the conversion to UTF-8 replaces
/// the unpaired ones.
bool isXmlCharacter(wchar_t unit) {
    const auto value = static_cast<char32_t>(unit);
    if (value < 0x20)
        return value == '\t' || value == '\n' || value == '\r';
    if (isLeadSurrogate(value) || isTrailSurrogate(value))
        return wideIsUtf16;
    return value != 0xFFFE && value != 0xFFFF && value <= 0x10FFFF;
}

std::string escaped(const std::wstring& text) {
    std::wstring holdable = text;
    std::replace_if(
        holdable.begin(), holdable.end(), [](wchar_t unit) { return !isXmlCharacter(unit); },
        replacementCharacter);

    std::string result;
    for (const char byte : Platform::utf8FromWide(holdable)) {
        switch (byte) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r': // a reader would take the bare one for a line feed
            result += "&#13;";
            break;
        default:
            result += byte;
        }
    }
    return result;
}

std::string blanks(int count) {
    return std::string(static_cast<std::size_t>(std::max(count, 0)), ' ');
}

} // namespace

std::wstring ReferenceHost::wideFromXml(const XMLCh* text) {
    const std::size_t count = xercesc::XMLString::stringLen(text);
    std::wstring wide;
    wide.reserve(count);
    for (std::size_t at = 0; at < count; ++at) {
        const char32_t unit = text[at];
        if (isLeadSurrogate(unit) && isTrailSurrogate(text[at + 1])) { // the terminator is no surrogate
            const char32_t trail = text[++at];
            if constexpr (wideIsUtf16) {
                wide += {static_cast<wchar_t>(unit), static_cast<wchar_t>(trail)};
            } else {
                wide += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (trail - 0xDC00));
            }
        } else if (isLeadSurrogate(unit) || isTrailSurrogate(unit)) {
            wide += replacementCharacter;
        } else {
            wide += static_cast<wchar_t>(unit);
        }
    }
    return wide;
}

void ReferenceHost::forEachChildElement(
    const xercesc::DOMNode& element,
    const std::function<void(const std::wstring& name, const std::wstring& text)>& visit) {
    for (const xercesc::DOMNode* child = element.getFirstChild(); child != nullptr;
         child = child->getNextSibling())
        if (child->getNodeType() == xercesc::DOMNode::ELEMENT_NODE)
            visit(wideFromXml(child->getNodeName()), wideFromXml(child->getTextContent()));
}

int ReferenceHost::numberOfElement(const std::wstring& name, const std::wstring& text) {
    constexpr auto whiteSpace = " \t\r\n";
    constexpr std::size_t shownCharacters = 40;

    const std::string narrow = Platform::utf8FromWide(text);
    const std::size_t begin = std::min(narrow.find_first_not_of(whiteSpace), narrow.size());
    const std::size_t behind = std::max(begin, narrow.find_last_not_of(whiteSpace) + 1); // npos + 1 is 0
    const char* const end = narrow.data() + behind;
    int number = 0;
    const auto [stopped, error] = std::from_chars(narrow.data() + begin, end, number);
    if (error != std::errc() || stopped != end)
        throw DeviceException(L"The description's element \"" + name + L"\" holds no number: \"" +
                              text.substr(0, shownCharacters) + L"\"");
    return number;
}

void ReferenceHost::writeElement(std::ostream& stream, int indent, const char* name,
                                 const std::wstring& text) {
    stream << blanks(indent) << '<' << name << '>' << escaped(text) << "</" << name << ">\n";
}

void ReferenceHost::writeTag(std::ostream& stream, int indent, const char* tag) {
    stream << blanks(indent) << '<' << tag << ">\n";
}
