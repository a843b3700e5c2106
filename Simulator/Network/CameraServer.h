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
    const std::string& address() const { return m_options.address; }

    /// The ports served; 0 for a language that the camera refuses.
    std::uint16_t binaryTcpPort() const { return portOf(m_binaryListener); }
    std::uint16_t textTcpPort() const { return portOf(m_textListener); }
    std::uint16_t discoveryUdpPort() const { return m_discovery.port(); }

    /// As DiscoveryPort::broadcasts.
    const std::vector<std::string>& broadcasts() const { return m_discovery.broadcasts(); }

    const CameraSettings& settings() const { return m_camera.settings(); }

    /// Serves on the calling thread until stop() is called, on whatever thread, before or meanwhile.
    void run();

    /// Serves on a thread of its own until stop() or destruction.
    void start();

    /// Ends run() or the thread of start(), and waits for the latter. May be called more than once.
    void stop();

    /// Ends run() soon without waiting for it. The one operation that may be called from a signal handler.
    void requestStop() noexcept;

private:
    enum class Language { Text, Binary };

    void serveOnce();
    void advanceAll(std::span<const pollfd> waited, Clock::time_point now);
    void acceptFrom(const Socket& listener, Language language);
    std::pair<Socket, std::string> acceptIfPossible(const Socket& listener);
    std::unique_ptr<Session> makeSession(Language language);
    void advanceSafely(Connection& connection, short events, Clock::time_point now);
    int waitMs() const;

    Camera m_camera;
    ServerOptions m_options;
    Socket m_binaryListener;
    Socket m_textListener;
    DiscoveryPort m_discovery;
    std::pair<Socket, Socket> m_wake;
    std::list<Connection> m_connections;
    std::optional<Clock::time_point> m_acceptAgain; ///< set where a client waits for a descriptor
    bool m_toldOfShortage = false;
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

} // namespace Simulator
