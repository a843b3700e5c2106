#include "Communicator/PosixEthernetCommunicator.h"

#include "Communicator/DeviceException.h"
#include "Platform/TcpSocket.h"
#include "Platform/Text.h"

#include <algorithm>
#include <limits>
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
    std::wstring address;
    int port;
    std::chrono::milliseconds connectTimeout;
    TcpSocket socket;
    ProgressObserver observer;
    std::string brokenBecause; ///< why the connection was closed by itself; else empty

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

    std::size_t receive(unsigned char* data, std::size_t count, TcpSocket::Clock::time_point deadline);
};

PosixEthernetCommunicator::PosixEthernetCommunicator(const std::wstring& address, int port,
                                                     int connectTimeoutMs)
    : EthernetCommunicator(connectTimeoutMs),
      state_(new State{
          address,
          port,
          std::chrono::milliseconds(connectTimeoutMs < 0 ? defaultConnectTimeoutMs : connectTimeoutMs),
          {},
          {},
          {}}) {}

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

void PosixEthernetCommunicator::connect() {
    constexpr auto operation = L"connect";
    if (state_->port < 1 || state_->port > highestPort)
        state_->fail(operation, "A port is 1 to 65535");
    state_->brokenBecause.clear();
    state_->requireDone(state_->socket.open(Platform::utf8FromWide(state_->address),
                                            static_cast<std::uint16_t>(state_->port), state_->connectTimeout),
                        operation);
}

void PosixEthernetCommunicator::disconnect() noexcept {
    state_->socket.close();
    state_->brokenBecause.clear();
}

void PosixEthernetCommunicator::writeBytes(const void* data, unsigned int count, bool discardUnread,
                                           int /*reserved*/) {
    constexpr auto operation = L"send";
    state_->requireConnection(operation);
    if (discardUnread)
        state_->requireDone(state_->socket.discardUnread(quietTime, discardBounds), operation);
    state_->requireDone(state_->socket.send(data, count, sendStallTime), operation);
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
    return static_cast<int>(received);
}

std::size_t PosixEthernetCommunicator::State::receive(unsigned char* data, std::size_t count,
                                                      TcpSocket::Clock::time_point deadline) {
    const bool endsWhenQuiet = count > smallReadBytes;
    auto pieceDeadline = deadline;
    std::size_t received = 0;
    std::size_t reported = 0;
    while (received < count) {
        const auto waitUntil =
            observer ? std::min(pieceDeadline, TcpSocket::Clock::now() + observerInterval) : pieceDeadline;
        SocketResult piece =
            socket.receive(data + received, std::min(count - received, pieceBytes), waitUntil);
        received += piece.bytes;
        if (piece.status == SocketStatus::timedOut) {
            if (waitUntil >= pieceDeadline)
                break;
            observer(received, count);
            continue;
        }
        if (piece.status != SocketStatus::done) {
            closeBroken(std::move(piece.reason));
            if (received == 0)
                fail(L"receive", brokenBecause);
            break;
        }
        const auto now = TcpSocket::Clock::now();
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
