#include "Support/TimedLine.h"

#include "Communicator/DeviceException.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace std::chrono_literals;

namespace TestSupport {
namespace {

constexpr unsigned int smallReadBytes = 16;
constexpr auto quietTime = 20ms;
constexpr auto longestDrop = 3000ms;
constexpr std::size_t mostDropped = std::size_t{64} << 20;

} // namespace

TimedLine::TimedLine(VirtualClock& clock, std::wstring endpoint, Camera camera)
    : clock_(clock), endpoint_(std::move(endpoint)), camera_(std::move(camera)) {}

void TimedLine::connect() {
    ++connects_;
    open_ = true;
    brokenBecause_.clear();
    pending_.clear();
    lastDue_ = clock_.now;
}

void TimedLine::disconnect() noexcept {
    ++disconnects_;
    open_ = false;
    brokenBecause_.clear();
}

void TimedLine::fail(const wchar_t* operation) const {
    throw DeviceException(endpoint_ + L": " + operation + L" failed: " +
                          (brokenBecause_.empty() ? L"Not connected" : brokenBecause_));
}

void TimedLine::requireConnection(const wchar_t* operation) const {
    if (!open_)
        fail(operation);
}

/// Waits until something is there, which then stands in front; closes the connection where it is its end.
TimedLine::Outcome TimedLine::await(Time deadline) {
    if (pending_.empty() || pending_.front().at > deadline) {
        clock_.now = std::max(clock_.now, deadline);
        return Outcome::timedOut;
    }
    clock_.now = std::max(clock_.now, pending_.front().at);
    const Arrival::What what = pending_.front().arrival.what;
    if (what == Arrival::What::bytes || what == Arrival::What::endless)
        return Outcome::arrived;
    open_ = false;
    brokenBecause_ =
        what == Arrival::What::closed ? L"Connection closed by the peer" : L"Connection reset by peer";
    return Outcome::ended;
}

/// Takes so many bytes off the arrival in front.
void TimedLine::take(std::size_t count) {
    Due& front = pending_.front();
    Bytes& bytes = front.arrival.bytes;
    if (front.arrival.what == Arrival::What::endless)
        front.at = count == bytes.size() ? clock_.now + 1ms : front.at;
    else if (count == bytes.size())
        pending_.pop_front();
    else
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
}

void TimedLine::dropUnread() {
    auto deadline = clock_.now;
    const auto end = deadline + longestDrop;
    std::size_t dropped = 0;
    while (dropped < mostDropped) {
        const Outcome outcome = await(deadline);
        if (outcome == Outcome::ended)
            fail(L"send");
        if (outcome == Outcome::timedOut)
            return;
        const std::size_t count = pending_.front().arrival.bytes.size();
        dropped += count;
        take(count);
        if (clock_.now >= end)
            return;
        deadline = std::min(clock_.now + quietTime, end);
    }
}

void TimedLine::writeBytes(const void* data, unsigned int count, bool discardUnread, int /*reserved*/) {
    ++writes_;
    requireConnection(L"send");
    if (discardUnread)
        dropUnread();
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    for (Arrival& arrival : camera_(Bytes(bytes, bytes + count))) {
        lastDue_ = std::max(lastDue_, clock_.now) + arrival.after;
        pending_.push_back({std::move(arrival), lastDue_});
    }
}

int TimedLine::readBytes(void* data, unsigned int count, int /*reserved*/, unsigned int timeoutMs) {
    ++reads_;
    patience_ += Time(timeoutMs);
    requireConnection(L"receive");
    const auto deadline = clock_.now + Time(timeoutMs);
    auto pieceDeadline = deadline;
    std::size_t received = 0;
    while (received < count) {
        const Outcome outcome = await(pieceDeadline);
        if (outcome == Outcome::ended && received == 0)
            fail(L"receive");
        if (outcome != Outcome::arrived)
            break;
        const Bytes& bytes = pending_.front().arrival.bytes;
        const std::size_t piece = std::min<std::size_t>(count - received, bytes.size());
        std::memcpy(static_cast<std::uint8_t*>(data) + received, bytes.data(), piece);
        take(piece);
        received += piece;
        if (clock_.now >= deadline)
            break;
        if (count > smallReadBytes)
            pieceDeadline = std::min(deadline, clock_.now + quietTime);
    }
    return static_cast<int>(received);
}

} // namespace TestSupport
