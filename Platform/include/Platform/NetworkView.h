#pragma once
// What this system knows of its networks: adapters, routes, neighbours, names. Only looks, and needs no
// rights.
//
// Addresses are in network byte order.

#include "Platform/Clock.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Platform {

/// One network adapter, the loopback among them.
struct Adapter {
    struct Address {
        std::uint32_t ip;
        std::uint32_t mask;
    };

    std::string name;
    unsigned index = 0;
    bool isUp = false;
    bool hasLink = true; ///< can carry data: its cable is in; true also if it is not up, when nobody knows
    bool isLoopback = false;
    bool isEthernet = false;
    bool isPart = false; ///< of another adapter: of a bridge or bond, or a virtual network's parent
    std::vector<unsigned char> hardwareAddress; ///< empty if it has none
    std::vector<Address> addresses;             ///< the main one first
};

/// All adapters, in the system's order; nothing if the system does not tell.
std::optional<std::vector<Adapter>> listAdapters();

/// How an address is reached.
enum class Way {
    own,    ///< it is this machine's
    direct, ///< over an adapter
    router, ///< over an adapter, through a router
    none    ///< not at all, or by broadcast
};

struct Route {
    Way way = Way::none;
    unsigned adapterIndex = 0; ///< of `direct` and `router`
    std::uint32_t gateway = 0; ///< of `router`; 0 if it has no IPv4 address
};

/// The route to an address; nothing if the system does not tell.
std::optional<Route> routeTo(std::uint32_t destination);

/// The router of the default route, of the preferred one if there are several; nothing if there is none with
/// a router, or if the system does not tell.
std::optional<std::uint32_t> defaultGateway();

/// An entry of the neighbour table.
struct NeighbourEntry {
    enum class State {
        confirmed, ///< it has answered lately, for its own or for what was sent to it
        known,     ///< its hardware address is known from before, or by hand; it may be gone
        asking,    ///< no answer yet
        failed     ///< it was asked for and did not answer
    };

    unsigned adapterIndex = 0;
    std::uint32_t address = 0;
    State state = State::failed;
    std::vector<unsigned char> hardwareAddress; ///< of `confirmed` and `known`
    /// Since it last answered, to 10 ms or so; unset if the system does not tell.
    std::optional<std::chrono::milliseconds> confirmedAgo = {};
};

/// The IPv4 neighbours of all adapters, without groups and broadcasts, the first 16,384; nothing if the
/// system does not tell.
std::optional<std::vector<NeighbourEntry>> listNeighbours();

/// The IPv4 addresses of a host.
struct HostAddresses {
    std::vector<std::uint32_t> addresses; ///< empty if there are none: see `reason`
    bool timedOut = false;
    std::string reason; ///< UTF-8
};

/// Looks up `host`, an address in dotted decimal or a name, by `deadline`. Throws only std::bad_alloc.
HostAddresses lookUpHost(const std::string& host, Clock::time_point deadline);

} // namespace Platform
