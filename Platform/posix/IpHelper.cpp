#include "Platform/IpHelper.h"

#include "Platform/NetworkView.h"
#include "Rtnetlink.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Platform::Adapter;
using Platform::Rtnetlink;
using Platform::Way;

/// How long a neighbour may take to answer: the system asks three times, a second apart.
constexpr auto resolutionTime = 3s;
constexpr DWORD longestPauseMs = 10;
constexpr std::uint16_t discardPort = 9;
/// Adapters come and go, a container's or a tunnel's for instance: so many more may have appeared when the
/// caller asks again with the size that it was told.
constexpr ULONG spareBytes = 16 * sizeof(IP_ADAPTER_INFO);

template <std::size_t N>
void storeText(char (&destination)[N], const std::string& text) {
    const std::size_t length = std::min(text.size(), N - 1);
    std::memcpy(destination, text.data(), length);
    destination[length] = '\0';
}

IP_ADDR_STRING addressEntry(const Adapter::Address& address) {
    IP_ADDR_STRING entry{};
    inet_ntop(AF_INET, &address.ip, entry.IpAddress.String, sizeof entry.IpAddress.String);
    inet_ntop(AF_INET, &address.mask, entry.IpMask.String, sizeof entry.IpMask.String);
    return entry;
}

IP_ADAPTER_INFO adapterEntry(const Adapter& adapter) {
    IP_ADAPTER_INFO info{};
    info.ComboIndex = adapter.index;
    info.Index = adapter.index;
    info.Type = adapter.isEthernet ? MIB_IF_TYPE_ETHERNET : MIB_IF_TYPE_OTHER;
    storeText(info.AdapterName, adapter.name);
    storeText(info.Description, adapter.name);
    const std::size_t length = std::min(adapter.hardwareAddress.size(), sizeof info.Address);
    std::copy_n(adapter.hardwareAddress.begin(), length, info.Address);
    info.AddressLength = static_cast<UINT>(length);
    info.IpAddressList = addressEntry(adapter.addresses.front());
    constexpr Adapter::Address none{0, 0};
    info.GatewayList = info.DhcpServer = addressEntry(none);
    info.PrimaryWinsServer = info.SecondaryWinsServer = addressEntry(none);
    return info;
}

ULONG bytesFor(const std::vector<Adapter>& adapters) {
    std::size_t bytes = 0;
    for (const Adapter& adapter : adapters)
        bytes += sizeof(IP_ADAPTER_INFO) + (adapter.addresses.size() - 1) * sizeof(IP_ADDR_STRING);
    return static_cast<ULONG>(bytes);
}

/// Stores the list: the adapters, then their further addresses.
void storeList(const std::vector<Adapter>& adapters, IP_ADAPTER_INFO* list) {
    auto* further = reinterpret_cast<IP_ADDR_STRING*>(list + adapters.size());
    for (std::size_t at = 0; at < adapters.size(); ++at) {
        list[at] = adapterEntry(adapters[at]);
        list[at].Next = at + 1 < adapters.size() ? &list[at + 1] : nullptr;
        IP_ADDR_STRING* last = &list[at].IpAddressList;
        for (std::size_t other = 1; other < adapters[at].addresses.size(); ++other) {
            *further = addressEntry(adapters[at].addresses[other]);
            last->Next = further;
            last = further++;
        }
    }
}

bool holds(const Adapter& adapter, IPAddr address) {
    return std::any_of(adapter.addresses.begin(), adapter.addresses.end(),
                       [address](const Adapter::Address& each) { return each.ip == address; });
}

/// Hands a hardware address to SendARP's caller.
DWORD answerWith(const std::vector<unsigned char>& address, void* mac, ULONG* macBytes) {
    if (*macBytes < address.size())
        return ERROR_BUFFER_OVERFLOW;
    std::copy(address.begin(), address.end(), static_cast<unsigned char*>(mac));
    *macBytes = static_cast<ULONG>(address.size());
    return NO_ERROR;
}

/// The hardware address of the adapter that holds one of this machine's own addresses; none for the loopback.
std::vector<unsigned char> ownHardwareAddress(const std::vector<Adapter>& adapters, IPAddr address) {
    for (const Adapter& adapter : adapters) {
        if (!adapter.isLoopback && holds(adapter, address))
            return adapter.hardwareAddress;
    }
    return {};
}

sockaddr_in endpoint(IPAddr address, std::uint16_t port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    place.sin_addr.s_addr = address;
    return place;
}

/// Has the system ask for a neighbour, by sending it an empty datagram for nobody. What cannot be sent shows
/// in the neighbour table.
void provokeResolution(IPAddr destination, IPAddr source) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0)
        return;
    const sockaddr_in from = endpoint(source, 0);
    const sockaddr_in to = endpoint(destination, discardPort);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&from), sizeof from) == 0)
        sendto(descriptor, nullptr, 0, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    close(descriptor);
}

/// A neighbour's hardware address from the system's table; if that has none, the system is made to find out.
std::vector<unsigned char> resolve(Rtnetlink& kernel, unsigned adapterIndex, IPAddr destination,
                                   IPAddr source) {
    const auto deadline = Clock::now() + resolutionTime;
    auto entry = kernel.neighbour(adapterIndex, destination);
    if (entry && !entry->hardwareAddress.empty())
        return entry->hardwareAddress;

    provokeResolution(destination, source);
    for (DWORD pauseMs = 1; Clock::now() < deadline; pauseMs = std::min(2 * pauseMs, longestPauseMs)) {
        entry = kernel.neighbour(adapterIndex, destination);
        const bool isOver = !entry || !entry->isPending;
        if (isOver)
            return entry ? entry->hardwareAddress : std::vector<unsigned char>();
        Sleep(pauseMs);
    }
    return {};
}

} // namespace

DWORD GetAdaptersInfo(IP_ADAPTER_INFO* adapters, ULONG* bytes) {
    if (bytes == nullptr)
        return ERROR_INVALID_PARAMETER;
    auto all = Platform::listAdapters();
    if (!all)
        return ERROR_GEN_FAILURE;
    std::erase_if(
        *all, [](const Adapter& each) { return !each.isUp || each.isLoopback || each.addresses.empty(); });
    if (all->empty())
        return ERROR_NO_DATA;

    const ULONG needed = bytesFor(*all);
    if (adapters == nullptr || *bytes < needed) {
        *bytes = needed + spareBytes;
        return ERROR_BUFFER_OVERFLOW;
    }
    *bytes = needed;
    storeList(*all, adapters);
    return NO_ERROR;
}

DWORD SendARP(IPAddr destination, IPAddr source, void* mac, ULONG* macBytes) {
    if (mac == nullptr || macBytes == nullptr || *macBytes == 0)
        return ERROR_INVALID_PARAMETER;
    const auto adapters = Platform::listAdapters();
    Rtnetlink kernel;
    if (!adapters || !kernel.isOpen())
        return ERROR_GEN_FAILURE;
    const bool isOwnSource = source == 0 || kernel.routeTo(source, 0).way == Way::own;
    if (!isOwnSource)
        return ERROR_NOT_FOUND;
    if (destination == 0)
        return ERROR_BAD_NET_NAME; // the system would take it for its own loopback

    const Platform::Route route = kernel.routeTo(destination, source);
    if (route.way == Way::own)
        return answerWith(ownHardwareAddress(*adapters, destination), mac, macBytes);
    if (route.way != Way::direct)
        return ERROR_BAD_NET_NAME;
    const auto found = resolve(kernel, route.adapterIndex, destination, source);
    return found.empty() ? ERROR_BAD_NET_NAME : answerWith(found, mac, macBytes);
}
