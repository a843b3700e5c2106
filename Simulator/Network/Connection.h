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

    int descriptor() const { return m_socket.descriptor(); }

    /// The poll(2) events to wait for now.
    short wantedEvents() const;

    /// When to go on without any event; nothing while only the client can bring it on.
    std::optional<Clock::time_point> wakeTime() const {
        return m_hasMore ? Clock::time_point::min() : m_pausedUntil;
    }

    /// Reads, answers and sends what can be done now and in one turn, given the poll(2) events that came.
    void advance(short events, Clock::time_point now);

    /// Ends the connection, because serving it failed.
    void abandon(const std::string& why) { end("given up: " + why); }

    /// True once the connection is over and can be destroyed.
    bool isOver() const { return m_over; }

private:
    enum class Step { Done, Wait };

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

    Socket m_socket;
    std::string m_name;
    std::unique_ptr<Session> m_session;
    const EventLog& m_log;
    bool m_over = false;
    bool m_inputEnded = false;
    bool m_hasMore = false; ///< the turn was over before the work was
    Allowance m_left;
    std::deque<Action> m_actions;
    std::size_t m_sent = 0; ///< of the SendBytes at the front
    std::optional<Clock::time_point> m_pausedUntil;
};

} // namespace Simulator
