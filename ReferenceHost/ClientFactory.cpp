#include "Communicator/ClientFactory.h"

#include "Communicator/PosixEthernetCommunicator.h"

EthernetCommunicator* ClientFactory::createEthernetCommunicator(const std::wstring& address, int port,
                                                                int timeoutMs) {
    return new PosixEthernetCommunicator(address, port, timeoutMs);
}
