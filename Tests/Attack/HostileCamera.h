#pragma once
// A camera on real sockets that says what it is told to say, byte by byte.

#include "CameraNetworks.h"
#include "Network/Socket.h"

#include "World/Answers.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Attack {

using World::Bytes;

struct Answer {
    Bytes bytes;
    std::size_t piece = 0; ///< so many bytes at a time, a moment apart; 0: all at once
    bool closes = false;   ///< the connection, behind the bytes
};

/// What a camera says to each request until it is told otherwise.
struct Script {
    std::vector<std::string> datagrams = {}; ///< to a discovery query
    std::array<Answer, 3> texts = {};        ///< to the queries for version, serial number and settings
    /// To configuration, take and get of an attempt at a picture.
    std::array<std::array<Answer, 3>, 2> attempts = {};
    Answer probe = {};
};

/// A script as it is played: a third attempt gets the first one's answers again.
struct Scene {
    Script script;
    std::size_t attempts = 0;

    /// Of a whole request, which may be a configuration, the next attempt's.
    const Answer& answerTo(const Bytes& request);
};

/// At the ports of a real camera from construction to destruction; its thread does all the sending.
class HostileCamera {
public:
    /// Throws Simulator::ServerError.
    HostileCamera(const Integration::CameraNetworks& networks, std::size_t index);
    ~HostileCamera();
    HostileCamera(const HostileCamera&) = delete;
    HostileCamera& operator=(const HostileCamera&) = delete;

    /// To datagrams and connections that come from now on. Any thread.
    void play(Script script);
    /// Returns once it has seen the end of every connection, or after 5 s. Any thread.
    void awaitEnds() const;
    /// The exposure that was configured last. Any thread.
    unsigned exposure() const { return exposure_; }

private:
    struct Client {
        Simulator::Socket socket;
        bool isText = false;
        std::shared_ptr<Scene> scene = {};
        Bytes unread = {};
    };

    void run();
    std::shared_ptr<Scene> scene() const;
    void answerQuery() const;
    bool serve(Client& client);

    std::pair<Simulator::Socket, Simulator::Socket> stop_ = Simulator::makePipe();
    Simulator::Socket queries_;
    Simulator::Socket replies_;
    std::array<Simulator::Socket, 2> listeners_; ///< text, binary
    std::vector<Client> clients_;
    mutable std::mutex mutex_;
    std::shared_ptr<Scene> scene_ = std::make_shared<Scene>(); ///< which one: guarded by mutex_
    std::atomic<std::size_t> open_ = 0;                        ///< connections
    std::atomic<unsigned> exposure_ = 0;
    std::thread thread_;
};

} // namespace Attack
