#pragma once
// The declarations behind Platform/Winsock.h, for the sources that need the C library's sockets as well. Not
// for Windows.
//
// The C library has functions and structures called the same and made differently, so these live in a
// namespace and are symbols of their own. Include this header before the C library's, whose macros
// (SOL_SOCKET, htons and others) stand for its own values from there on.

#include "Platform/Kernel.h"

#include <cstddef>
#include <cstdint>

#if defined(SOL_SOCKET)
#error "Include Platform's sockets before the C library's: its macros would replace their names."
#endif

namespace Platform::Winsock {

using SOCKET = std::uintptr_t;

inline constexpr SOCKET INVALID_SOCKET = ~SOCKET{0};
inline constexpr int SOCKET_ERROR = -1;

inline constexpr int AF_INET = 2;
inline constexpr int SOCK_DGRAM = 2;
inline constexpr int IPPROTO_UDP = 17;
inline constexpr int SOL_SOCKET = 0xFFFF;
inline constexpr int SO_BROADCAST = 0x0020;
inline constexpr int SO_RCVTIMEO = 0x1006;

inline constexpr int WSAEINTR = 10004;
inline constexpr int WSAEACCES = 10013;
inline constexpr int WSAEFAULT = 10014;
inline constexpr int WSAEINVAL = 10022;
inline constexpr int WSAEMFILE = 10024;
inline constexpr int WSAEWOULDBLOCK = 10035;
inline constexpr int WSAENOTSOCK = 10038;
inline constexpr int WSAEDESTADDRREQ = 10039;
inline constexpr int WSAEMSGSIZE = 10040;
inline constexpr int WSAENOPROTOOPT = 10042;
inline constexpr int WSAEPROTONOSUPPORT = 10043;
inline constexpr int WSAESOCKTNOSUPPORT = 10044;
inline constexpr int WSAEOPNOTSUPP = 10045;
inline constexpr int WSAEAFNOSUPPORT = 10047;
inline constexpr int WSAEADDRINUSE = 10048;
inline constexpr int WSAEADDRNOTAVAIL = 10049;
inline constexpr int WSAENETDOWN = 10050;
inline constexpr int WSAENETUNREACH = 10051;
inline constexpr int WSAENETRESET = 10052;
inline constexpr int WSAECONNRESET = 10054;
inline constexpr int WSAENOBUFS = 10055;
inline constexpr int WSAETIMEDOUT = 10060;
inline constexpr int WSAECONNREFUSED = 10061;
inline constexpr int WSAEHOSTDOWN = 10064;
inline constexpr int WSAEHOSTUNREACH = 10065;
inline constexpr int WSAVERNOTSUPPORTED = 10092;
inline constexpr int WSANOTINITIALISED = 10093;
inline constexpr int WSASYSCALLFAILURE = 10107;

/// What WSAStartup tells of the library. The version's low byte is the major number.
struct WSADATA {
    WORD wVersion;     ///< the version that will be used
    WORD wHighVersion; ///< the highest that there is
    unsigned short iMaxSockets;
    unsigned short iMaxUdpDg;
    char* lpVendorInfo;
    char szDescription[257];
    char szSystemStatus[129];
};

/// An IPv4 address in network byte order.
struct in_addr {
    ULONG s_addr;
};

/// An address of any family; for AF_INET a sockaddr_in stands behind it.
struct sockaddr {
    unsigned short sa_family;
    char sa_data[14];
};

struct sockaddr_in {
    short sin_family;        ///< AF_INET
    unsigned short sin_port; ///< in network byte order
    in_addr sin_addr;
    char sin_zero[8];
};

/// Starts the library for one more user; each successful call wants one WSACleanup. `version` is the highest
/// that the caller can use (0x0202 for 2.2); `*data` is filled. Returns 0, WSAVERNOTSUPPORTED for a version
/// below 1.0, or WSAEFAULT for a null `data`. Any thread.
int WSAStartup(WORD version, WSADATA* data);

/// Ends one use. 0, or SOCKET_ERROR and WSANOTINITIALISED if there is none. Any thread.
int WSACleanup();

/// The calling thread's last error, as set by a function of this header that failed: the same as
/// GetLastError.
int WSAGetLastError();

/// A new socket, closed by closesocket: AF_INET, SOCK_DGRAM, IPPROTO_UDP (or 0). INVALID_SOCKET and
/// WSANOTINITIALISED before WSAStartup, WSAEAFNOSUPPORT, WSAESOCKTNOSUPPORT or WSAEPROTONOSUPPORT for another
/// kind, WSAEMFILE or WSAENOBUFS if the system has no more.
SOCKET socket(int family, int type, int protocol);

/// Sets an option of level SOL_SOCKET from the `length` bytes at `value`:
/// - SO_BROADCAST: on unless the value is zero; 1 byte will do, of 4 and more an int is read;
/// - SO_RCVTIMEO: milliseconds, a DWORD of 4 bytes; 0 waits without end.
/// 0, or SOCKET_ERROR: WSAEFAULT for a null or shorter value, WSAENOPROTOOPT for another option or level,
/// WSAENOTSOCK.
int setsockopt(SOCKET socket, int level, int name, const char* value, int length);

/// Sends one datagram of `length` bytes to the sockaddr_in at `to`, `toLength` at least its size. Returns
/// `length`, or SOCKET_ERROR: WSAEFAULT for a shorter or null address, WSAEAFNOSUPPORT for one of another
/// family, WSAEINVAL for a negative length, WSAEOPNOTSUPP for flags other than 0, WSAEACCES for a broadcast
/// that the socket does not allow, WSAENETUNREACH, WSAEMSGSIZE and what else the system says.
int sendto(SOCKET socket, const char* data, int length, int flags, const sockaddr* to, int toLength);

/// Closes the socket, also after the last WSACleanup. 0, or SOCKET_ERROR and WSAENOTSOCK.
int closesocket(SOCKET socket);

/// Stores the four bytes of an IPv4 address in strict dotted decimal at `address`, in network byte order. 1;
/// 0 if the text is none, and `address` is left alone; -1 for another family (WSAEAFNOSUPPORT) or a null
/// pointer (WSAEFAULT).
int inet_pton(int family, const char* text, void* address);

/// Writes the four bytes at `address` as a zero-terminated text in dotted decimal. Returns `text`; null for
/// another family (WSAEAFNOSUPPORT) and for a null pointer or a text of too few bytes
/// (ERROR_INVALID_PARAMETER).
const char* inet_ntop(int family, const void* address, char* text, std::size_t textBytes);

/// From the host's byte order to the network's, big endian.
constexpr unsigned short htons(unsigned short value) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return static_cast<unsigned short>(value << 8 | value >> 8);
#else
    return value;
#endif
}

} // namespace Platform::Winsock

namespace Platform {

/// Winsock's recvfrom with one behaviour on every system: a datagram larger than the buffer yields its first
/// `length` bytes, which Windows stores but reports as WSAEMSGSIZE.
///
/// Waits for a datagram as long as the socket's SO_RCVTIMEO allows, signals or not. Stores at most `length`
/// bytes at `buffer` and returns their number, 0 for an empty datagram. The sender's address goes to `from`,
/// a sockaddr_in of `*fromLength` bytes, unless `from` is null. SOCKET_ERROR: WSAETIMEDOUT if nothing
/// came, WSAEFAULT for a null or too small `fromLength` beside a `from`, WSAEINVAL for a negative length,
/// WSAEOPNOTSUPP for flags other than 0, WSAENOTSOCK and what else the system says.
int recvfrom(Winsock::SOCKET socket, char* buffer, int length, int flags, Winsock::sockaddr* from,
             int* fromLength);

} // namespace Platform
