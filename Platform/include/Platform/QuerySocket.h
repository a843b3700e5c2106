#pragma once
// Datagrams to one or to all, and the answers with whom and which adapter they came from.

#include "Platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Platform {

/// A UDP socket over IPv4 at a port of the system's choice, used by one thread at a time. Needs no rights. No
/// operation throws but std::bad_alloc. Addresses are in network byte order.
class QuerySocket {
public:
    struct Datagram {
        std::uint32_t source = 0;
        unsigned adapterIndex = 0; ///< that it came in by; 0 if that is not known
        std::string text;          ///< its first bytes
    };

    /// How much of a datagram is read.
    static constexpr std::size_t datagramBytes = 256;

    /// Why a datagram was not sent that this system forbids.
    static constexpr const char* notPermitted =
        "not permitted, by a firewall of this computer or for want of rights";

    QuerySocket();
    QuerySocket(const QuerySocket&) = delete;
    QuerySocket& operator=(const QuerySocket&) = delete;
    ~QuerySocket();

    /// Why there is no socket, UTF-8; empty if there is one. Without one nothing is sent or received.
    const std::string& failure() const { return failure_; }

    /// Sends one datagram, also to broadcast addresses: over the adapter of that index, or for 0 as the
    /// routes say. Empty, or why the system did not send it, UTF-8. Does not wait.
    std::string send(std::string_view text, std::uint32_t to, std::uint16_t port, unsigned adapterIndex = 0);

    /// The next datagram; nothing if none comes by `deadline`, or within 100 ms of an interrupt (see
    /// interrupted()). A deadline that is past only looks.
    std::optional<Datagram> receive(Clock::time_point deadline);

private:
    std::intptr_t handle_ = -1; ///< the system's: as wide as a pointer on some
    std::string failure_;
};

} // namespace Platform
