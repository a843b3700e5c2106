#include "World/Peer.h"

#include <utility>

namespace World {

using Simulator::SendBytes;

Simulator::Action sending(Bytes bytes) {
    return sendingInPieces(std::move(bytes), 0);
}

Simulator::Action sendingInPieces(Bytes bytes, std::size_t pieceBytes, std::chrono::milliseconds pause) {
    const std::size_t length = bytes.size();
    return SendBytes{std::make_shared<const Bytes>(std::move(bytes)), length, pieceBytes, pause};
}

Simulator::Action sendingEndlessly(Bytes bytes) {
    const std::size_t length = bytes.size();
    return SendBytes{std::make_shared<const Bytes>(std::move(bytes)), length, 0, {}, true};
}

class Peer::Conversation final : public Simulator::Session {
public:
    explicit Conversation(Peer& peer) : peer_(peer) { due_.push_back(peer.greeting_); }

    void append(Simulator::ByteView input) override {
        peer_.requests_.emplace_back(input.begin(), input.end());
        due_.emplace_back();
        if (!peer_.script_.empty()) {
            due_.back() = std::move(peer_.script_.front());
            peer_.script_.pop_front();
        }
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

Peer& Peer::act(Actions actions) {
    script_.push_back(std::move(actions));
    return *this;
}

Peer& Peer::greet(Actions actions) {
    greeting_ = std::move(actions);
    return *this;
}

std::vector<std::string> Peer::texts() const {
    std::vector<std::string> all;
    for (const Bytes& request : requests_)
        all.emplace_back(request.begin(), request.end());
    return all;
}

std::unique_ptr<Simulator::Session> Peer::accept() {
    return std::make_unique<Conversation>(*this);
}

} // namespace World
