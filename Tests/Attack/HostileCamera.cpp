#include "HostileCamera.h"

#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace Attack {

namespace {

constexpr std::uint16_t textPort = 32768;
constexpr std::uint16_t binaryPort = 32769;
constexpr int longestSendMs = 1000;
constexpr std::chrono::seconds longestEnd{5};
constexpr std::size_t headerBytes = 6;
enum class Code : std::uint8_t { exposure = 2, take = 5, get = 6 };

/// The bytes of the first whole request, which leave `unread`; none where there is none yet.
Bytes takeRequest(Bytes& unread, bool isText) {
    const auto end = std::ranges::find(unread, ']');
    std::size_t length = static_cast<std::size_t>(end - unread.begin()) + 1;
    if (!isText)
        length = unread.size() < headerBytes ? headerBytes : unread[3] * 256U + unread[4];
    if (unread.size() < length)
        return {};
    Bytes request(unread.begin(), unread.begin() + static_cast<std::ptrdiff_t>(length));
    unread.erase(unread.begin(), unread.begin() + static_cast<std::ptrdiff_t>(length));
    return request;
}

/// False where the other end is gone, or takes nothing.
bool send(const Simulator::Socket& socket, const Answer& answer) {
    const std::size_t piece = answer.piece == 0 ? answer.bytes.size() : answer.piece;
    for (std::size_t at = 0; at < answer.bytes.size();) {
        pollfd wait{socket.descriptor(), POLLOUT, 0};
        if (poll(&wait, 1, longestSendMs) <= 0)
            return false;
        const ssize_t sent = ::send(socket.descriptor(), answer.bytes.data() + at,
                                    std::min(piece, answer.bytes.size() - at), MSG_NOSIGNAL);
        if (sent < 0)
            return false;
        at += static_cast<std::size_t>(sent);
        if (answer.piece != 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // the next piece comes by itself
    }
    return true;
}

} // namespace

HostileCamera::HostileCamera(const Integration::CameraNetworks& networks, std::size_t index) {
    const std::string& address = networks.addressOf(index);
    networks.within(index, [&] {
        listeners_ = {Simulator::listenTcp(address, textPort), Simulator::listenTcp(address, binaryPort)};
        if (!networks.areOwn())
            return;
        const std::string everybody = address.substr(0, address.rfind('.')) + ".255";
        queries_ = Simulator::bindUdp(everybody, textPort);
        replies_ = Simulator::bindUdp(address, textPort);
    });
    thread_ = std::thread([this] { run(); });
}

HostileCamera::~HostileCamera() {
    stop_.second = Simulator::Socket();
    thread_.join();
}

void HostileCamera::play(Script script) {
    const std::lock_guard lock(mutex_);
    scene_ = std::make_shared<Scene>(std::move(script));
}

void HostileCamera::awaitEnds() const {
    const auto deadline = std::chrono::steady_clock::now() + longestEnd;
    while (open_ != 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // its own thread sees them
}

std::shared_ptr<Scene> HostileCamera::scene() const {
    const std::lock_guard lock(mutex_);
    return scene_;
}

void HostileCamera::run() {
    for (;;) {
        std::vector<pollfd> waits;
        for (const auto* socket : {&stop_.first, &queries_, &listeners_[0], &listeners_[1]})
            waits.push_back({socket->descriptor(), POLLIN, 0});
        for (const Client& client : clients_)
            waits.push_back({client.socket.descriptor(), POLLIN, 0});
        poll(waits.data(), waits.size(), -1);
        if (waits[0].revents != 0)
            return;
        answerQuery();
        std::erase_if(clients_, [this](Client& client) { return !serve(client); });
        for (std::size_t i = 0; i < listeners_.size(); ++i)
            if (auto [socket, name] = Simulator::acceptClient(listeners_[i]); socket.isOpen())
                clients_.push_back({std::move(socket), i == 0, scene()});
        open_ = clients_.size();
    }
}

void HostileCamera::answerQuery() const {
    std::array<char, 64> query{};
    sockaddr_in asker{};
    socklen_t length = sizeof asker;
    auto* const peer = reinterpret_cast<sockaddr*>(&asker);
    if (!queries_.isOpen() ||
        recvfrom(queries_.descriptor(), query.data(), query.size(), 0, peer, &length) < 0)
        return;
    const auto now = scene();
    for (const std::string& datagram : now->script.datagrams)
        static_cast<void>(
            sendto(replies_.descriptor(), datagram.data(), datagram.size(), MSG_NOSIGNAL, peer, length));
}

/// False once the connection is over.
bool HostileCamera::serve(Client& client) {
    std::array<std::uint8_t, 512> bytes{};
    const ssize_t count = recv(client.socket.descriptor(), bytes.data(), bytes.size(), 0);
    if (count == 0 || (count < 0 && errno != EAGAIN))
        return false;
    if (count > 0)
        client.unread.insert(client.unread.end(), bytes.begin(), bytes.begin() + count);
    for (;;) {
        const Bytes request = takeRequest(client.unread, client.isText);
        if (request.empty())
            return true;
        if (request[headerBytes] == static_cast<std::uint8_t>(Code::exposure))
            exposure_ = request[11] * 256U + request[12];
        const Answer& answer = client.scene->answerTo(request);
        if (!send(client.socket, answer) || answer.closes)
            return false;
    }
}

const Answer& Scene::answerTo(const Bytes& request) {
    if (request[0] == '[')
        return script.texts[request[1] == 'V' ? 0 : request[1] == 'S' ? 1 : 2];
    const Code code{request[headerBytes]};
    attempts += code == Code::exposure ? 1 : 0;
    const auto& attempt = script.attempts[attempts % 2 == 0 ? 1 : 0];
    switch (code) {
    case Code::exposure:
        return attempt[0];
    case Code::take:
        return attempt[1];
    case Code::get:
        return attempt[2];
    default:
        return script.probe;
    }
}

} // namespace Attack
