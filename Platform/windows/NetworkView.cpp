#include "Platform/NetworkView.h"

#include "Platform/IpHelper.h"
#include "Platform/Text.h"
#include "SystemText.h"

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <netioapi.h>
#include <system_error>
#include <thread>

namespace Platform {

namespace {

/// More than a cable can hold; what else fills the table is not worth the memory.
constexpr std::size_t mostNeighbours = 16'384;

/// Winsock, started as long as it lives.
class Winsock {
public:
    Winsock() : error_(WSAStartup(MAKEWORD(2, 2), &data_)) {}
    Winsock(const Winsock&) = delete;
    Winsock& operator=(const Winsock&) = delete;
    ~Winsock() {
        if (error_ == 0)
            WSACleanup();
    }

    DWORD error() const { return static_cast<DWORD>(error_); }

private:
    WSADATA data_{};
    int error_;
};

/// A thread runs the code of this file to the end of the process: whoever unloads the library that has it
/// may.
void keepThisCode() {
    static const char place = 0;
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(&place), &library);
}

HostAddresses lookUp(const std::wstring& host) {
    const Winsock winsock;
    if (winsock.error() != 0)
        return {{}, false, textOf(winsock.error())};
    ADDRINFOW hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    ADDRINFOW* found = nullptr;
    const int error = GetAddrInfoW(host.c_str(), nullptr, &hints, &found);
    const std::unique_ptr<ADDRINFOW, decltype(&FreeAddrInfoW)> owner(found, FreeAddrInfoW);
    HostAddresses addresses;
    if (error != 0)
        addresses.reason = textOf(static_cast<DWORD>(error));
    for (const ADDRINFOW* entry = found; entry != nullptr; entry = entry->ai_next) {
        sockaddr_in address{};
        std::memcpy(&address, entry->ai_addr, sizeof address);
        addresses.addresses.push_back(address.sin_addr.s_addr);
    }
    return addresses;
}

bool isBroadcast(const std::vector<Adapter>& adapters, std::uint32_t address) {
    const auto ends = [address](const Adapter::Address& own) {
        return address == (own.ip | ~own.mask) && own.mask != 0xFFFF'FFFF;
    };
    return address == INADDR_BROADCAST ||
           std::any_of(adapters.begin(), adapters.end(), [&](const Adapter& each) {
               return std::any_of(each.addresses.begin(), each.addresses.end(), ends);
           });
}

bool isOwn(const std::vector<Adapter>& adapters, std::uint32_t address) {
    constexpr std::uint32_t loopbackNet = 127; // its first byte in network byte order
    return (address & 0xFF) == loopbackNet ||
           std::any_of(adapters.begin(), adapters.end(), [&](const Adapter& each) {
               return std::any_of(each.addresses.begin(), each.addresses.end(),
                                  [address](const Adapter::Address& own) { return own.ip == address; });
           });
}

NeighbourEntry::State stateOf(NL_NEIGHBOR_STATE state) {
    switch (state) {
    case NlnsReachable:
        return NeighbourEntry::State::confirmed;
    case NlnsProbe:
    case NlnsDelay:
    case NlnsStale:
    case NlnsPermanent:
        return NeighbourEntry::State::known;
    case NlnsIncomplete:
        return NeighbourEntry::State::asking;
    default:
        return NeighbourEntry::State::failed;
    }
}

NeighbourEntry entryOf(const MIB_IPNET_ROW2& row) {
    NeighbourEntry entry;
    entry.adapterIndex = static_cast<unsigned>(row.InterfaceIndex);
    entry.address = row.Address.Ipv4.sin_addr.s_addr;
    entry.state = stateOf(row.State);
    if (entry.state == NeighbourEntry::State::confirmed || entry.state == NeighbourEntry::State::known)
        entry.hardwareAddress.assign(row.PhysicalAddress,
                                     row.PhysicalAddress + std::min<std::size_t>(row.PhysicalAddressLength,
                                                                                 sizeof row.PhysicalAddress));
    return entry;
}

} // namespace

std::optional<Route> routeTo(std::uint32_t destination) {
    const auto adapters = listAdapters();
    if (!adapters)
        return std::nullopt;
    if (isOwn(*adapters, destination))
        return Route{Way::own};
    MIB_IPFORWARDROW row{};
    if (isBroadcast(*adapters, destination) || GetBestRoute(destination, 0, &row) != NO_ERROR)
        return Route{};
    const bool isDirect = row.dwForwardNextHop == 0 || row.dwForwardType == MIB_IPROUTE_TYPE_DIRECT;
    return Route{isDirect ? Way::direct : Way::router, row.dwForwardIfIndex,
                 isDirect ? 0 : row.dwForwardNextHop};
}

std::optional<std::uint32_t> defaultGateway() {
    ULONG bytes = 0;
    GetIpForwardTable(nullptr, &bytes, FALSE);
    // Routes may appear between being told the size and asking again.
    bytes += 16 * sizeof(MIB_IPFORWARDROW);
    std::vector<MIB_IPFORWARDROW> buffer(bytes / sizeof(MIB_IPFORWARDROW) + 2);
    auto* const table = reinterpret_cast<MIB_IPFORWARDTABLE*>(buffer.data());
    if (GetIpForwardTable(table, &bytes, FALSE) != NO_ERROR)
        return std::nullopt;
    const MIB_IPFORWARDROW* preferred = nullptr; // the smaller the number, the more a route is preferred
    for (DWORD at = 0; at < table->dwNumEntries; ++at) {
        const MIB_IPFORWARDROW& each = table->table[at];
        const bool isDefault =
            each.dwForwardDest == 0 && each.dwForwardMask == 0 && each.dwForwardNextHop != 0;
        if (isDefault && (preferred == nullptr || each.dwForwardMetric1 < preferred->dwForwardMetric1))
            preferred = &each;
    }
    return preferred == nullptr ? std::nullopt : std::optional(std::uint32_t{preferred->dwForwardNextHop});
}

std::optional<std::vector<NeighbourEntry>> listNeighbours() {
    MIB_IPNET_TABLE2* table = nullptr;
    const DWORD error = GetIpNetTable2(AF_INET, &table);
    if (error == ERROR_NOT_FOUND)
        return std::vector<NeighbourEntry>();
    if (error != NO_ERROR)
        return std::nullopt;
    const std::unique_ptr<void, decltype(&FreeMibTable)> owner(table, FreeMibTable);
    std::vector<NeighbourEntry> entries;
    const auto adapters = listAdapters().value_or(std::vector<Adapter>());
    for (ULONG at = 0; at < table->NumEntries && entries.size() < mostNeighbours; ++at) {
        const std::uint32_t address = table->Table[at].Address.Ipv4.sin_addr.s_addr;
        const bool isGroup = (address & 0xF0) == 0xE0;
        if (!isGroup && !isBroadcast(adapters, address))
            entries.push_back(entryOf(table->Table[at]));
    }
    return entries;
}

HostAddresses lookUpHost(const std::string& host, Clock::time_point deadline) {
    in_addr numeric{};
    if (inet_pton(AF_INET, host.c_str(), &numeric) == 1)
        return {{numeric.s_addr}, false, {}};

    // The system's resolver knows no time-out that cancels. A look-up that takes too long is left to end by
    // itself; it owns all that it touches.
    std::packaged_task<HostAddresses()> task([name = wideFromUtf8(host)] { return lookUp(name); });
    std::future<HostAddresses> answer = task.get_future();
    std::thread thread;
    try {
        thread = std::thread(std::move(task));
    } catch (const std::system_error& error) {
        return {{}, false, error.what()};
    }
    if (answer.wait_until(deadline) == std::future_status::ready) {
        thread.join();
        return answer.get();
    }
    keepThisCode();
    thread.detach();
    return {{}, true, "Name resolution timed out"};
}

} // namespace Platform
