#pragma once
// Where communicators come from.

#include "HostFrameworkExport.h"

#include <string>
#include <xercesc/dom/DOMNode.hpp>

class Communicator;
class EthernetCommunicator;

class HOSTFRAMEWORK_EXPORT ClientFactory {
public:
    /// A new, unconnected TCP communicator to `address`:`port`; the caller owns it. `timeoutMs` bounds the
    /// connect, -1 for the host's default.
    static EthernetCommunicator* createEthernetCommunicator(const std::wstring& address, int port,
                                                            int timeoutMs);

    /// A new, unconnected communicator from a "connection" element, whose children "address", "port" and,
    /// if it is not the default, "timeout" (milliseconds) name it, in any order; of two children of one
    /// name the last one counts, and any other child is skipped. A time-out above the default of 5000 ms
    /// counts as 5000, a negative one as -1. The caller owns it. Throws DeviceException for a null node, a
    /// missing or empty address, a port that is missing or not 1 to 65535, and a time-out that is no number.
    static Communicator* buildCommunicator(xercesc::DOMNode* element);
};
