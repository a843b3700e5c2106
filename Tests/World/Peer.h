#pragma once
// A peer whose answers are written down beforehand, request by request.

#include "Camera/Session.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace World {

using Simulator::Bytes;
/// What a peer does, in the words of the simulator: Simulator::SendBytes, Pause, CloseConnection and
/// ResetConnection, one after the other.
using Actions = std::vector<Simulator::Action>;

/// The bytes in pieces with a pause between them.
inline Simulator::SendBytes sendingInPieces(Bytes bytes, std::size_t pieceBytes,
                                            std::chrono::milliseconds pause = std::chrono::milliseconds(0)) {
    const std::size_t length = bytes.size();
    return {std::make_shared<const Bytes>(std::move(bytes)), length, pieceBytes, pause};
}

/// The bytes at once.
inline Simulator::SendBytes sending(Bytes bytes) {
    return sendingInPieces(std::move(bytes), 0);
}

/// The bytes again and again.
inline Simulator::SendBytes sendingEndlessly(Bytes bytes) {
    Simulator::SendBytes action = sending(std::move(bytes));
    action.endless = true;
    return action;
}

/// Takes what is sent in one call for one request, and does what stands next in its script; after the end of
/// the script it stays silent. Connections that are made one after the other go on with the same script.
class Peer {
public:
    /// To the next request.
    Peer& act(Actions actions) {
        script_.push_back(std::move(actions));
        return *this;
    }
    Peer& answer(Bytes bytes) { return act({sending(std::move(bytes))}); }
    Peer& say(const std::string& text) { return answer(Bytes(text.begin(), text.end())); }
    /// When a connection is made, each time.
    Peer& greet(Actions actions) {
        greeting_ = std::move(actions);
        return *this;
    }
    /// What was not answered yet never will be.
    void forget() { script_.clear(); }

    /// What was sent, call by call.
    const std::vector<Bytes>& requests() const { return requests_; }
    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        for (const Bytes& request : requests_)
            all.emplace_back(request.begin(), request.end());
        return all;
    }
    /// How many requests still have an answer.
    std::size_t answersLeft() const { return script_.size(); }

    /// The peer's side of one connection. The peer outlives it.
    std::unique_ptr<Simulator::Session> accept() { return std::make_unique<Conversation>(*this); }

private:
    class Conversation final : public Simulator::Session {
    public:
        explicit Conversation(Peer& peer) : peer_(peer), due_{peer.greeting_} {}

        void append(Simulator::ByteView input) override {
            peer_.requests_.emplace_back(input.begin(), input.end());
            if (peer_.script_.empty())
                return;
            due_.push_back(std::move(peer_.script_.front()));
            peer_.script_.pop_front();
        }

        std::optional<Simulator::Reaction> next() override {
            if (due_.empty())
                return std::nullopt;
            Simulator::Reaction reaction{std::move(due_.front()), {}};
            due_.pop_front();
            return reaction;
        }

        std::size_t waitingBytes() const override { return 0; }

    private:
        Peer& peer_;
        std::deque<Actions> due_;
    };

    std::deque<Actions> script_;
    Actions greeting_;
    std::vector<Bytes> requests_;
};

} // namespace World
