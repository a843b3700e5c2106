#include "Platform/NetworkView.h"

#include "Resolver.h"
#include "Rtnetlink.h"

#include <cstddef>

namespace Platform {

namespace {

/// More than a cable can hold; what else fills the table is not worth the memory.
constexpr std::size_t mostNeighbours = 16'384;

} // namespace

std::optional<Route> routeTo(std::uint32_t destination) {
    Rtnetlink kernel;
    return kernel.isOpen() ? std::optional(kernel.routeTo(destination, 0)) : std::nullopt;
}

std::optional<std::uint32_t> defaultGateway() {
    Rtnetlink kernel;
    const Route route = kernel.isOpen() ? kernel.defaultRoute() : Route{};
    return route.way == Way::router ? std::optional(route.gateway) : std::nullopt;
}

std::optional<std::vector<NeighbourEntry>> listNeighbours() {
    Rtnetlink kernel;
    return kernel.isOpen() ? kernel.neighbours(mostNeighbours) : std::nullopt;
}

HostAddresses lookUpHost(const std::string& host, Clock::time_point deadline) {
    const Resolution resolution = resolve(host, deadline);
    HostAddresses found{{}, resolution.timedOut, resolution.reason};
    for (const sockaddr_in& address : resolution.addresses)
        found.addresses.push_back(address.sin_addr.s_addr);
    return found;
}

} // namespace Platform
