#pragma once
// The other end of real sockets: TCP connections on loopback, datagrams on any address of this machine.

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace TestSupport {

/// A script's end of one connection, or what it is made from. What takes longer than 5 s ends.
class PeerConnection {
public:
    explicit PeerConnection(int descriptor);
    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;
    ~PeerConnection() { close(); }

    int descriptor() const { return descriptor_; }

    /// Sends all of `bytes`, or fails the test.
    void send(std::string_view bytes);

    /// Sends `piece` `times` times, `pause` apart; ends early where the other end is gone.
    void drip(std::string_view piece, int times, std::chrono::milliseconds pause);

    /// Receives `count` bytes, or fewer where the other end closes.
    std::string receive(std::size_t count);

    /// Closes as a program does that ends: the other end reads to the end.
    void close();

    /// Closes so that the other end gets a reset.
    void reset();

private:
    int descriptor_;
};

/// Accepts as many connections as it has scripts, one after the other, and plays each on its own. A
/// connection that its script leaves open stays so until the peer is destroyed, which waits for the scripts.
class LoopbackPeer {
public:
    using Script = std::function<void(PeerConnection&)>;

    explicit LoopbackPeer(std::vector<Script> scripts);
    explicit LoopbackPeer(Script script) : LoopbackPeer(std::vector{std::move(script)}) {}
    ~LoopbackPeer();

    int port() const { return port_; }

private:
    PeerConnection listener_;
    int port_;
    std::list<PeerConnection> connections_;
    std::jthread thread_; ///< ends before they do
};

/// A port on loopback that takes no connection and refuses none: its queue is full.
class FullBacklog {
public:
    FullBacklog();

    int port() const { return port_; }

private:
    std::list<PeerConnection> sockets_;
    int port_;
};

/// A datagram and where it came from.
struct Datagram {
    std::string text;
    std::string address; ///< dotted decimal
    int port = 0;
};

/// A bound UDP socket. What cannot be done throws std::runtime_error.
class DatagramPeer {
public:
    /// `port` 0 lets the system choose. Bound to "0.0.0.0" it gets broadcasts as well.
    explicit DatagramPeer(const std::string& address = "127.0.0.1", int port = 0);

    int port() const { return port_; }

    /// Waits 5 s at most; nothing where none came.
    std::optional<Datagram> receive() const;

    /// Answers to the sender of `received`.
    void answer(const Datagram& received, std::string_view text) const;

private:
    PeerConnection socket_;
    int port_;
};

/// A port on loopback where nobody listens.
int refusingPort();

/// How many descriptors this process has open.
std::size_t openDescriptors();

/// This process' socket that is connected to `port`; -1 where there is none.
int socketConnectedTo(int port);

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
