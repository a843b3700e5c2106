// What of a socket is the same on every system: it asks for no more than receive() and the time.

#include "Platform/TcpSocket.h"

#include <algorithm>
#include <array>
#include <utility>

using std::chrono::milliseconds;

namespace Platform {

SocketResult TcpSocket::discardUnread(milliseconds quiet, const DiscardBounds& bounds) {
    std::array<unsigned char, 16384> scratch{};
    auto deadline = Clock::now();
    const auto end = deadline + bounds.time;
    std::size_t dropped = 0;
    while (dropped < bounds.bytes) {
        const std::size_t piece = std::min(scratch.size(), bounds.bytes - dropped);
        SocketResult result = receive(scratch.data(), piece, deadline);
        dropped += result.bytes;
        if (result.status == SocketStatus::timedOut)
            break;
        if (result.status != SocketStatus::done)
            return {result.status, dropped, std::move(result.reason)};
        const auto now = Clock::now();
        if (now >= end)
            break;
        deadline = std::min(now + quiet, end);
    }
    return {SocketStatus::done, dropped, {}};
}

} // namespace Platform
