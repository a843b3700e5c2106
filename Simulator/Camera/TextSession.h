#pragma once
// One client's conversation in the text language: bracketed queries, each answered with a bracketed reply.

#include "Camera/Session.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Simulator {

/// A query may arrive in pieces, and several may arrive at once. What stands between
/// one query and the next is dropped; a query that never closes its bracket is given up after `longestQuery`
/// bytes, and the connection with it. A query of no known word is answered with "[Unknown]", an unknown key
/// with nothing.
class TextSession : public Session {
public:
    static constexpr std::size_t longestQuery = 1024;

    /// `camera` outlives the session.
    explicit TextSession(Camera& camera) : camera_(camera) {}

    void append(ByteView input) override;
    std::optional<Reaction> next() override;
    std::size_t waitingBytes() const override { return input_.size(); }

private:
    Reaction answer(std::string_view query);
    Reaction giveUp();

    Camera& camera_;
    std::string input_;
    SharedBytes before_; ///< what was due to the message before; null to the first
    bool closed_ = false;
};

} // namespace Simulator
