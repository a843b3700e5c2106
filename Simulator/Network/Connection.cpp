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
    : socket_(std::move(socket)), name_(std::move(name)), session_(std::move(session)), log_(log) {
    log_(name_ + " connected");
}

short Connection::wantedEvents() const {
    short events = 0;
    if (!inputEnded_ && session_->waitingBytes() < mostWaitingBytes)
        events |= POLLIN;
    if (!pausedUntil_ && !actions_.empty())
        events |= POLLOUT;
    return events;
}

void Connection::advance(short events, Clock::time_point now) {
    // Our side is open, so that a hang-up means a reset: nobody is left to read an answer.
    if ((events & (POLLERR | POLLHUP | POLLNVAL)) != 0)
        return end("connection lost");
    if ((events & POLLIN) != 0)
        readInput();
    if (pausedUntil_ && now >= *pausedUntil_)
        pausedUntil_.reset();
    hasMore_ = false;
    if (!over_ && !pausedUntil_)
        work(now);
}

void Connection::readInput() {
    std::array<std::uint8_t, mostWaitingBytes> buffer{};
    const ssize_t count = recv(descriptor(), buffer.data(), buffer.size(), 0);
    if (count > 0)
        session_->append(ByteView(buffer).first(static_cast<std::size_t>(count)));
    else if (count == 0)
        inputEnded_ = true;
    else if (!triedAgainLater())
        end("connection lost: " + reason());
}

void Connection::work(Clock::time_point now) {
    left_ = {};
    while (!over_ && left_.steps > 0) {
        --left_.steps;
        const Step step = actions_.empty() ? answerNext() : carryOutFirst(now);
        if (step == Step::wait)
            return;
    }
    hasMore_ = !over_;
}

Connection::Step Connection::answerNext() {
    const std::optional<Reaction> reaction = session_->next();
    if (!reaction) {
        hasMore_ = session_->isWorking();
        if (inputEnded_ && !hasMore_)
            end("disconnected");
        return Step::wait;
    }
    for (const std::string& event : reaction->events)
        log_(name_ + " " + event);
    std::ranges::copy(reaction->actions, std::back_inserter(actions_));
    return Step::done;
}

Connection::Step Connection::carryOutFirst(Clock::time_point now) {
    if (carryOut(actions_.front(), now) == Step::wait)
        return Step::wait;
    actions_.pop_front();
    sent_ = 0;
    return Step::done;
}

Connection::Step Connection::carryOut(Action& action, Clock::time_point now) {
    if (auto* const sending = std::get_if<SendBytes>(&action))
        return send(*sending, now);
    if (auto* const pause = std::get_if<Pause>(&action)) {
        if (pause->length.count() == 0)
            return Step::done;
        pausedUntil_ = now + pause->length;
        pause->length = {};
        return Step::wait;
    }
    if (std::holds_alternative<ResetConnection>(action)) {
        const linger atOnce{1, 0};
        setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        end("reset");
        return Step::wait;
    }
    // The end goes out before the socket is closed: to a client that is still sending, closing alone is a
    // reset.
    shutdown(descriptor(), SHUT_WR);
    end("closed");
    return Step::wait;
}

Connection::Step Connection::send(SendBytes& sending, Clock::time_point now) {
    for (; sent_ < sending.length; --left_.steps) {
        if (left_.steps <= 0 || left_.bytes == 0)
            return Step::wait; // until the next turn, which comes as the client can take more
        const std::size_t left = std::min(sending.length - sent_, left_.bytes);
        const std::size_t pieceLeft =
            sending.pieceBytes == 0 ? left : sending.pieceBytes - sent_ % sending.pieceBytes;
        const ssize_t count =
            ::send(descriptor(), sending.bytes->data() + sent_, std::min(left, pieceLeft), MSG_NOSIGNAL);
        if (count < 0 && !triedAgainLater())
            end("connection lost: " + reason());
        if (count < 0)
            return Step::wait;
        sent_ += static_cast<std::size_t>(count);
        left_.bytes -= static_cast<std::size_t>(count);
        if (sending.endless)
            sent_ %= sending.length;
        const bool pieceDone = sending.pieceBytes != 0 && sent_ % sending.pieceBytes == 0;
        if (pieceDone && sent_ < sending.length && sending.pause.count() > 0) {
            pausedUntil_ = now + sending.pause;
            return Step::wait;
        }
    }
    return Step::done;
}

void Connection::end(const std::string& why) {
    if (!over_)
        log_(name_ + " " + why);
    over_ = true;
}

} // namespace Simulator
