#pragma once
// What an own look at the network sees: Platform/NetworkView.h, Platform/PortQuestions.h and
// Platform/QuerySocket.h as tests want them. One thread.

#include "Platform/NetworkView.h"
#include "Platform/PortQuestions.h"
#include "Platform/QuerySocket.h"
#include "World/Clock.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace World {

/// "10.77.1.11" in network byte order.
std::uint32_t ipv4(const char* dotted);

/// Set it, run the code, read it. Every call is noted in Calls and fails as was planned there, with the
/// system's error or, where it gives a list or a route, with nothing:
///   "listAdapters", "listNeighbours", "defaultGateway", "routeTo 10.77.1.11", "lookUpHost name",
///   "askPort 10.77.1.11:32768 \"text\"", "querySocket", "query 10.77.1.255:32768 over 2 \"text\"" (the
///   adapter's index, 0 for the routes).
struct Sight {
    static Sight& current();

    std::vector<Platform::Adapter> adapters;
    std::vector<Platform::NeighbourEntry> neighbours;
    std::optional<std::uint32_t> gateway;
    std::map<std::string, Platform::Route> routes; ///< by destination; else directly over adapter 1
    std::map<std::string, Platform::HostAddresses> hosts;
    /// By "ADDRESS:PORT"; else silent. Whoever waits for one that is silent, or open without an answer, waits
    /// until the deadline.
    std::map<std::string, Platform::PortAnswer> ports;

    /// A datagram that answers each query to an address.
    struct Reply {
        std::string asked; ///< "10.77.1.255 over 0"
        Platform::QuerySocket::Datagram datagram;
        Duration after{};
    };
    std::vector<Reply> replies;

    // Its own book-keeping.
    std::map<std::intptr_t, std::vector<std::pair<Time, Platform::QuerySocket::Datagram>>>
        pending; ///< by socket
    std::intptr_t lastSocket = 0;
};

} // namespace World
