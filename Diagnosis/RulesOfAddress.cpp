#include "Ipv4.h"
#include "Printable.h"
#include "Rules.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace Diagnosis {

namespace {

bool isDigitOrDot(char letter) {
    return letter == '.' || (letter >= '0' && letter <= '9');
}

/// Bytes above 127 are left to the system's resolver.
bool belongsInAName(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte > 127 || std::isalnum(byte) != 0 || letter == '.' || letter == '-' || letter == '_';
}

bool holds(std::string_view text, char letter) {
    return text.find(letter) != std::string_view::npos;
}

/// Of an IPv4 address: why no single camera has it; null if one may.
const char* whyNoCameras(std::uint32_t address) {
    if (address == 0)
        return "is no address of a camera: it stands for any";
    if (address == 0xFFFFFFFFu)
        return "is no address of a camera: it stands for all";
    if ((address >> 28) == 0xE)
        return "is no address of a camera: it stands for a group";
    return nullptr;
}

/// Null if it can be one.
const char* whyNone(std::string_view text) {
    constexpr std::size_t longestName = 253;
    if (text.empty())
        return "is empty: no address";
    if (const auto address = ipv4Number(text))
        return whyNoCameras(*address);
    if (text.find("://") != std::string_view::npos)
        return "is a link: give the address alone";
    if (std::count(text.begin(), text.end(), ':') > 1 || text.front() == '[')
        return "is an IPv6 address: Korva cameras have IPv4 addresses alone";
    if (holds(text, ':'))
        return "names a port: give the address alone, since a camera's ports are fixed";
    if (holds(text, '/'))
        return "names a network: give the address of one camera";
    if (holds(text, ','))
        return "holds a comma: put blanks between addresses";
    if (std::all_of(text.begin(), text.end(), isDigitOrDot))
        return "is no IPv4 address: it has four numbers from 0 to 255";
    const bool isName = std::all_of(text.begin(), text.end(), belongsInAName) && text.size() <= longestName &&
                        text.front() != '-' && text.front() != '.';
    return isName ? nullptr : "is neither an IPv4 address nor the name of a computer";
}

} // namespace

std::optional<Verdict> verdictOnAddress(const std::string& text) {
    const char* const why = whyNone(text);
    if (why == nullptr)
        return std::nullopt;
    Verdict verdict;
    verdict.code = "not-an-address";
    verdict.text = text.empty() ? "no address is given" : why;
    verdict.remedy = "an IPv4 address such as 10.77.1.11, or a computer's name";
    verdict.address = text;
    return verdict;
}

} // namespace Diagnosis
