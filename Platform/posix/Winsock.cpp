#include "Platform/WinsockNames.h"

namespace {

// Windows's numbers, set aside before the C library's macros take their names.
constexpr int windowsSocketLevel = Platform::Winsock::SOL_SOCKET;
constexpr int windowsBroadcast = Platform::Winsock::SO_BROADCAST;
constexpr int windowsReceiveTimeout = Platform::Winsock::SO_RCVTIMEO;

} // namespace

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using namespace std::chrono;
namespace Winsock = Platform::Winsock;

constexpr WORD newestVersion = 0x0202;

std::atomic<int> users{0};

struct ErrorPair {
    int system;
    int windows;
};

constexpr std::array errorPairs{
    ErrorPair{EINTR, Winsock::WSAEINTR},
    ErrorPair{EACCES, Winsock::WSAEACCES},
    ErrorPair{EPERM, Winsock::WSAEACCES},
    ErrorPair{EFAULT, Winsock::WSAEFAULT},
    ErrorPair{EINVAL, Winsock::WSAEINVAL},
    ErrorPair{EMFILE, Winsock::WSAEMFILE},
    ErrorPair{ENFILE, Winsock::WSAEMFILE},
    ErrorPair{EAGAIN, Winsock::WSAEWOULDBLOCK},
    ErrorPair{EBADF, Winsock::WSAENOTSOCK},
    ErrorPair{ENOTSOCK, Winsock::WSAENOTSOCK},
    ErrorPair{EDESTADDRREQ, Winsock::WSAEDESTADDRREQ},
    ErrorPair{EMSGSIZE, Winsock::WSAEMSGSIZE},
    ErrorPair{ENOPROTOOPT, Winsock::WSAENOPROTOOPT},
    ErrorPair{EPROTONOSUPPORT, Winsock::WSAEPROTONOSUPPORT},
    ErrorPair{ESOCKTNOSUPPORT, Winsock::WSAESOCKTNOSUPPORT},
    ErrorPair{EOPNOTSUPP, Winsock::WSAEOPNOTSUPP},
    ErrorPair{EAFNOSUPPORT, Winsock::WSAEAFNOSUPPORT},
    ErrorPair{EADDRINUSE, Winsock::WSAEADDRINUSE},
    ErrorPair{EADDRNOTAVAIL, Winsock::WSAEADDRNOTAVAIL},
    ErrorPair{ENETDOWN, Winsock::WSAENETDOWN},
    ErrorPair{ENETUNREACH, Winsock::WSAENETUNREACH},
    ErrorPair{ENETRESET, Winsock::WSAENETRESET},
    ErrorPair{ECONNRESET, Winsock::WSAECONNRESET},
    ErrorPair{ENOBUFS, Winsock::WSAENOBUFS},
    ErrorPair{ENOMEM, Winsock::WSAENOBUFS},
    ErrorPair{ETIMEDOUT, Winsock::WSAETIMEDOUT},
    ErrorPair{ECONNREFUSED, Winsock::WSAECONNREFUSED},
    ErrorPair{EHOSTDOWN, Winsock::WSAEHOSTDOWN},
    ErrorPair{EHOSTUNREACH, Winsock::WSAEHOSTUNREACH},
};

int failWith(int code) {
    SetLastError(static_cast<DWORD>(code));
    return Winsock::SOCKET_ERROR;
}

/// Fails with what errno says.
int failAsSystem() {
    const auto pair = std::find_if(errorPairs.begin(), errorPairs.end(),
                                   [](const ErrorPair& each) { return each.system == errno; });
    return failWith(pair == errorPairs.end() ? Winsock::WSASYSCALLFAILURE : pair->windows);
}

/// The system's descriptor; -1, which it knows as none, for a value that no socket() has given.
int descriptorOf(Winsock::SOCKET socket) {
    return socket <= static_cast<Winsock::SOCKET>(std::numeric_limits<int>::max()) ? static_cast<int>(socket)
                                                                                   : -1;
}

int setSystemOption(Winsock::SOCKET socket, int name, const void* value, socklen_t bytes) {
    return ::setsockopt(descriptorOf(socket), SOL_SOCKET, name, value, bytes) == 0 ? 0 : failAsSystem();
}

int setBroadcast(Winsock::SOCKET socket, const char* value, std::size_t bytes) {
    int flag = 0;
    if (value == nullptr || bytes == 0)
        return failWith(Winsock::WSAEFAULT);
    // The system wants an int, Windows takes a single byte as well.
    std::memcpy(&flag, value, bytes < sizeof flag ? 1 : sizeof flag);
    flag = flag != 0 ? 1 : 0;
    return setSystemOption(socket, SO_BROADCAST, &flag, sizeof flag);
}

int setReceiveTimeout(Winsock::SOCKET socket, const char* value, std::size_t bytes) {
    DWORD milliseconds = 0;
    if (value == nullptr || bytes < sizeof milliseconds)
        return failWith(Winsock::WSAEFAULT);
    std::memcpy(&milliseconds, value, sizeof milliseconds);
    const timeval time{.tv_sec = static_cast<time_t>(milliseconds / 1000),
                       .tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000)};
    return setSystemOption(socket, SO_RCVTIMEO, &time, sizeof time);
}

/// The moment at which the socket's receive time-out is over; nothing if it has none.
std::optional<steady_clock::time_point> receiveDeadline(int descriptor) {
    timeval time{};
    socklen_t bytes = sizeof time;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, &bytes) != 0)
        return steady_clock::now(); // no socket: receiving will tell
    if (time.tv_sec == 0 && time.tv_usec == 0)
        return std::nullopt;
    return steady_clock::now() + seconds(time.tv_sec) + microseconds(time.tv_usec);
}

/// How long poll() has to wait, -1 without end. Rounded up, so that it never ends before the deadline.
int pollTime(const std::optional<steady_clock::time_point>& deadline) {
    if (!deadline)
        return -1;
    const auto left = ceil<milliseconds>(*deadline - steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

/// recvmsg's result. The system's own time-out begins anew after each signal, hence a deadline and poll().
ssize_t receiveBefore(const std::optional<steady_clock::time_point>& deadline, int descriptor,
                      msghdr& message) {
    for (;;) {
        const ssize_t received = ::recvmsg(descriptor, &message, MSG_DONTWAIT);
        if (received >= 0 || errno != EAGAIN)
            return received;
        if (deadline && steady_clock::now() >= *deadline) {
            errno = ETIMEDOUT;
            return -1;
        }
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        if (::poll(&waiting, 1, pollTime(deadline)) < 0 && errno != EINTR)
            return -1;
    }
}

} // namespace

namespace Platform::Winsock {

int WSAStartup(WORD version, WSADATA* data) {
    if (data == nullptr)
        return WSAEFAULT;
    const unsigned major = version & 0xFFu;
    if (major == 0)
        return WSAVERNOTSUPPORTED;
    *data = {};
    data->wVersion = major < 2 || (major == 2 && version >> 8 <= 2) ? version : newestVersion;
    data->wHighVersion = newestVersion;
    std::strcpy(data->szDescription, "WinSock 2.0");
    std::strcpy(data->szSystemStatus, "Running");
    ++users;
    return 0;
}

int WSACleanup() {
    int count = users;
    while (count > 0 && !users.compare_exchange_weak(count, count - 1)) {
    }
    return count > 0 ? 0 : failWith(WSANOTINITIALISED);
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

SOCKET socket(int family, int type, int protocol) {
    int code = 0;
    if (users == 0)
        code = WSANOTINITIALISED;
    else if (family != AF_INET)
        code = WSAEAFNOSUPPORT;
    else if (type != SOCK_DGRAM)
        code = WSAESOCKTNOSUPPORT;
    else if (protocol != 0 && protocol != IPPROTO_UDP)
        code = WSAEPROTONOSUPPORT;
    if (code != 0) {
        failWith(code);
        return INVALID_SOCKET;
    }
    const int descriptor = ::socket(AF_INET, ::SOCK_DGRAM | ::SOCK_CLOEXEC, ::IPPROTO_UDP);
    if (descriptor < 0) {
        failAsSystem();
        return INVALID_SOCKET;
    }
    return static_cast<SOCKET>(descriptor);
}

int setsockopt(SOCKET socket, int level, int name, const char* value, int length) {
    const auto bytes = static_cast<std::size_t>(std::max(length, 0));
    if (level == windowsSocketLevel && name == windowsBroadcast)
        return setBroadcast(socket, value, bytes);
    if (level == windowsSocketLevel && name == windowsReceiveTimeout)
        return setReceiveTimeout(socket, value, bytes);
    return failWith(WSAENOPROTOOPT);
}

int sendto(SOCKET socket, const char* data, int length, int flags, const sockaddr* to, int toLength) {
    sockaddr_in asked{};
    if (to == nullptr || toLength < static_cast<int>(sizeof asked))
        return failWith(WSAEFAULT);
    if (flags != 0)
        return failWith(WSAEOPNOTSUPP);
    if (length < 0)
        return failWith(WSAEINVAL);
    std::memcpy(&asked, to, sizeof asked);
    if (asked.sin_family != AF_INET)
        return failWith(WSAEAFNOSUPPORT);

    ::sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = asked.sin_port;
    address.sin_addr.s_addr = asked.sin_addr.s_addr;
    ssize_t sent = 0;
    do {
        sent = ::sendto(descriptorOf(socket), data, static_cast<std::size_t>(length), 0,
                        reinterpret_cast<const ::sockaddr*>(&address), sizeof address);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? failAsSystem() : static_cast<int>(sent);
}

int closesocket(SOCKET socket) {
    // An interrupted close has closed all the same.
    return ::close(descriptorOf(socket)) == 0 || errno == EINTR ? 0 : failAsSystem();
}

int inet_pton(int family, const char* text, void* address) {
    if (family != AF_INET)
        return failWith(WSAEAFNOSUPPORT);
    if (text == nullptr || address == nullptr)
        return failWith(WSAEFAULT);
    return ::inet_pton(AF_INET, text, address);
}

const char* inet_ntop(int family, const void* address, char* text, std::size_t textBytes) {
    if (family != AF_INET) {
        failWith(WSAEAFNOSUPPORT);
        return nullptr;
    }
    const bool given = address != nullptr && text != nullptr;
    const auto room = static_cast<socklen_t>(std::min<std::size_t>(textBytes, INET_ADDRSTRLEN));
    const char* const written = given ? ::inet_ntop(AF_INET, address, text, room) : nullptr;
    if (written == nullptr)
        SetLastError(ERROR_INVALID_PARAMETER);
    return written;
}

} // namespace Platform::Winsock

int Platform::recvfrom(Winsock::SOCKET socket, char* buffer, int length, int flags, Winsock::sockaddr* from,
                       int* fromLength) {
    Winsock::sockaddr_in sender{};
    if (from != nullptr && (fromLength == nullptr || *fromLength < static_cast<int>(sizeof sender)))
        return failWith(Winsock::WSAEFAULT);
    if (flags != 0)
        return failWith(Winsock::WSAEOPNOTSUPP);
    if (length < 0)
        return failWith(Winsock::WSAEINVAL);

    ::sockaddr_in address{};
    iovec room{.iov_base = buffer, .iov_len = static_cast<std::size_t>(length)};
    msghdr message{};
    message.msg_name = &address;
    message.msg_namelen = sizeof address;
    message.msg_iov = &room;
    message.msg_iovlen = 1;
    const int descriptor = descriptorOf(socket);
    const ssize_t received = receiveBefore(receiveDeadline(descriptor), descriptor, message);
    if (received < 0)
        return failAsSystem();
    if (from != nullptr) {
        sender.sin_family = AF_INET;
        sender.sin_port = address.sin_port;
        sender.sin_addr.s_addr = address.sin_addr.s_addr;
        std::memcpy(from, &sender, sizeof sender);
        *fromLength = sizeof sender;
    }
    return static_cast<int>(received);
}
