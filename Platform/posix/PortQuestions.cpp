#include "Platform/PortQuestions.h"

#include "Platform/Terminal.h"
#include "SystemText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace Platform {

namespace {

using Outcome = PortAnswer::Outcome;

constexpr auto longestPause = 100ms; // so that an interrupt is seen

Outcome outcomeOf(int error) {
    switch (error) {
    case ECONNREFUSED:
    case ECONNRESET: // somebody answered, and wants no connection
        return Outcome::refused;
    case ETIMEDOUT:
        return Outcome::silent;
    case EHOSTUNREACH:
    case ENETUNREACH:
    case ENETDOWN:
    case EHOSTDOWN:
    case EACCES: // a route that forbids it
    case EPERM:  // a firewall of this system's
        return Outcome::unreachable;
    default:
        return Outcome::failed;
    }
}

/// One question on its way. Closes its connection.
class Conversation {
public:
    Conversation(const PortQuestion& question, PortAnswer& answer) : question_(&question), answer_(&answer) {
        descriptor_ = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
        if (descriptor_ < 0)
            endWith(errno);
        else
            connect();
    }
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;
    Conversation(Conversation&& other) noexcept
        : question_(other.question_), answer_(other.answer_),
          descriptor_(std::exchange(other.descriptor_, -1)) {}
    Conversation& operator=(Conversation&& other) noexcept {
        std::swap(question_, other.question_);
        std::swap(answer_, other.answer_);
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Conversation() { end(); }

    bool isOver() const { return descriptor_ < 0; }

    pollfd waiting() const {
        const bool isOpen = answer_->outcome == Outcome::open;
        return {.fd = descriptor_, .events = static_cast<short>(isOpen ? POLLIN : POLLOUT), .revents = 0};
    }

    /// Something has come.
    void goOn() {
        if (answer_->outcome == Outcome::open)
            return read();
        int error = 0;
        socklen_t length = sizeof error;
        if (getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &length) != 0)
            error = errno;
        error == 0 ? ask() : endWith(error);
    }

private:
    void connect() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(question_->port);
        address.sin_addr.s_addr = question_->address;
        answer_->outcome = Outcome::silent;
        if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            ask();
        // An interrupted connect goes on in the background like one that would block.
        else if (errno != EINPROGRESS && errno != EINTR)
            endWith(errno);
    }

    void end() {
        if (descriptor_ >= 0)
            close(descriptor_);
        descriptor_ = -1;
    }

    void endWith(int error) {
        answer_->outcome = outcomeOf(error);
        answer_->reason = textOf(error);
        end();
    }

    /// Connected. The question fits into any connection's buffer.
    void ask() {
        answer_->outcome = Outcome::open;
        if (question_->text.empty())
            return end();
        answer_->ended = send(descriptor_, question_->text.data(), question_->text.size(), MSG_NOSIGNAL) < 0;
        if (answer_->ended)
            end();
    }

    void read() {
        std::string& text = answer_->text;
        std::array<char, portAnswerBytes> piece{};
        const ssize_t count = recv(descriptor_, piece.data(), portAnswerBytes - text.size(), 0);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        answer_->ended = count <= 0;
        text.append(piece.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        const bool isComplete = text.find(question_->last) != std::string::npos;
        if (answer_->ended || isComplete || text.size() == portAnswerBytes)
            end();
    }

    const PortQuestion* question_;
    PortAnswer* answer_;
    int descriptor_ = -1;
};

/// Waits until one of them can go on, or for a while, and has those do so that can.
void goOn(std::vector<Conversation>& conversations, Clock::time_point deadline) {
    std::vector<pollfd> waiting;
    waiting.reserve(conversations.size());
    for (const Conversation& each : conversations)
        waiting.push_back(each.waiting());
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    const auto pause = std::clamp<std::chrono::milliseconds>(left, 0ms, longestPause);
    if (poll(waiting.data(), waiting.size(), static_cast<int>(pause.count())) <= 0)
        return;
    for (std::size_t at = 0; at < waiting.size(); ++at)
        if (waiting[at].revents != 0)
            conversations[at].goOn();
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
