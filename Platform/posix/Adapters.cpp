#include "Platform/NetworkView.h"

#include "Rtnetlink.h"

#include <algorithm>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <set>
#include <string_view>
#include <sys/socket.h>

namespace {

using Platform::Adapter;

/// It carries data, as far as the driver knows (IFF_LOWER_UP, which <net/if.h> has not) and as the system has
/// found out, which may be up to a second later.
constexpr unsigned linkFlags = IFF_RUNNING | 1u << 16;

/// The adapter that an entry belongs to, added if it is not yet there.
Adapter& adapterOf(std::vector<Adapter>& adapters, const ifaddrs& entry) {
    // An address may bear a label, "eth0:1", instead of its adapter's bare name.
    const std::string_view label = entry.ifa_name;
    const std::string_view name = label.substr(0, label.find(':'));
    const auto known = std::find_if(adapters.begin(), adapters.end(),
                                    [name](const Adapter& adapter) { return adapter.name == name; });
    if (known != adapters.end())
        return *known;
    Adapter& added = adapters.emplace_back();
    added.name = name;
    added.index = if_nametoindex(added.name.c_str());
    added.isUp = (entry.ifa_flags & IFF_UP) != 0;
    added.hasLink = !added.isUp || (entry.ifa_flags & linkFlags) == linkFlags;
    added.isLoopback = (entry.ifa_flags & IFF_LOOPBACK) != 0;
    return added;
}

std::uint32_t ipv4Of(const sockaddr* address) {
    return address == nullptr ? 0 : reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr;
}

void addLink(Adapter& adapter, const sockaddr_ll& link) {
    adapter.isEthernet = link.sll_hatype == ARPHRD_ETHER;
    const std::size_t length = std::min<std::size_t>(link.sll_halen, sizeof link.sll_addr);
    adapter.hardwareAddress.assign(link.sll_addr, link.sll_addr + length);
}

} // namespace

std::optional<std::vector<Adapter>> Platform::listAdapters() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);

    std::vector<Adapter> adapters;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr)
            continue;
        if (entry->ifa_addr->sa_family == AF_PACKET)
            addLink(adapterOf(adapters, *entry), *reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr));
        if (entry->ifa_addr->sa_family == AF_INET)
            adapterOf(adapters, *entry)
                .addresses.push_back({ipv4Of(entry->ifa_addr), ipv4Of(entry->ifa_netmask)});
    }
    Platform::Rtnetlink kernel;
    const std::set<unsigned> parts = kernel.isOpen() ? kernel.parts() : std::set<unsigned>();
    for (Adapter& adapter : adapters)
        adapter.isPart = parts.contains(adapter.index);
    return adapters;
}
