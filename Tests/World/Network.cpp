#include "World/Network.h"

#include "Support/OutsidePlugin.h"
#include "World/Calls.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <locale>
#include <sstream>
#include <utility>

using TestSupport::OutsidePlugin;
using World::Adapter;
using World::Arp;
using World::Calls;
using World::Network;

namespace {

/// How much SendARP's callers have room for, whatever they say.
constexpr std::size_t arpBufferBytes = 8;

std::string hexOf(const void* bytes, std::size_t count) {
    std::string text = "<";
    for (std::size_t at = 0; at < count; ++at) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", static_cast<const unsigned char*>(bytes)[at]);
        text += pair;
    }
    return text + ">";
}

std::string dotted(const void* address) {
    const auto* bytes = static_cast<const unsigned char*>(address);
    std::string text = std::to_string(bytes[0]);
    for (int at = 1; at < 4; ++at)
        text.append(1, '.').append(std::to_string(bytes[at]));
    return text;
}

/// Four decimal numbers of at most 255, joined by dots.
std::optional<std::array<unsigned char, 4>> addressOf(std::string text) {
    std::array<unsigned char, 4> address{};
    text += '.'; // behind each of them
    const char* at = text.data();
    for (unsigned char& number : address) {
        const auto [end, error] = std::from_chars(at, text.data() + text.size(), number);
        if (error != std::errc() || *end != '.')
            return std::nullopt;
        at = end + 1;
    }
    return at == text.data() + text.size() ? std::optional(address) : std::nullopt;
}

const char* presence(const void* pointer, const char* name) {
    return pointer == nullptr ? "null" : name;
}

/// Notes a call of `function`; the code that it is to end with, if one is planned.
template <class... Arguments>
std::optional<int> enter(const char* function, const Arguments&... arguments) {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    line << function;
    [[maybe_unused]] const char* separator = " ";
    ((line << std::exchange(separator, ", ") << arguments), ...);
    return Calls::current().enter(line.str());
}

int failWith(int code) {
    SetLastError(static_cast<DWORD>(code));
    return SOCKET_ERROR;
}

bool isOpen(SOCKET socket) {
    return Network::current().openSockets.contains(socket);
}

/// Waits for the next datagram; none where the socket's time-out is over first. A socket without one waits
/// for as long as there are datagrams, and then as one whose time-out has not been set for a test to see.
std::optional<std::string> nextDatagram(SOCKET socket) {
    Network& network = Network::current();
    const auto timeout = network.receiveTimeouts.find(socket);
    if (timeout != network.receiveTimeouts.end() &&
        (network.datagrams.empty() || network.datagrams.front().after > timeout->second)) {
        World::advance(timeout->second);
        if (!network.datagrams.empty())
            network.datagrams.front().after -= timeout->second;
        return std::nullopt;
    }
    if (network.datagrams.empty())
        return std::nullopt;
    const World::Datagram next = std::move(network.datagrams.front());
    network.datagrams.pop_front();
    World::advance(next.after);
    return next.text;
}

template <std::size_t size>
void storeText(char (&destination)[size], const std::string& text) {
    std::snprintf(destination, size, "%s", text.c_str());
}

void storeAddress(IP_ADDR_STRING& entry, const Adapter::Address& address) {
    entry = {};
    storeText(entry.IpAddress.String, address.ip);
    storeText(entry.IpMask.String, address.mask);
}

/// Fills one adapter, its further addresses at `further`; returns the place behind them.
IP_ADDR_STRING* storeAdapter(IP_ADAPTER_INFO& info, const Adapter& adapter, IP_ADDR_STRING* further) {
    info = {};
    storeText(info.AdapterName, adapter.name);
    storeText(info.Description, adapter.name);
    info.Type = MIB_IF_TYPE_ETHERNET;
    storeAddress(info.IpAddressList, adapter.addresses.empty() ? Adapter::Address{"0.0.0.0", "0.0.0.0"}
                                                               : adapter.addresses.front());
    IP_ADDR_STRING* last = &info.IpAddressList;
    for (std::size_t at = 1; at < adapter.addresses.size(); ++at, ++further) {
        storeAddress(*further, adapter.addresses[at]);
        last->Next = further;
        last = further;
    }
    return further;
}

} // namespace

Network& Network::current() {
    static Network network;
    return network;
}

namespace Platform::Winsock {

int WSAStartup(WORD version, WSADATA* data) {
    const OutsidePlugin outside;
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", version);
    if (const auto code = enter("WSAStartup", text))
        return *code;
    *data = {};
    data->wVersion = version;
    data->wHighVersion = 0x0202;
    ++Network::current().startups;
    return 0;
}

int WSACleanup() {
    const OutsidePlugin outside;
    if (const auto code = enter("WSACleanup"))
        return failWith(*code);
    if (Network::current().startups == 0)
        return failWith(WSANOTINITIALISED);
    --Network::current().startups;
    return 0;
}

int WSAGetLastError() {
    const OutsidePlugin outside;
    const auto code = enter("WSAGetLastError");
    return code ? *code : static_cast<int>(GetLastError());
}

SOCKET socket(int family, int type, int protocol) {
    const OutsidePlugin outside;
    const auto code = enter("socket", family, type, protocol);
    Network& network = Network::current();
    if (code || network.startups == 0) {
        failWith(code.value_or(WSANOTINITIALISED));
        return INVALID_SOCKET;
    }
    network.openSockets.insert(++network.lastSocket);
    return network.lastSocket;
}

int setsockopt(SOCKET socket, int level, int name, const char* value, int length) {
    const OutsidePlugin outside;
    if (const auto code =
            enter("setsockopt", socket, level, name, hexOf(value, static_cast<std::size_t>(length))))
        return failWith(*code);
    if (!isOpen(socket))
        return failWith(WSAENOTSOCK);
    DWORD milliseconds = 0;
    if (name == SO_RCVTIMEO && length == sizeof milliseconds) {
        std::memcpy(&milliseconds, value, sizeof milliseconds);
        Network::current().receiveTimeouts[socket] = std::chrono::milliseconds(milliseconds);
    }
    return 0;
}

int sendto(SOCKET socket, const char* data, int length, int flags, const sockaddr* to, int toLength) {
    const OutsidePlugin outside;
    sockaddr_in address{};
    std::memcpy(&address, to, std::min(sizeof address, static_cast<std::size_t>(toLength)));
    const std::string place = std::to_string(address.sin_family) + " " + dotted(&address.sin_addr) + ":" +
                              std::to_string(htons(address.sin_port));
    const std::string text(data, static_cast<std::size_t>(length));
    if (const auto code = enter("sendto", socket, '"' + text + '"', flags, place, toLength))
        return failWith(*code);
    return isOpen(socket) ? length : failWith(WSAENOTSOCK);
}

int closesocket(SOCKET socket) {
    const OutsidePlugin outside;
    if (const auto code = enter("closesocket", socket))
        return failWith(*code);
    return Network::current().openSockets.erase(socket) == 1 ? 0 : failWith(WSAENOTSOCK);
}

int inet_pton(int family, const char* text, void* address) {
    const OutsidePlugin outside;
    if (const auto code = enter("inet_pton", family, text))
        return failWith(*code);
    const auto bytes = addressOf(text);
    if (!bytes)
        return 0;
    std::memcpy(address, bytes->data(), bytes->size());
    return 1;
}

const char* inet_ntop(int family, const void* address, char* text, std::size_t textBytes) {
    const OutsidePlugin outside;
    if (const auto code = enter("inet_ntop", family, dotted(address), textBytes)) {
        failWith(*code);
        return nullptr;
    }
    std::snprintf(text, textBytes, "%s", dotted(address).c_str());
    return text;
}

} // namespace Platform::Winsock

int World::recvfrom(SOCKET socket, char* buffer, int length, int flags, sockaddr* from, int* fromLength) {
    const OutsidePlugin outside;
    if (const auto code = enter("recvfrom", socket, length, flags, presence(from, "address"),
                                presence(fromLength, "length")))
        return failWith(*code);
    if (!isOpen(socket))
        return failWith(WSAENOTSOCK);
    const std::optional<std::string> datagram = nextDatagram(socket);
    if (!datagram)
        return failWith(WSAETIMEDOUT);
    const auto count = std::min(datagram->size(), static_cast<std::size_t>(length));
    std::copy_n(datagram->begin(), count, buffer);
    return static_cast<int>(count);
}

DWORD GetAdaptersInfo(IP_ADAPTER_INFO* adapters, ULONG* bytes) {
    const OutsidePlugin outside;
    if (const auto code = enter("GetAdaptersInfo", presence(adapters, "buffer"), *bytes))
        return static_cast<DWORD>(*code);
    const std::vector<Adapter>& list = Network::current().adapters;
    if (list.empty())
        return ERROR_NO_DATA;

    std::size_t needed = list.size() * sizeof(IP_ADAPTER_INFO);
    for (const Adapter& adapter : list)
        needed += (std::max<std::size_t>(adapter.addresses.size(), 1) - 1) * sizeof(IP_ADDR_STRING);
    const bool fits = adapters != nullptr && *bytes >= needed;
    *bytes = static_cast<ULONG>(needed);
    if (!fits)
        return ERROR_BUFFER_OVERFLOW;

    auto* further = reinterpret_cast<IP_ADDR_STRING*>(adapters + list.size());
    for (std::size_t at = 0; at < list.size(); ++at) {
        further = storeAdapter(adapters[at], list[at], further);
        adapters[at].Next = at + 1 < list.size() ? &adapters[at + 1] : nullptr;
    }
    return NO_ERROR;
}

DWORD SendARP(IPAddr destination, IPAddr source, void* mac, ULONG* macBytes) {
    const OutsidePlugin outside;
    if (const auto code = enter("SendARP", dotted(&destination), dotted(&source), hexOf(mac, *macBytes)))
        return static_cast<DWORD>(*code);
    const auto& answers = Network::current().arp;
    const auto answer = answers.find(dotted(&destination));
    if (answer == answers.end())
        return ERROR_BAD_NET_NAME;
    const Arp& found = answer->second;
    if (found.code != NO_ERROR)
        return found.code;
    std::memcpy(mac, found.hardwareAddress.data(), std::min(found.hardwareAddress.size(), arpBufferBytes));
    *macBytes = found.length.value_or(static_cast<ULONG>(found.hardwareAddress.size()));
    return NO_ERROR;
}
