#pragma once
// The other end of a TCP connection, on loopback and on a port that the system chooses, playing scripts.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace TestSupport {

/// A script's end of one connection. What takes longer than 5 s fails the test and goes on.
class PeerConnection {
public:
    explicit PeerConnection(int descriptor);
    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;
    ~PeerConnection();

    /// Sends all of `bytes`.
    void send(std::string_view bytes);

    /// Sends and takes nothing for so long.
    void keepQuiet(std::chrono::milliseconds duration);

    /// Sends `piece` `times` times, `pause` apart; ends early where the other end is gone.
    void drip(std::string_view piece, int times, std::chrono::milliseconds pause);

    /// Sends zeros without end until a byte comes back, or `most` bytes are sent. True where one came.
    bool floodUntilAnswered(std::size_t most);

    /// Receives `count` bytes, or fewer where the other end closes.
    std::string receive(std::size_t count);

    /// Closes as a program does that ends: the other end reads to the end.
    void close();

    /// Closes so that the other end gets a reset.
    void reset();

private:
    bool waitFor(short events) const;

    int descriptor_;
};

/// Accepts as many connections as it has scripts, one after the other, and plays each on its own. A
/// connection that its script leaves open stays so until the peer is destroyed.
class LoopbackPeer {
public:
    using Script = std::function<void(PeerConnection&)>;

    explicit LoopbackPeer(std::vector<Script> scripts);
    explicit LoopbackPeer(Script script);
    LoopbackPeer(const LoopbackPeer&) = delete;
    LoopbackPeer& operator=(const LoopbackPeer&) = delete;
    /// Waits for the scripts to end.
    ~LoopbackPeer();

    int port() const { return port_; }

private:
    void run();

    std::vector<Script> scripts_;
    int listener_;
    int port_;
    std::vector<std::unique_ptr<PeerConnection>> connections_;
    std::thread thread_;
};

/// A port on loopback that takes no connection and refuses none: its queue is full.
class FullBacklog {
public:
    FullBacklog();
    FullBacklog(const FullBacklog&) = delete;
    FullBacklog& operator=(const FullBacklog&) = delete;
    ~FullBacklog();

    int port() const { return port_; }

private:
    std::vector<int> descriptors_;
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
    SignalStorm(const SignalStorm&) = delete;
    SignalStorm& operator=(const SignalStorm&) = delete;
    ~SignalStorm();

    /// How many signals were handled.
    int handled() const;

    /// Returns once `count` more signals were handled, or after 5 s with a failure of the test. For other
    /// threads than the interrupted one.
    void awaitMore(int count) const;

private:
    std::atomic<bool> ends_{false};
    std::thread thread_;
};

/// The time since it was made.
class Stopwatch {
public:
    std::chrono::nanoseconds elapsed() const { return std::chrono::steady_clock::now() - start_; }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace TestSupport
