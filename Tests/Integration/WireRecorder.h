#pragma once
// Stands between a camera and its client and notes what passes.

#include <atomic>
#include <string>
#include <thread>

namespace Integration {

/// Hands each connection to `address`:`port` on to 127.0.0.1:`servedPort`, one at a time, until it is
/// stopped.
class WireRecorder {
public:
    /// Throws std::system_error where the port cannot be had.
    WireRecorder(const std::string& address, int port, const std::string& servedPort);
    WireRecorder(const WireRecorder&) = delete;
    WireRecorder& operator=(const WireRecorder&) = delete;
    ~WireRecorder();

    /// Stops it. All that the clients sent, one connection after the other.
    const std::string& stopAndTellAsked();

    /// All that came back, once it is stopped.
    const std::string& answered() const { return answered_; }

private:
    void run();
    void relay(int client);

    int listener_ = -1;
    int servedPort_;
    std::string asked_;
    std::string answered_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

} // namespace Integration
