#pragma once
// Where communicators come from.

#include "HostFrameworkExport.h"

#include <string>

class EthernetCommunicator;

class HOSTFRAMEWORK_EXPORT ClientFactory {
public:
    /// A new, unconnected TCP communicator to `address`:`port`; the caller owns it. `timeoutMs` bounds the
    /// connect, -1 for the host's default.
    static EthernetCommunicator* createEthernetCommunicator(const std::wstring& address, int port,
                                                            int timeoutMs);
};
