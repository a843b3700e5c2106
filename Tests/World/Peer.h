#pragma once
// A peer whose answers are written down beforehand, request by request.

#include "Camera/Session.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace World {

using Simulator::Bytes;
/// What a peer does, in the words of the simulator: Simulator::SendBytes, Pause, CloseConnection and
/// ResetConnection, one after the other.
using Actions = std::vector<Simulator::Action>;

/// The bytes at once.
Simulator::Action sending(Bytes bytes);
/// The bytes in pieces with a pause between them.
Simulator::Action sendingInPieces(Bytes bytes, std::size_t pieceBytes,
                                  std::chrono::milliseconds pause = std::chrono::milliseconds(0));
/// The bytes again and again.
Simulator::Action sendingEndlessly(Bytes bytes);

/// Takes what is sent in one call for one request, and does what stands next in its script; after the end of
/// the script it stays silent. Connections that are made one after the other go on with the same script.
class Peer {
public:
    /// To the next request.
    Peer& act(Actions actions);
    Peer& answer(Bytes bytes) { return act({sending(std::move(bytes))}); }
    Peer& say(const std::string& text) { return answer(Bytes(text.begin(), text.end())); }
    Peer& stayUnanswered() { return act({}); }
    /// When a connection is made, each time.
    Peer& greet(Actions actions);
    /// What was not answered yet never will be.
    void forget() { script_.clear(); }

    /// What was sent, call by call.
    const std::vector<Bytes>& requests() const { return requests_; }
    std::vector<std::string> texts() const;
    /// How many requests still have an answer.
    std::size_t answersLeft() const { return script_.size(); }

    /// The peer's side of one connection. The peer outlives it.
    std::unique_ptr<Simulator::Session> accept();

private:
    class Conversation;
    std::deque<Actions> script_;
    Actions greeting_;
    std::vector<Bytes> requests_;
};

} // namespace World
