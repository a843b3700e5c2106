#include "World/Network.h"

const std::vector<std::string> World::askedByReceiving;

int Platform::recvfrom(SOCKET socket, char* buffer, int length, int flags, Winsock::sockaddr* from,
                       int* fromLength) {
    return World::recvfrom(socket, buffer, length, flags, from, fromLength);
}
