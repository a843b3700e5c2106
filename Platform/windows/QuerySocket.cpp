#include "Platform/QuerySocket.h"

#include "Platform/Terminal.h"
#include "Sockets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mswsock.h>

using namespace std::chrono_literals;

namespace Platform {

namespace {

constexpr auto longestPause = 100ms; // so that an interrupt is seen

bool switchOn(SOCKET socket, int level, int name) {
    const DWORD on = 1;
    return setsockopt(socket, level, name, reinterpret_cast<const char*>(&on), sizeof on) == 0;
}

/// Room for one control message: which adapter.
union AdapterNote {
    WSACMSGHDR header;
    char bytes[WSA_CMSG_SPACE(sizeof(in_pktinfo))];
};

/// The operation that tells by which adapter a datagram came; Windows gives its address on request only.
LPFN_WSARECVMSG receiveOperation(SOCKET socket) {
    GUID name = WSAID_WSARECVMSG;
    LPFN_WSARECVMSG operation = nullptr;
    DWORD bytes = 0;
    WSAIoctl(socket, SIO_GET_EXTENSION_FUNCTION_POINTER, &name, sizeof name, &operation, sizeof operation,
             &bytes, nullptr, nullptr);
    return operation;
}

unsigned adapterOf(WSAMSG& message) {
    for (WSACMSGHDR* each = WSA_CMSG_FIRSTHDR(&message); each != nullptr;
         each = WSA_CMSG_NXTHDR(&message, each)) {
        if (each->cmsg_level != IPPROTO_IP || each->cmsg_type != IP_PKTINFO)
            continue;
        in_pktinfo place{};
        std::memcpy(&place, WSA_CMSG_DATA(each), sizeof place);
        return static_cast<unsigned>(place.ipi_ifindex);
    }
    return 0;
}

} // namespace

QuerySocket::QuerySocket() : handle_(handleOf(openSocket(SOCK_DGRAM))) {
    if (handle_ < 0 || !switchOn(socketOf(handle_), SOL_SOCKET, SO_BROADCAST) ||
        !switchOn(socketOf(handle_), IPPROTO_IP, IP_PKTINFO))
        failure_ = textOf(lastSocketError());
}

QuerySocket::~QuerySocket() {
    if (handle_ >= 0)
        closesocket(socketOf(handle_));
}

std::string QuerySocket::send(std::string_view text, std::uint32_t to, std::uint16_t port,
                              unsigned adapterIndex) {
    if (!failure_.empty())
        return failure_;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = to;
    WSABUF bytes{static_cast<ULONG>(text.size()), const_cast<char*>(text.data())};
    WSAMSG message{};
    message.name = reinterpret_cast<sockaddr*>(&address);
    message.namelen = sizeof address;
    message.lpBuffers = &bytes;
    message.dwBufferCount = 1;

    AdapterNote note{};
    if (adapterIndex != 0) {
        message.Control = {sizeof note.bytes, note.bytes};
        note.header.cmsg_level = IPPROTO_IP;
        note.header.cmsg_type = IP_PKTINFO;
        note.header.cmsg_len = WSA_CMSG_LEN(sizeof(in_pktinfo));
        in_pktinfo place{};
        place.ipi_ifindex = adapterIndex;
        std::memcpy(WSA_CMSG_DATA(&note.header), &place, sizeof place);
    }
    // What the message says of the adapter counts for broadcasts, the socket's option for all that goes to
    // one.
    const DWORD outBy = htonl(adapterIndex);
    DWORD sent = 0;
    if (setsockopt(socketOf(handle_), IPPROTO_IP, IP_UNICAST_IF, reinterpret_cast<const char*>(&outBy),
                   sizeof outBy) == 0 &&
        WSASendMsg(socketOf(handle_), &message, 0, &sent, nullptr, nullptr) == 0)
        return {};
    return lastSocketError() == WSAEACCES ? notPermitted : textOf(lastSocketError());
}

std::optional<QuerySocket::Datagram> QuerySocket::receive(Clock::time_point deadline) {
    const LPFN_WSARECVMSG receiveMessage = failure_.empty() ? receiveOperation(socketOf(handle_)) : nullptr;
    if (receiveMessage == nullptr)
        return std::nullopt;
    for (;;) {
        std::array<char, datagramBytes> buffer{};
        sockaddr_in source{};
        AdapterNote note{};
        WSABUF room{static_cast<ULONG>(buffer.size()), buffer.data()};
        WSAMSG message{};
        message.name = reinterpret_cast<sockaddr*>(&source);
        message.namelen = sizeof source;
        message.lpBuffers = &room;
        message.dwBufferCount = 1;
        message.Control = {sizeof note.bytes, note.bytes};
        DWORD received = 0;
        const bool came = receiveMessage(socketOf(handle_), &message, &received, nullptr, nullptr) == 0;
        // A longer one has filled the buffer.
        if (came || lastSocketError() == WSAEMSGSIZE)
            return Datagram{source.sin_addr.s_addr, adapterOf(message),
                            std::string(buffer.data(), came ? received : buffer.size())};

        // Whatever else is wrong goes by, or does not until the deadline.
        const auto now = Clock::now();
        if (now >= deadline || interrupted())
            return std::nullopt;
        if (waitFor(socketOf(handle_), Event::readable,
                    std::min<Clock::time_point>(deadline, now + longestPause)) == SOCKET_ERROR)
            Sleep(static_cast<DWORD>(longestPause.count())); // what fails at once is not tried again at once
    }
}

} // namespace Platform
