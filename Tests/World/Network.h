#pragma once
// The network as tests want it: adapters, neighbours, datagrams, and whoever answers a connection. There is
// no traffic, and all waiting is done in the world's time. One thread.

#include "Camera/Session.h"
#include "Platform/IpHelper.h"
#include "Platform/Winsock.h"
#include "World/Clock.h"
#include "World/Peer.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace World {

/// One adapter of the list that GetAdaptersInfo gives.
struct Adapter {
    struct Address {
        std::string ip; ///< at most 15 characters; need not be an address
        std::string mask;
    };

    std::string name;
    /// The first is the adapter's own, the others hang on it; none is one of "0.0.0.0", mask "0.0.0.0".
    std::vector<Address> addresses;
};

/// What SendARP answers for one address.
struct Arp {
    std::string hardwareAddress; ///< raw bytes; 8 at most are stored, whatever size the caller names
    DWORD code = NO_ERROR;       ///< with another one nothing is stored
    std::optional<ULONG> length = std::nullopt; ///< the length told; that of `hardwareAddress` if absent
};

/// A datagram on its way to whoever receives.
struct Datagram {
    Datagram(std::string itsText, Duration itsTime = {}) : text(std::move(itsText)), after(itsTime) {}
    Datagram(const char* itsText) : Datagram(std::string(itsText)) {}

    std::string text;
    Duration after; ///< since the one before was received, or since the first receive for the first
};

/// Set it, run the code, read it. Every call is noted in Calls with its arguments, and fails as was planned
/// there: with the code as its result where its results are codes (WSAStartup, GetAdaptersInfo, SendARP), as
/// WSAGetLastError's otherwise (inet_pton: -1, inet_ntop: null). Datagram sockets are numbered from 1:
///   "WSAStartup 0x0202", "WSACleanup", "WSAGetLastError", "socket 2, 2, 17", "closesocket 1",
///   "setsockopt 1, 65535, 32, <79>" (the value's bytes in hexadecimal, as many as its length says),
///   "sendto 1, \"text\", 0, 2 10.0.0.255:32768, 16" (data, flags, family address:port, address length),
///   "recvfrom 1, 256, 0, null, null" (size, flags, whether there is room for an address and its length),
///   "inet_pton 2, 10.0.0.5", "inet_ntop 2, 10.0.0.5, 64",
///   "GetAdaptersInfo null, 0" or "GetAdaptersInfo buffer, 1408",
///   "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>" (destination, source, the buffer on entry).
/// A connection's are
///   "connect 10.0.0.5:32769 5000" (the time-out in ms), "send 10.0.0.5:32769 \"text\"" or "... 37 bytes",
///   "receive 10.0.0.5:32769 6" (at most so many bytes), "close 10.0.0.5:32769";
/// their codes are the system's errors. ETIMEDOUT takes the time that the caller allows.
struct Network {
    static Network& current();

    std::vector<Adapter> adapters;  ///< none: GetAdaptersInfo answers ERROR_NO_DATA
    std::deque<Datagram> datagrams; ///< received one by one
    std::map<std::string, Arp> arp; ///< by the asked address; else ERROR_BAD_NET_NAME
    std::set<SOCKET> openSockets;   ///< datagram sockets not yet closed
    int startups = 0;               ///< WSAStartup calls that succeeded and have had no WSACleanup

    /// What answers the connections to a place.
    using Accept = std::function<std::unique_ptr<Simulator::Session>()>;
    static constexpr std::size_t everything = std::numeric_limits<std::size_t>::max();

    /// Each connection to that port of that address talks to a session of its own. It takes no more than
    /// `room` bytes that are sent.
    void serve(const std::string& address, int port, Accept accept, std::size_t room = everything);
    /// A hand-written peer there, which all connections share. The address "" is every one that has no peer
    /// of its own. Where nobody is, a connection is refused.
    Peer& at(const std::string& address, int port);
    /// "ADDRESS:PORT" of the connections that are open.
    std::vector<std::string> openConnections() const;

    // Its own book-keeping.
    struct Connection;
    struct Server {
        Accept accept;
        std::size_t room = everything;
    };
    std::map<std::string, Server> servers;
    std::map<std::string, std::shared_ptr<Peer>> peers;
    std::map<std::intptr_t, std::shared_ptr<Connection>> connections;
    std::map<SOCKET, Duration> receiveTimeouts;
    SOCKET lastSocket = 0;
};

/// What the system's receiving call does, under the name that each system has for it.
int recvfrom(SOCKET socket, char* buffer, int length, int flags, sockaddr* from, int* fromLength);

/// The calls that follow it within Platform::recvfrom where it fails.
extern const std::vector<std::string> askedByReceiving;

} // namespace World
