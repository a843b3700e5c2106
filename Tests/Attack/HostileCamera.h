#pragma once
// A camera that says what it is told to say, byte by byte: for the oracle, and on real sockets.

#include "Camera/Session.h"
#include "CameraNetworks.h"
#include "Network/Connection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <utility>
#include <vector>

namespace Attack {

using Simulator::Bytes;

inline constexpr auto moment = std::chrono::milliseconds(1);
inline constexpr auto longestEnd = std::chrono::seconds(5);
inline constexpr std::size_t headerBytes = 6;
enum class Code : std::uint8_t { exposure = 2, take = 5, get = 6 };

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
class Told final : public Simulator::Session {
public:
    Told(std::shared_ptr<Scene> scene, Delivery delivery) : scene_(std::move(scene)), delivery_(delivery) {}

    void append(Simulator::ByteView input) override {
        unread_.insert(unread_.end(), input.begin(), input.end());
    }

    std::optional<Simulator::Reaction> next() override {
        const Bytes request = takeRequest();
        if (request.empty())
            return std::nullopt;
        const Answer& answer = answerTo(request);
        const auto bytes = std::make_shared<const Bytes>(answer.bytes);
        const std::size_t piece = delivery_ == Delivery::inItsPieces ? answer.piece : 0;
        Simulator::Reaction reaction{{Simulator::SendBytes{bytes, bytes->size(), piece, moment}}, {}};
        if (answer.piece != 0)
            reaction.actions.emplace_back(Simulator::Pause{moment});
        if (answer.closes)
            reaction.actions.emplace_back(Simulator::CloseConnection{});
        return reaction;
    }

    std::size_t waitingBytes() const override { return unread_.size(); }

private:
    /// The first whole one; empty where there is none yet.
    Bytes takeRequest() {
        std::size_t length = headerBytes;
        if (!unread_.empty() && unread_[0] == '[')
            length = static_cast<std::size_t>(std::ranges::find(unread_, ']') - unread_.begin()) + 1;
        else if (unread_.size() >= headerBytes)
            length = unread_[3] * 256U + unread_[4];
        if (unread_.size() < length)
            return {};
        const auto end = unread_.begin() + static_cast<std::ptrdiff_t>(length);
        const Bytes request(unread_.begin(), end);
        unread_.erase(unread_.begin(), end);
        return request;
    }

    const Answer& answerTo(const Bytes& request) {
        const Script& script = scene_->script;
        if (request[0] == '[')
            return script.texts[request[1] == 'V' ? 0 : request[1] == 'S' ? 1 : 2];
        const Code code{request[headerBytes]};
        if (code == Code::exposure) {
            scene_->exposure = request[11] * 256U + request[12];
            ++scene_->attempts;
        }
        const auto& attempt = script.attempts[scene_->attempts % 2 == 0 ? 1 : 0];
        switch (code) {
        case Code::exposure:
            return attempt[0];
        case Code::take:
            return attempt[1];
        case Code::get:
            return attempt[2];
        default:
            return script.probe;
        }
    }

    std::shared_ptr<Scene> scene_;
    Delivery delivery_;
    Bytes unread_;
};

/// At the ports of a real camera from construction to destruction; its thread does all the sending.
class HostileCamera {
public:
    /// Throws Simulator::ServerError.
    HostileCamera(const Integration::CameraNetworks& networks, std::size_t index) {
        const std::string& address = networks.addressOf(index);
        networks.within(index, [&] {
            using namespace Simulator;
            listeners_ = {listenTcp(address, textPort), listenTcp(address, binaryPort)};
            if (!networks.areOwn())
                return;
            const std::string everybody = address.substr(0, address.rfind('.')) + ".255";
            queries_ = bindUdp(everybody, textPort);
            replies_ = bindUdp(address, textPort);
        });
        thread_ = std::thread([this] { run(); });
    }

    ~HostileCamera() {
        stop_.second = Simulator::Socket();
        thread_.join();
    }

    /// To datagrams and connections that come from now on. Any thread.
    void play(Script script) {
        const std::lock_guard lock(mutex_);
        scene_ = std::make_shared<Scene>(std::move(script));
    }

    /// Returns once it has seen the end of every connection, or after 5 s. Any thread.
    void awaitEnds() const {
        const auto deadline = std::chrono::steady_clock::now() + longestEnd;
        while (open_ != 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(moment); // its own thread sees them
    }

    /// The exposure that was configured last since play(). Any thread.
    unsigned exposure() const { return scene()->exposure; }

private:
    void run() {
        for (;;) {
            std::vector<pollfd> waits;
            for (const auto* socket : {&stop_.first, &queries_, &listeners_[0], &listeners_[1]})
                waits.push_back({socket->descriptor(), POLLIN, 0});
            const std::size_t fixed = waits.size();
            bool isBusy = false;
            for (const Simulator::Connection& each : connections_) {
                waits.push_back({each.descriptor(), each.wantedEvents(), 0});
                isBusy = isBusy || each.wakeTime();
            }
            poll(waits.data(), waits.size(), isBusy ? static_cast<int>(moment.count()) : -1);
            if (waits[0].revents != 0)
                return;
            answerQuery();
            auto wait = waits.begin() + static_cast<std::ptrdiff_t>(fixed);
            for (Simulator::Connection& each : connections_)
                each.advance((wait++)->revents, std::chrono::steady_clock::now());
            connections_.remove_if([](const Simulator::Connection& each) { return each.isOver(); });
            for (const Simulator::Socket& listener : listeners_)
                if (auto [socket, name] = Simulator::acceptClient(listener); socket.isOpen())
                    connections_.emplace_back(std::move(socket), name,
                                              std::make_unique<Told>(scene(), Delivery::inItsPieces), log_);
            open_ = connections_.size();
        }
    }

    std::shared_ptr<Scene> scene() const {
        const std::lock_guard lock(mutex_);
        return scene_;
    }

    void answerQuery() const {
        std::array<char, 64> query{};
        sockaddr_in asker{};
        socklen_t length = sizeof asker;
        auto* const peer = reinterpret_cast<sockaddr*>(&asker);
        if (!queries_.isOpen() ||
            recvfrom(queries_.descriptor(), query.data(), query.size(), 0, peer, &length) < 0)
            return;
        const auto played = scene(); // another may be played meanwhile
        for (const std::string& datagram : played->script.datagrams)
            static_cast<void>(
                sendto(replies_.descriptor(), datagram.data(), datagram.size(), MSG_NOSIGNAL, peer, length));
    }

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
