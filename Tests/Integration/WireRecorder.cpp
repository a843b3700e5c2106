#include "WireRecorder.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace Integration {

namespace {

constexpr int pollMs = 20;

void require(bool fine, const char* what) {
    if (!fine)
        throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in endpoint(const std::string& address, int port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(static_cast<std::uint16_t>(port));
    require(inet_pton(AF_INET, address.c_str(), &result.sin_addr) == 1, "address");
    return result;
}

/// Moves what has come. False where this side has ended.
bool pass(int from, int to, std::string& note) {
    std::array<char, 65536> buffer{};
    const ssize_t count = recv(from, buffer.data(), buffer.size(), 0);
    if (count <= 0)
        return false;
    note.append(buffer.data(), static_cast<std::size_t>(count));
    for (ssize_t sent = 0; sent < count;) {
        const ssize_t now =
            send(to, buffer.data() + sent, static_cast<std::size_t>(count - sent), MSG_NOSIGNAL);
        if (now <= 0)
            return false;
        sent += now;
    }
    return true;
}

} // namespace

WireRecorder::WireRecorder(const std::string& address, int port, const std::string& servedPort)
    : servedPort_(std::stoi(servedPort)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(listener_ >= 0, "socket");
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in here = endpoint(address, port);
    require(bind(listener_, reinterpret_cast<const sockaddr*>(&here), sizeof here) == 0, "bind");
    require(listen(listener_, 8) == 0, "listen");
    thread_ = std::thread([this] { run(); });
}

WireRecorder::~WireRecorder() {
    stopAndTellAsked();
    close(listener_);
}

const std::string& WireRecorder::stopAndTellAsked() {
    stopping_ = true;
    if (thread_.joinable())
        thread_.join();
    return asked_;
}

void WireRecorder::run() {
    while (!stopping_) {
        pollfd waiting{listener_, POLLIN, 0};
        if (poll(&waiting, 1, pollMs) <= 0)
            continue;
        const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            continue;
        relay(client);
        close(client);
    }
}

void WireRecorder::relay(int client) {
    const int camera = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in there = endpoint("127.0.0.1", servedPort_);
    bool open = camera >= 0 && connect(camera, reinterpret_cast<const sockaddr*>(&there), sizeof there) == 0;
    while (open && !stopping_) {
        std::array<pollfd, 2> watched{pollfd{client, POLLIN, 0}, pollfd{camera, POLLIN, 0}};
        if (poll(watched.data(), watched.size(), pollMs) <= 0)
            continue;
        if (watched[0].revents != 0)
            open = pass(client, camera, asked_);
        if (open && watched[1].revents != 0)
            open = pass(camera, client, answered_);
    }
    if (camera >= 0)
        close(camera);
}

} // namespace Integration
