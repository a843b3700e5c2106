#pragma once
// One client: its socket, its session, and the actions that are still to be carried out.

#include "Camera/Session.h"
#include "Network/Socket.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Simulator {

using Clock = std::chrono::steady_clock;

/// One line of what happens, without a line end.
using EventLog = std::function<void(const std::string&)>;

/// Used by one thread; never blocks. Answers are carried out one after the other: while one is under way the
/// client's further requests wait, and no more than `mostWaitingBytes` of them are read.
class Connection {
public:
    static constexpr std::size_t mostWaitingBytes = 16384;

    /// What one turn (a call of advance) may take, so that the other clients get theirs: requests answered
    /// and pieces sent, counted together; bytes sent. A picture in the making ends the turn at each of its
    /// pieces.
    static constexpr int mostStepsPerTurn = 64;
    static constexpr std::size_t mostBytesPerTurn = std::size_t{1} << 20;

    Connection(Socket socket, std::string name, std::unique_ptr<Session> session, const EventLog& log);

    int descriptor() const { return socket_.descriptor(); }

    /// The poll(2) events to wait for now.
    short wantedEvents() const;

    /// When to go on without any event; nothing while only the client can bring it on.
    std::optional<Clock::time_point> wakeTime() const {
        return hasMore_ ? Clock::time_point::min() : pausedUntil_;
    }

    /// Reads, answers and sends what can be done now and in one turn, given the poll(2) events that came.
    void advance(short events, Clock::time_point now);

    /// Ends the connection, because serving it failed.
    void abandon(const std::string& why) { end("given up: " + why); }

    /// True once the connection is over and can be destroyed.
    bool isOver() const { return over_; }

private:
    enum class Step { done, wait };

    /// What is left of a turn.
    struct Allowance {
        int steps = mostStepsPerTurn;
        std::size_t bytes = mostBytesPerTurn;
    };

    void readInput();
    void work(Clock::time_point now);
    Step answerNext();
    Step carryOutFirst(Clock::time_point now);
    Step carryOut(Action& action, Clock::time_point now);
    Step send(SendBytes& sending, Clock::time_point now);
    void end(const std::string& why);

    Socket socket_;
    std::string name_;
    std::unique_ptr<Session> session_;
    const EventLog& log_;
    bool over_ = false;
    bool inputEnded_ = false;
    bool hasMore_ = false; ///< the turn was over before the work was
    Allowance left_;
    std::deque<Action> actions_;
    std::size_t sent_ = 0; ///< of the SendBytes at the front
    std::optional<Clock::time_point> pausedUntil_;
};

} // namespace Simulator
