#include "Communicator/PosixEthernetCommunicator.h"

#include "Communicator/DeviceException.h"
#include "Platform/TcpSocket.h"
#include "Platform/Text.h"
#include "TransferWatch.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using Platform::TcpSocket;

namespace {

/// A read of at most this many bytes is part of a header: a pause inside it is a retransmission.
constexpr std::size_t smallReadBytes = 16;

/// One huge receive is half as fast as pieces that stay in the cache.
constexpr std::size_t pieceBytes = 65536;

/// What is sent at a time: little enough that the system takes it whole once it has room, so that a piece
/// waits at most once and a limit is noticed behind it.
constexpr std::size_t sentPieceBytes = 4096;

/// How long a line is quiet before a larger read ends, or before what a peer still sends is all dropped.
constexpr auto quietTime = 20ms;

/// How often an observer is asked while nothing comes.
constexpr auto observerInterval = 100ms;

/// How long the device may take nothing of what is sent.
constexpr auto sendStallTime = 10s;

/// More than a whole picture, and the time it takes on a slow line.
constexpr TcpSocket::DiscardBounds discardBounds{std::size_t{64} << 20, 3s};

constexpr int highestPort = 65535;

} // namespace

struct PosixEthernetCommunicator::State {
    using Clock = TcpSocket::Clock;

    std::wstring address;
    int port;
    std::chrono::milliseconds connectTimeout;
    TcpSocket socket{};
    ProgressObserver observer{};
    ReadObserver readObserver{};
    std::string brokenBecause{}; ///< why the connection was closed by itself; else empty
    std::optional<TransportLimits> ownLimits{};
    std::shared_ptr<const Clock::time_point>
        holdBegin{}; ///< also while the connection is broken below an outer hold
    ReferenceHost::TransferWatch watch{};

    [[noreturn]] void fail(const wchar_t* operation, const std::string& reason) const {
        throw DeviceException(address + L":" + std::to_wstring(port) + L": " + operation + L" failed: " +
                              Platform::wideFromUtf8(reason));
    }

    void requireConnection(const wchar_t* operation) const {
        if (!socket.isOpen())
            fail(operation, brokenBecause.empty() ? "Not connected" : brokenBecause);
    }

    void closeBroken(std::string reason) {
        socket.close();
        brokenBecause = std::move(reason);
    }

    void requireDone(SocketResult result, const wchar_t* operation) {
        if (result.status == SocketStatus::done)
            return;
        closeBroken(std::move(result.reason));
        fail(operation, brokenBecause);
    }

    Clock::time_point limit() const { return watch.deadline(ReferenceHost::currentOperationEnd()); }

    /// `time`, or what a limit leaves of it, at least 0.
    std::chrono::milliseconds withinLimit(std::chrono::milliseconds time, Clock::time_point now) const {
        const auto end = limit();
        if (end >= now + time)
            return time;
        return std::chrono::ceil<std::chrono::milliseconds>(std::max(end, now) - now);
    }

    void requireWithinLimits(const wchar_t* operation, Clock::time_point now) {
        std::string reason = watch.passed(ReferenceHost::currentOperationEnd(), now);
        if (reason.empty())
            return;
        closeBroken(std::move(reason));
        fail(operation, brokenBecause);
    }

    void open();
    void send(const unsigned char* data, std::size_t count);
    std::size_t receive(unsigned char* data, std::size_t count, Clock::time_point deadline);
};

PosixEthernetCommunicator::PosixEthernetCommunicator(const std::wstring& address, int port,
                                                     int connectTimeoutMs)
    : EthernetCommunicator(connectTimeoutMs),
      state_(new State{
          address, port,
          std::chrono::milliseconds(connectTimeoutMs < 0 ? defaultConnectTimeoutMs : connectTimeoutMs)}) {}

PosixEthernetCommunicator::~PosixEthernetCommunicator() = default;

std::wstring PosixEthernetCommunicator::getAddress() const {
    return state_->address;
}

int PosixEthernetCommunicator::getPort() const {
    return state_->port;
}

bool PosixEthernetCommunicator::isConnected() const {
    return state_->socket.isOpen();
}

void PosixEthernetCommunicator::setProgressObserver(ProgressObserver observer) {
    state_->observer = std::move(observer);
}

void PosixEthernetCommunicator::setReadObserver(ReadObserver observer) {
    state_->readObserver = std::move(observer);
}

void PosixEthernetCommunicator::setLimits(const TransportLimits& limits) {
    state_->ownLimits = limits;
}

void PosixEthernetCommunicator::connect() {
    if (state_->port < 1 || state_->port > highestPort)
        state_->fail(L"connect", "A port is 1 to 65535");
    state_->open();
}

void PosixEthernetCommunicator::State::open() {
    constexpr auto operation = L"connect";
    brokenBecause.clear();
    const auto now = Clock::now();
    const auto begin = holdBegin != nullptr ? holdBegin : ReferenceHost::beginHold(now);
    watch.start(ownLimits ? *ownLimits : ReferenceHost::currentTransportLimits(), *begin);
    requireWithinLimits(operation, now);
    SocketResult result = socket.open(Platform::utf8FromWide(address), static_cast<std::uint16_t>(port),
                                      withinLimit(connectTimeout, now));
    if (result.status == SocketStatus::timedOut)
        requireWithinLimits(operation, Clock::now());
    requireDone(std::move(result), operation);
    holdBegin = begin;
}

void PosixEthernetCommunicator::disconnect() noexcept {
    state_->socket.close();
    state_->brokenBecause.clear();
    state_->holdBegin.reset();
}

void PosixEthernetCommunicator::writeBytes(const void* data, unsigned int count, bool discardUnread,
                                           int /*reserved*/) {
    constexpr auto operation = L"send";
    state_->requireConnection(operation);
    state_->watch.requestSent();
    const auto now = TcpSocket::Clock::now();
    state_->requireWithinLimits(operation, now);
    if (discardUnread) {
        const auto time = state_->withinLimit(discardBounds.time, now);
        state_->requireDone(state_->socket.discardUnread(quietTime, {discardBounds.bytes, time}), operation);
    }
    state_->send(static_cast<const unsigned char*>(data), count);
}

void PosixEthernetCommunicator::State::send(const unsigned char* data, std::size_t count) {
    constexpr auto operation = L"send";
    for (std::size_t sent = 0; sent < count;) {
        const auto now = Clock::now();
        requireWithinLimits(operation, now);
        const std::size_t piece = std::min(count - sent, sentPieceBytes);
        SocketResult result = socket.send(data + sent, piece, withinLimit(sendStallTime, now));
        if (result.status == SocketStatus::timedOut)
            requireWithinLimits(operation, Clock::now());
        requireDone(std::move(result), operation);
        sent += piece;
    }
}

int PosixEthernetCommunicator::readBytes(void* data, unsigned int count, int /*reserved*/,
                                         unsigned int timeoutMs) {
    const auto deadline = TcpSocket::Clock::now() + std::chrono::milliseconds(timeoutMs);
    state_->requireConnection(L"receive");
    constexpr unsigned int most = std::numeric_limits<int>::max();
    const std::size_t wanted = std::min(count, most);
    const std::size_t received = state_->receive(static_cast<unsigned char*>(data), wanted, deadline);
    if (state_->observer)
        state_->observer(received, wanted);
    if (state_->readObserver)
        state_->readObserver(static_cast<const unsigned char*>(data), received);
    return static_cast<int>(received);
}

std::size_t PosixEthernetCommunicator::State::receive(unsigned char* data, std::size_t count,
                                                      Clock::time_point deadline) {
    const bool endsWhenQuiet = count > smallReadBytes;
    auto pieceDeadline = deadline;
    std::size_t received = 0;
    std::size_t reported = 0;
    watch.waitFrom(Clock::now());
    while (received < count) {
        auto waitUntil = std::min(pieceDeadline, limit());
        if (observer)
            waitUntil = std::min(waitUntil, Clock::now() + observerInterval);
        SocketResult piece =
            socket.receive(data + received, std::min(count - received, pieceBytes), waitUntil);
        received += piece.bytes;
        const auto now = Clock::now();
        watch.look(piece.bytes, now);
        requireWithinLimits(L"receive", now);
        if (piece.status == SocketStatus::timedOut) {
            if (waitUntil >= pieceDeadline)
                break;
            if (observer)
                observer(received, count);
            continue;
        }
        if (piece.status != SocketStatus::done) {
            closeBroken(std::move(piece.reason));
            if (received == 0)
                fail(L"receive", brokenBecause);
            break;
        }
        if (now >= deadline)
            break;
        if (endsWhenQuiet)
            pieceDeadline = std::min(deadline, now + quietTime);
        if (observer && received - reported >= pieceBytes && received < count) {
            observer(received, count);
            reported = received;
        }
    }
    return received;
}
