#pragma once
// The camera's UDP port: hears discovery queries, sent to its own address or to everybody, and answers them.

#include "Camera/Camera.h"
#include "Network/Connection.h"

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Simulator {

/// Linux delivers a broadcast only to sockets bound to the broadcast address itself or to no address at all.
/// Beside the socket bound to the camera's own address, which answers, there is therefore one for the
/// broadcast address of its network (own address and net mask) and one for 255.255.255.255. Those two share
/// their address and port, so that several cameras of one machine hear the same query. 255.255.255.255
/// carries no network: every camera of the machine hears it. A camera on a loopback address has no such
/// sockets and hears no network; one on 0.0.0.0 needs none, hears everything, and announces the address of
/// the adapter at which it was asked.
class DiscoveryPort {
public:
    /// Takes the port, unless the camera refuses discovery. A broadcast address that the machine does not
    /// have, because the net mask is not its own, is a line of the log. Throws ServerError. `camera` and
    /// `log` outlive the port.
    DiscoveryPort(Camera& camera, const std::string& address, std::uint16_t port, const EventLog& log);

    /// The port served; 0 if discovery is refused.
    std::uint16_t port() const { return sockets_.empty() ? std::uint16_t{0} : portOf(sockets_.front()); }

    /// The addresses beside the camera's own at which queries are heard.
    const std::vector<std::string>& broadcasts() const { return broadcasts_; }

    /// To be waited for.
    const std::vector<Socket>& sockets() const { return sockets_; }

    /// When to go on though nothing comes; nothing while no reply waits for its time.
    std::optional<Clock::time_point> wakeTime() const;

    /// Reads and answers what has come, and sends the replies whose time it is. Never blocks.
    void advance(Clock::time_point now);

private:
    struct Reply {
        Clock::time_point due;
        sockaddr_in receiver;
        SharedBytes bytes;
        std::size_t offset;
        std::size_t length;
    };

    void hearBroadcasts();
    bool readOne(const Socket& socket, Clock::time_point now);
    void answer(ByteView datagram, const sockaddr_in& sender, const std::string& asked,
                Clock::time_point now);
    void schedule(const std::vector<Action>& actions, const sockaddr_in& receiver, Clock::time_point now);
    void send(const Reply& reply) const;

    Camera& camera_;
    const EventLog& log_;
    std::uint32_t address_;       ///< 0: every address of this machine
    std::vector<Socket> sockets_; ///< the first is bound to the camera's address
    std::vector<std::string> broadcasts_;
    std::deque<Reply> replies_;
    Bytes datagram_ = Bytes(65536); ///< the one just read; no datagram is longer
};

} // namespace Simulator
