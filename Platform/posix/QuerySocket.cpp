#include "Platform/QuerySocket.h"

#include "Platform/Terminal.h"
#include "SystemText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace Platform {

namespace {

constexpr auto longestPause = 100ms; // so that an interrupt is seen

bool switchOn(int descriptor, int level, int name) {
    const int on = 1;
    return setsockopt(descriptor, level, name, &on, sizeof on) == 0;
}

/// Room for what the system tells of a datagram's adapter, or is told.
union AdapterNote {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
};

/// Of a datagram that was received; 0 if the system did not tell.
unsigned adapterOf(msghdr& message) {
    for (cmsghdr* each = CMSG_FIRSTHDR(&message); each != nullptr; each = CMSG_NXTHDR(&message, each)) {
        if (each->cmsg_level != IPPROTO_IP || each->cmsg_type != IP_PKTINFO)
            continue;
        in_pktinfo place{};
        std::memcpy(&place, CMSG_DATA(each), sizeof place);
        return static_cast<unsigned>(place.ipi_ifindex);
    }
    return 0;
}

int descriptorOf(std::intptr_t handle) {
    return static_cast<int>(handle);
}

} // namespace

QuerySocket::QuerySocket() : handle_(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    if (handle_ < 0 || !switchOn(descriptorOf(handle_), SOL_SOCKET, SO_BROADCAST) ||
        !switchOn(descriptorOf(handle_), IPPROTO_IP, IP_PKTINFO))
        failure_ = textOf(errno);
}

QuerySocket::~QuerySocket() {
    if (handle_ >= 0)
        close(descriptorOf(handle_));
}

std::string QuerySocket::send(std::string_view text, std::uint32_t to, std::uint16_t port,
                              unsigned adapterIndex) {
    if (!failure_.empty())
        return failure_;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = to;
    iovec bytes{.iov_base = const_cast<char*>(text.data()), .iov_len = text.size()};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;

    AdapterNote note{};
    if (adapterIndex != 0) {
        message.msg_control = note.bytes;
        message.msg_controllen = sizeof note.bytes;
        note.header.cmsg_level = IPPROTO_IP;
        note.header.cmsg_type = IP_PKTINFO;
        note.header.cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
        in_pktinfo place{};
        place.ipi_ifindex = static_cast<int>(adapterIndex);
        std::memcpy(CMSG_DATA(&note.header), &place, sizeof place);
    }
    ssize_t sent = 0;
    do
        sent = sendmsg(descriptorOf(handle_), &message, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    if (sent < 0 && (errno == EACCES || errno == EPERM))
        return notPermitted;
    return sent < 0 ? textOf(errno) : std::string();
}

std::optional<QuerySocket::Datagram> QuerySocket::receive(Clock::time_point deadline) {
    if (!failure_.empty())
        return std::nullopt;
    for (;;) {
        std::array<char, datagramBytes> buffer{};
        sockaddr_in source{};
        AdapterNote note{};
        iovec room{.iov_base = buffer.data(), .iov_len = buffer.size()};
        msghdr message{};
        message.msg_name = &source;
        message.msg_namelen = sizeof source;
        message.msg_iov = &room;
        message.msg_iovlen = 1;
        message.msg_control = note.bytes;
        message.msg_controllen = sizeof note.bytes;
        const ssize_t received = recvmsg(descriptorOf(handle_), &message, 0);
        if (received >= 0)
            return Datagram{source.sin_addr.s_addr, adapterOf(message),
                            std::string(buffer.data(), static_cast<std::size_t>(received))};

        // Whatever else is wrong goes by, or does not until the deadline.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left <= 0ms || interrupted())
            return std::nullopt;
        pollfd waiting{.fd = descriptorOf(handle_), .events = POLLIN, .revents = 0};
        poll(&waiting, 1, static_cast<int>(std::min<std::chrono::milliseconds>(left, longestPause).count()));
    }
}

} // namespace Platform
