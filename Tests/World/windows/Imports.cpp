// Programs call the system by the pointers that it fills in when it loads them. These are there already, and
// lead into the tests' world.

#include "World/Network.h"

namespace Platform::Winsock {

int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();
int WSAGetLastError();
SOCKET socket(int family, int type, int protocol);
int setsockopt(SOCKET socket, int level, int name, const char* value, int length);
int sendto(SOCKET socket, const char* data, int length, int flags, const sockaddr* to, int toLength);
int closesocket(SOCKET socket);
int inet_pton(int family, const char* text, void* address);
const char* inet_ntop(int family, const void* address, char* text, std::size_t textBytes);

} // namespace Platform::Winsock

const std::vector<std::string> World::askedByReceiving{"WSAGetLastError"};

#define KORVA_LEAD(name, place) decltype(&place) __imp_##name = &place;
#define KORVA_LEAD_SOCKETS(name) KORVA_LEAD(name, Platform::Winsock::name)
// The world's own of the system's name, which the system's headers declare as one to import.
#define KORVA_LEAD_BY_ITS_NAME(name)                                                                         \
    void worlds##name() asm(#name);                                                                          \
    KORVA_LEAD(name, worlds##name)

extern "C" {

KORVA_LEAD_SOCKETS(WSAStartup)
KORVA_LEAD_SOCKETS(WSACleanup)
KORVA_LEAD_SOCKETS(WSAGetLastError)
KORVA_LEAD_SOCKETS(socket)
KORVA_LEAD_SOCKETS(setsockopt)
KORVA_LEAD_SOCKETS(sendto)
KORVA_LEAD_SOCKETS(closesocket)
KORVA_LEAD_SOCKETS(inet_pton)
KORVA_LEAD_SOCKETS(inet_ntop)
KORVA_LEAD(recvfrom, World::recvfrom)
KORVA_LEAD_BY_ITS_NAME(Sleep)
KORVA_LEAD_BY_ITS_NAME(QueryPerformanceCounter)
KORVA_LEAD_BY_ITS_NAME(QueryPerformanceFrequency)
KORVA_LEAD_BY_ITS_NAME(GetLastError)
KORVA_LEAD_BY_ITS_NAME(SetLastError)
KORVA_LEAD_BY_ITS_NAME(MultiByteToWideChar)
KORVA_LEAD_BY_ITS_NAME(WideCharToMultiByte)
KORVA_LEAD_BY_ITS_NAME(_time64)
KORVA_LEAD_BY_ITS_NAME(_ctime64)
KORVA_LEAD_BY_ITS_NAME(GetAdaptersInfo)
KORVA_LEAD_BY_ITS_NAME(SendARP)

} // extern "C"
