#include "Platform/NetworkView.h"

#include "Platform/IpHelper.h"
#include "Platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

using Platform::Adapter;

std::uint32_t maskOf(unsigned prefixBits) {
    const std::uint32_t hostOrder =
        prefixBits == 0 ? 0 : ~std::uint32_t{0} << (32 - std::min(prefixBits, 32u));
    return htonl(hostOrder);
}

/// Whether nobody has switched it off. Out of the cable is down as well to the list of adapters.
bool isSwitchedOn(const IP_ADAPTER_ADDRESSES& entry, bool carriesData) {
    MIB_IF_ROW2 row{};
    row.InterfaceLuid = entry.Luid;
    return GetIfEntry2(&row) == NO_ERROR ? row.AdminStatus == NET_IF_ADMIN_STATUS_UP : carriesData;
}

Adapter adapterOf(const IP_ADAPTER_ADDRESSES& entry) {
    constexpr IFTYPE wireless = 71; // its frames are Ethernet's for whoever uses it
    const bool carriesData = entry.OperStatus == IfOperStatusUp || entry.OperStatus == IfOperStatusDormant;
    Adapter adapter;
    adapter.name = Platform::utf8FromWide(entry.FriendlyName);
    adapter.index = entry.IfIndex;
    adapter.isUp = isSwitchedOn(entry, carriesData);
    adapter.hasLink = !adapter.isUp || carriesData;
    adapter.isLoopback = entry.IfType == IF_TYPE_SOFTWARE_LOOPBACK;
    adapter.isEthernet = entry.IfType == IF_TYPE_ETHERNET_CSMACD || entry.IfType == wireless;
    const std::size_t length =
        std::min<std::size_t>(entry.PhysicalAddressLength, sizeof entry.PhysicalAddress);
    adapter.hardwareAddress.assign(entry.PhysicalAddress, entry.PhysicalAddress + length);
    for (const auto* each = entry.FirstUnicastAddress; each != nullptr; each = each->Next)
        adapter.addresses.push_back(
            {reinterpret_cast<const sockaddr_in*>(each->Address.lpSockaddr)->sin_addr.s_addr,
             maskOf(each->OnLinkPrefixLength)});
    return adapter;
}

} // namespace

std::optional<std::vector<Adapter>> Platform::listAdapters() {
    constexpr ULONG flags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    // Adapters may appear between being told the size and asking again.
    constexpr int attempts = 4;
    ULONG bytes = 16'384;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::vector<std::max_align_t> buffer(bytes / sizeof(std::max_align_t) + 1);
        auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data());
        const ULONG error = GetAdaptersAddresses(AF_INET, flags, nullptr, first, &bytes);
        if (error == ERROR_BUFFER_OVERFLOW)
            continue;
        std::vector<Adapter> adapters;
        if (error != NO_ERROR)
            return error == ERROR_NO_DATA ? std::optional(adapters) : std::nullopt;
        for (const auto* entry = first; entry != nullptr; entry = entry->Next)
            adapters.push_back(adapterOf(*entry));
        return adapters;
    }
    return std::nullopt;
}
