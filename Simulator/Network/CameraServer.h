#pragma once
// Puts a simulated camera on the network: TCP and UDP 32768 for the text language, TCP 32769 for the binary
// protocol, any number of clients (up to 64 at once), one thread.

#include "Camera/Camera.h"
#include "Network/Connection.h"
#include "Network/DiscoveryPort.h"

#include <poll.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Simulator {

/// Where to serve, and whom to tell. Port 0 lets the system choose.
struct ServerOptions {
    std::string address = "127.0.0.1"; ///< dotted IPv4, one of this machine
    std::uint16_t binaryTcpPort = binaryPort;
    std::uint16_t textTcpPort = textPort;
    std::uint16_t discoveryUdpPort = textPort;
    EventLog log; ///< may be empty; called by the constructor and on the thread that serves
};

class CameraServer {
public:
    /// Takes the ports at once: clients may connect from here on and are answered once the server runs.
    /// Throws ServerError naming address and port, and whatever Camera's constructor throws.
    explicit CameraServer(CameraSettings settings, ServerOptions options = {});
    CameraServer(const CameraServer&) = delete;
    CameraServer& operator=(const CameraServer&) = delete;
    /// Stops a started server and ends its clients' connections.
    ~CameraServer();

    /// Where it serves, as it was told.
    const std::string& address() const { return options_.address; }

    /// The ports served; 0 for a language that the camera refuses.
    std::uint16_t binaryTcpPort() const { return portOf(binaryListener_); }
    std::uint16_t textTcpPort() const { return portOf(textListener_); }
    std::uint16_t discoveryUdpPort() const { return discovery_.port(); }

    /// As DiscoveryPort::broadcasts.
    const std::vector<std::string>& broadcasts() const { return discovery_.broadcasts(); }

    const CameraSettings& settings() const { return camera_.settings(); }

    /// Serves on the calling thread until stop() is called, on whatever thread, before or meanwhile.
    void run();

    /// Serves on a thread of its own until stop() or destruction.
    void start();

    /// Ends run() or the thread of start(), and waits for the latter. May be called more than once.
    void stop();

    /// Ends run() soon without waiting for it. The one operation that may be called from a signal handler.
    void requestStop() noexcept;

private:
    enum class Language { text, binary };

    void serveOnce();
    void advanceAll(std::span<const pollfd> waited, Clock::time_point now);
    void acceptFrom(const Socket& listener, Language language);
    std::pair<Socket, std::string> acceptIfPossible(const Socket& listener);
    std::unique_ptr<Session> makeSession(Language language);
    void advanceSafely(Connection& connection, short events, Clock::time_point now);
    int waitMs() const;

    Camera camera_;
    ServerOptions options_;
    Socket binaryListener_;
    Socket textListener_;
    DiscoveryPort discovery_;
    std::pair<Socket, Socket> wake_;
    std::list<Connection> connections_;
    std::optional<Clock::time_point> acceptAgain_; ///< set where a client waits for a descriptor
    bool toldOfShortage_ = false;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace Simulator
