#include "Connection.h"

#include <algorithm>
#include <array>

using namespace std::chrono_literals;

namespace Faults {
namespace {

constexpr auto quietTime = 20ms;
constexpr auto longestDrop = 3s;
constexpr std::size_t mostDropped = std::size_t{64} << 20;
constexpr std::size_t smallRead = 16;

} // namespace

void Connection::requireOpen(const char* operation) const {
    if (!brokenBecause_.empty())
        throw Broken{operation, brokenBecause_, true};
}

/// True where something comes, or the connection ends, by then.
bool Connection::await(World::Wire::Time deadline) {
    ++clock_.waits;
    const auto next = wire_.next();
    const bool comes = next && *next <= std::max(deadline, clock_.now);
    clock_.now = std::max(clock_.now, comes ? *next : deadline);
    return comes;
}

bool Connection::send(const Simulator::Bytes& request) {
    requireOpen("send");
    std::array<std::uint8_t, 16384> scratch;
    std::size_t dropped = 0;
    const auto start = clock_.now;
    const auto end = start + longestDrop;
    for (auto deadline = start; dropped < mostDropped && await(deadline);) {
        const std::size_t count = wire_.copy(scratch.data(), scratch.size(), clock_.now);
        if (count == 0) {
            this->end();
            throw Broken{"send", brokenBecause_, dropped == 0 || clock_.now == start};
        }
        dropped += count;
        if (clock_.now >= end)
            break;
        deadline = std::min(clock_.now + quietTime, end);
    }
    wire_.take(request.data(), request.size(), clock_.now);
    return dropped == 0;
}

Simulator::Bytes Connection::receive(std::size_t count, Time patience) {
    requireOpen("receive");
    const auto deadline = clock_.now + std::min(patience, longestRead_);
    auto pieceDeadline = deadline;
    // Grows with what comes: an announced length is only a claim.
    Simulator::Bytes bytes;
    while (bytes.size() < count && await(pieceDeadline)) {
        const std::size_t before = bytes.size();
        bytes.resize(before + std::min<std::size_t>(count - before, 65536));
        const std::size_t came = wire_.copy(bytes.data() + before, bytes.size() - before, clock_.now);
        bytes.resize(before + came);
        if (came == 0)
            end();
        if (bytes.empty())
            requireOpen("receive");
        if (came == 0 || clock_.now >= deadline)
            break;
        if (count > smallRead)
            pieceDeadline = std::min(deadline, clock_.now + quietTime);
    }
    return bytes;
}

} // namespace Faults
