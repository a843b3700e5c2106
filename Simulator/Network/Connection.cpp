#include "Network/Connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace Simulator {

namespace {

bool triedAgainLater() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

std::string reason() {
    return std::generic_category().message(errno);
}

} // namespace

Connection::Connection(Socket socket, std::string name, std::unique_ptr<Session> session, const EventLog& log)
    : m_socket(std::move(socket)), m_name(std::move(name)), m_session(std::move(session)), m_log(log) {
    m_log(m_name + " connected");
}

short Connection::wantedEvents() const {
    short events = 0;
    if (!m_inputEnded && m_session->waitingBytes() < mostWaitingBytes)
        events |= POLLIN;
    if (!m_pausedUntil && !m_actions.empty())
        events |= POLLOUT;
    return events;
}

void Connection::advance(short events, Clock::time_point now) {
    // Our side is open, so that a hang-up means a reset: nobody is left to read an answer.
    if ((events & (POLLERR | POLLHUP | POLLNVAL)) != 0)
        return end("connection lost");
    if ((events & POLLIN) != 0)
        readInput();
    if (m_pausedUntil && now >= *m_pausedUntil)
        m_pausedUntil.reset();
    m_hasMore = false;
    if (!m_over && !m_pausedUntil)
        work(now);
}

void Connection::readInput() {
    std::array<std::uint8_t, mostWaitingBytes> buffer{};
    const ssize_t count = recv(descriptor(), buffer.data(), buffer.size(), 0);
    if (count > 0)
        m_session->append(ByteView(buffer).first(static_cast<std::size_t>(count)));
    else if (count == 0)
        m_inputEnded = true;
    else if (!triedAgainLater())
        end("connection lost: " + reason());
}

void Connection::work(Clock::time_point now) {
    m_left = {};
    while (!m_over && m_left.steps > 0) {
        --m_left.steps;
        const Step step = m_actions.empty() ? answerNext() : carryOutFirst(now);
        if (step == Step::Wait)
            return;
    }
    m_hasMore = !m_over;
}

Connection::Step Connection::answerNext() {
    const std::optional<Reaction> reaction = m_session->next();
    if (!reaction) {
        m_hasMore = m_session->isWorking();
        if (m_inputEnded && !m_hasMore)
            end("disconnected");
        return Step::Wait;
    }
    for (const std::string& event : reaction->events)
        m_log(m_name + " " + event);
    std::ranges::copy(reaction->actions, std::back_inserter(m_actions));
    return Step::Done;
}

Connection::Step Connection::carryOutFirst(Clock::time_point now) {
    if (carryOut(m_actions.front(), now) == Step::Wait)
        return Step::Wait;
    m_actions.pop_front();
    m_sent = 0;
    return Step::Done;
}

Connection::Step Connection::carryOut(Action& action, Clock::time_point now) {
    if (auto* const sending = std::get_if<SendBytes>(&action))
        return send(*sending, now);
    if (auto* const pause = std::get_if<Pause>(&action)) {
        if (pause->length.count() == 0)
            return Step::Done;
        m_pausedUntil = now + pause->length;
        pause->length = {};
        return Step::Wait;
    }
    if (std::holds_alternative<ResetConnection>(action)) {
        const linger atOnce{1, 0};
        setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        end("reset");
        return Step::Wait;
    }
    // The end goes out before the socket is closed: to a client that is still sending, closing alone is a
    // reset.
    shutdown(descriptor(), SHUT_WR);
    end("closed");
    return Step::Wait;
}

Connection::Step Connection::send(SendBytes& sending, Clock::time_point now) {
    for (; m_sent < sending.length; --m_left.steps) {
        if (m_left.steps <= 0 || m_left.bytes == 0)
            return Step::Wait; // until the next turn, which comes as the client can take more
        const std::size_t left = std::min(sending.length - m_sent, m_left.bytes);
        const std::size_t pieceLeft =
            sending.pieceBytes == 0 ? left : sending.pieceBytes - m_sent % sending.pieceBytes;
        const ssize_t count =
            ::send(descriptor(), sending.bytes->data() + m_sent, std::min(left, pieceLeft), MSG_NOSIGNAL);
        if (count < 0 && !triedAgainLater())
            end("connection lost: " + reason());
        if (count < 0)
            return Step::Wait;
        m_sent += static_cast<std::size_t>(count);
        m_left.bytes -= static_cast<std::size_t>(count);
        if (sending.endless)
            m_sent %= sending.length;
        const bool pieceDone = sending.pieceBytes != 0 && m_sent % sending.pieceBytes == 0;
        if (pieceDone && m_sent < sending.length && sending.pause.count() > 0) {
            m_pausedUntil = now + sending.pause;
            return Step::Wait;
        }
    }
    return Step::Done;
}

void Connection::end(const std::string& why) {
    if (!m_over)
        m_log(m_name + " " + why);
    m_over = true;
}

} // namespace Simulator
