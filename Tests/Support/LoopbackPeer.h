#pragma once
// The other end of real sockets, on a port that the system chooses: a TCP connection that plays a script, and
// datagrams.

#include "Support/TestSystem.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace TestSupport {

/// Binds a socket to a port that the system chooses, and returns that. What then waits on the socket for more
/// than 5 s fails. Throws std::runtime_error.
int bindToFreePort(int descriptor, const char* address = "127.0.0.1");

/// A script's end of one connection.
class PeerConnection {
public:
    explicit PeerConnection(int descriptor) : descriptor_(descriptor) {}
    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;
    ~PeerConnection() { close(); }

    /// Sends `piece` `times` times, `pause` apart; ends early where the other end is gone.
    void drip(std::string_view piece, int times, std::chrono::milliseconds pause);

    /// Receives `count` bytes, or fewer where the other end closes.
    std::string receive(std::size_t count);

    /// Closes as a program does that ends: the other end reads to the end.
    void close();

private:
    int descriptor_;
};

/// Accepts one connection and plays its script on it. It stays open until the peer is destroyed, unless the
/// script closes it.
class LoopbackPeer {
public:
    using Script = std::function<void(PeerConnection&)>;

    explicit LoopbackPeer(Script script);
    LoopbackPeer(const LoopbackPeer&) = delete;
    LoopbackPeer& operator=(const LoopbackPeer&) = delete;
    /// Waits for the script to end.
    ~LoopbackPeer();

    int port() const { return port_; }

private:
    int listener_;
    int port_;
    std::optional<PeerConnection> connection_;
    std::thread thread_;
};

/// A bound UDP socket of this system's own. What cannot be done throws std::runtime_error.
class DatagramPeer {
public:
    /// Bound to "0.0.0.0" it gets broadcasts as well.
    explicit DatagramPeer(const char* address = "127.0.0.1");
    DatagramPeer(const DatagramPeer&) = delete;
    DatagramPeer& operator=(const DatagramPeer&) = delete;
    ~DatagramPeer();

    int port() const { return port_; }

    /// Waits 5 s at most.
    std::string receive();

    /// Answers to the sender of what was received last.
    void answer(std::string_view text) const;

private:
    int descriptor_;
    int port_;
    std::uint32_t senderAddress_ = 0; ///< this and the port in network order
    std::uint16_t senderPort_ = 0;
};

/// While it lives, interrupts the thread that made it by a signal whose handler restarts nothing.
class SignalStorm {
public:
    SignalStorm();
    ~SignalStorm();

    /// How many signals were handled.
    int handled() const;

    /// Returns once `count` more signals were handled, or after 5 s with a failure of the test. For other
    /// threads than the interrupted one.
    void awaitMore(int count) const;

private:
    std::jthread thread_;
};

/// The time since it was made.
class Stopwatch {
public:
    std::chrono::nanoseconds elapsed() const { return std::chrono::steady_clock::now() - start_; }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace TestSupport
