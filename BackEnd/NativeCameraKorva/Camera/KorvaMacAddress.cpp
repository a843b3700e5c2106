#include "NativeCameraKorva/KorvaIdentification.h"

#include "NativeCameraKorva/KorvaLog.h"
#include "Platform/IpHelper.h"
#include "Platform/Winsock.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iomanip>
#include <locale>
#include <span>
#include <sstream>

namespace Korva {
namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCapture");

constexpr IPAddr anySource = 0;
constexpr ULONG macBytes = 6;

using MacBuffer = std::array<std::uint8_t, 8>;
constexpr MacBuffer unansweredMac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

std::string formatMac(std::span<const std::uint8_t> bytes) {
    std::ostringstream text;
    // Else the stream would keep a failed allocation to itself, and the text would be cut.
    text.exceptions(std::ios::badbit);
    text.imbue(std::locale::classic());
    text << std::hex << std::setfill('0');
    const char* separator = "";
    for (const unsigned int byte : bytes) {
        text << separator << std::setw(2) << byte;
        separator = "-";
    }
    return text.str();
}

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy of the text
std::string getKorvaMacAddress(const std::string ip) {
    in_addr destination{};
    // An address that is none stays zero, and ARP then finds nobody.
    static_cast<void>(inet_pton(AF_INET, ip.c_str(), &destination));
    MacBuffer mac = unansweredMac;
    ULONG length = macBytes;
    const DWORD code = SendARP(destination.s_addr, anySource, mac.data(), &length);
    if (code != NO_ERROR) {
        KORVA_LOG(logger, Warn, "KorvaHelper",
                  "Couldn't retrieve MAC address with ARP call: error: " << code);
        return unknownMacAddress;
    }
    // The length is the system's word; the buffer is ours.
    return formatMac(std::span(mac).first(std::min<std::size_t>(length, mac.size())));
}

} // namespace Korva
