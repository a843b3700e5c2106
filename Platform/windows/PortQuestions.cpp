// As many sockets as are asked at a time; before any of the system's headers.
#define FD_SETSIZE 256

#include "Platform/PortQuestions.h"

#include "Platform/Terminal.h"
#include "Sockets.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace Platform {

namespace {

using Outcome = PortAnswer::Outcome;

static_assert(FD_SETSIZE >= portsAtATime);

constexpr auto longestPause = 100ms; // so that an interrupt is seen

Outcome outcomeOf(DWORD error) {
    switch (error) {
    case WSAECONNREFUSED:
    case WSAECONNRESET: // somebody answered, and wants no connection
        return Outcome::refused;
    case WSAETIMEDOUT:
        return Outcome::silent;
    case WSAEHOSTUNREACH:
    case WSAENETUNREACH:
    case WSAENETDOWN:
    case WSAEHOSTDOWN:
    case WSAEACCES: // a firewall of this system's
        return Outcome::unreachable;
    default:
        return Outcome::failed;
    }
}

/// One question on its way. Closes its connection.
class Conversation {
public:
    Conversation(const PortQuestion& question, PortAnswer& answer)
        : question_(&question), answer_(&answer), socket_(openSocket(SOCK_STREAM)) {
        if (socket_ == INVALID_SOCKET)
            endWith(lastSocketError());
        else
            connect();
    }
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;
    Conversation(Conversation&& other) noexcept
        : question_(other.question_), answer_(other.answer_),
          socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
    Conversation& operator=(Conversation&& other) noexcept {
        std::swap(question_, other.question_);
        std::swap(answer_, other.answer_);
        std::swap(socket_, other.socket_);
        return *this;
    }
    ~Conversation() { end(); }

    bool isOver() const { return socket_ == INVALID_SOCKET; }
    SOCKET socket() const { return socket_; }
    bool isOpen() const { return answer_->outcome == Outcome::open; }

    /// Something has come.
    void goOn() {
        if (isOpen())
            return read();
        const DWORD error = errorOf(socket_);
        error == 0 ? ask() : endWith(error);
    }

private:
    void connect() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(question_->port);
        address.sin_addr.s_addr = question_->address;
        answer_->outcome = Outcome::silent;
        if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            ask();
        else if (lastSocketError() != WSAEWOULDBLOCK)
            endWith(lastSocketError());
    }

    void end() {
        if (!isOver())
            closesocket(socket_);
        socket_ = INVALID_SOCKET;
    }

    void endWith(DWORD error) {
        answer_->outcome = outcomeOf(error);
        answer_->reason = textOf(error);
        end();
    }

    /// Connected. The question fits into any connection's buffer.
    void ask() {
        answer_->outcome = Outcome::open;
        if (question_->text.empty())
            return end();
        answer_->ended =
            send(socket_, question_->text.data(), static_cast<int>(question_->text.size()), 0) < 0;
        if (answer_->ended)
            end();
    }

    void read() {
        std::string& text = answer_->text;
        std::array<char, portAnswerBytes> piece{};
        const int count = recv(socket_, piece.data(), static_cast<int>(portAnswerBytes - text.size()), 0);
        if (count < 0 && lastSocketError() == WSAEWOULDBLOCK)
            return;
        answer_->ended = count <= 0;
        text.append(piece.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        const bool isComplete = text.find(question_->last) != std::string::npos;
        if (answer_->ended || isComplete || text.size() == portAnswerBytes)
            end();
    }

    const PortQuestion* question_;
    PortAnswer* answer_;
    SOCKET socket_;
};

void add(SOCKET socket, fd_set& set) {
    set.fd_array[set.fd_count++] = socket;
}

/// Waits until one of them can go on, or for a while, and has those do so that can.
void goOn(std::vector<Conversation>& conversations, Clock::time_point deadline) {
    fd_set readable{};
    fd_set writable{};
    fd_set failed{};
    for (const Conversation& each : conversations) {
        add(each.socket(), each.isOpen() ? readable : writable);
        if (!each.isOpen()) // else an urgent byte would be an exception, until it is read
            add(each.socket(), failed);
    }
    timeval pause = timeUntil(deadline, longestPause);
    const int ready = select(0, &readable, &writable, &failed, &pause);
    if (ready < 0)
        Sleep(static_cast<DWORD>(longestPause.count())); // what fails at once is not tried again at once
    if (ready <= 0)
        return;
    for (Conversation& each : conversations)
        if (FD_ISSET(each.socket(), &readable) || FD_ISSET(each.socket(), &writable) ||
            FD_ISSET(each.socket(), &failed))
            each.goOn();
}

} // namespace

std::vector<PortAnswer> askPorts(const std::vector<PortQuestion>& questions, Clock::time_point deadline) {
    std::vector<PortAnswer> answers(questions.size());
    std::vector<Conversation> conversations;
    std::size_t next = 0;
    while ((next < questions.size() || !conversations.empty()) && Clock::now() < deadline && !interrupted()) {
        for (; next < questions.size() && conversations.size() < portsAtATime; ++next)
            conversations.emplace_back(questions[next], answers[next]);
        std::erase_if(conversations, [](const Conversation& each) { return each.isOver(); });
        if (!conversations.empty())
            goOn(conversations, deadline);
    }
    return answers;
}

} // namespace Platform
