#include "HardwareAddress.h"

#include "Aside.h"

#include "Platform/IpHelper.h"
#include "Platform/Winsock.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

namespace Console {

namespace {

std::string asked(const std::string& address) {
    in_addr destination{};
    if (inet_pton(AF_INET, address.c_str(), &destination) != 1)
        return "";
    std::array<unsigned char, 8> bytes{};
    ULONG count = 6;
    if (SendARP(destination.s_addr, 0, bytes.data(), &count) != NO_ERROR)
        return "";
    std::string text;
    for (std::size_t i = 0; i < count && i < bytes.size(); ++i) {
        std::array<char, 4> pair{};
        std::snprintf(pair.data(), pair.size(), i == 0 ? "%02x" : "-%02x", bytes.at(i));
        text += pair.data();
    }
    return text;
}

} // namespace

std::string hardwareAddressOf(const std::string& address, ToolLog& log) {
    const auto text = std::make_shared<std::string>();
    doAside(log, {[text, address] { *text = asked(address); }});
    return *text;
}

} // namespace Console
