#pragma once
// A camera that says what it is told to say, byte by byte: for the oracle, and on real sockets.

#include "Camera/Session.h"
#include "CameraNetworks.h"
#include "Network/Connection.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Attack {

using Simulator::Bytes;

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
    explicit Scene(Script itsScript) : script(std::move(itsScript)) {}

    Script script;
    std::size_t attempts = 0;
    std::atomic<unsigned> exposure = 0; ///< configured last
};

enum class Delivery {
    inItsPieces,
    atOnce ///< as the oracle reads it; what comes behind pieces comes later than they
};

/// One connection. Others may go on with the same scene, one after the other.
std::unique_ptr<Simulator::Session> sessionOf(std::shared_ptr<Scene> scene, Delivery delivery);

/// At the ports of a real camera from construction to destruction; its thread does all the sending.
class HostileCamera {
public:
    /// Throws Simulator::ServerError.
    HostileCamera(const Integration::CameraNetworks& networks, std::size_t index);
    ~HostileCamera();

    /// To datagrams and connections that come from now on. Any thread.
    void play(Script script);
    /// Returns once it has seen the end of every connection, or after 5 s. Any thread.
    void awaitEnds() const;
    /// The exposure that was configured last since play(). Any thread.
    unsigned exposure() const { return scene()->exposure; }

private:
    void run();
    std::shared_ptr<Scene> scene() const;
    void answerQuery() const;

    const Simulator::EventLog log_ = [](const std::string&) {};
    std::pair<Simulator::Socket, Simulator::Socket> stop_ = Simulator::makePipe();
    Simulator::Socket queries_;
    Simulator::Socket replies_;
    std::array<Simulator::Socket, 2> listeners_;
    std::list<Simulator::Connection> connections_;
    mutable std::mutex mutex_;
    std::shared_ptr<Scene> scene_ = std::make_shared<Scene>(Script()); ///< which one: guarded by mutex_
    std::atomic<std::size_t> open_ = 0;                                ///< connections
    std::thread thread_;
};

} // namespace Attack
