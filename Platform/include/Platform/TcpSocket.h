#pragma once
// The client side of a TCP connection, every operation bounded in time.

#include "Platform/Clock.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Platform {

/// How a socket operation ended.
enum class SocketStatus {
    done,     ///< as asked
    timedOut, ///< the time was over first
    closed,   ///< the peer has closed its side
    failed    ///< the system refused; `reason` has its text
};

struct SocketResult {
    SocketStatus status = SocketStatus::done;
    std::size_t bytes = 0; ///< how many were sent, received or dropped, however the operation ended
    std::string reason;    ///< UTF-8; empty if the operation was done
};

/// One TCP connection over IPv4, used by one thread at a time. Interruptions by signals do not end an
/// operation, and a broken connection raises no signal. No operation throws but std::bad_alloc.
///
/// Every operation but open() and close() needs an open socket; on a closed one it fails with a reason.
/// A failure does not close the socket: its owner does.
class TcpSocket {
public:
    using Clock = Platform::Clock;

    /// Bounds of discardUnread(), which ends at the first that is reached.
    struct DiscardBounds {
        std::size_t bytes;
        std::chrono::milliseconds time;
    };

    TcpSocket() = default;
    TcpSocket(const TcpSocket&) = delete;
    TcpSocket& operator=(const TcpSocket&) = delete;
    ~TcpSocket();

    /// Resolves `host` (an IPv4 address in dotted decimal or a name) and connects to it, trying a name's
    /// addresses one after the other; a socket that is open is closed first. `timeout` bounds all of it. The
    /// connection sends without delay (TCP_NODELAY) and is kept alive (SO_KEEPALIVE).
    SocketResult open(const std::string& host, std::uint16_t port, std::chrono::milliseconds timeout);

    bool isOpen() const noexcept { return handle_ >= 0; }

    /// Closing a closed socket does nothing.
    void close() noexcept;

    /// Sends all of the `count` bytes at `data`. Times out if the peer takes nothing for `stallTimeout`.
    SocketResult send(const void* data, std::size_t count, std::chrono::milliseconds stallTimeout);

    /// Receives what is there, at most `count` (at least 1) bytes, into `data`; if nothing is, waits for
    /// the first to come until `deadline`. A deadline that is past only looks.
    SocketResult receive(void* data, std::size_t count, Clock::time_point deadline);

    /// Drops what was received and not read. If there is anything, goes on until the line has been
    /// silent for `quiet`, so that the tail of what the peer is still sending goes too. It is done, not
    /// timed out, when a bound ends it. Costs no wait if nothing is there.
    SocketResult discardUnread(std::chrono::milliseconds quiet, const DiscardBounds& bounds);

private:
    std::intptr_t handle_ = -1; ///< the system's: as wide as a pointer on some
};

} // namespace Platform
