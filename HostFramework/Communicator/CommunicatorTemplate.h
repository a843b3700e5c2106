#pragma once
// What it takes to make a communicator again.

#include "HostFrameworkExport.h"

#include <string>

class Communicator;

/// Address, port and connect time-out of an Ethernet communicator, without its connection.
class HOSTFRAMEWORK_EXPORT CommunicatorTemplate {
public:
    /// Notes what `communicator` was made from and keeps no reference to it. Throws DeviceException if it
    /// is no EthernetCommunicator, null included.
    explicit CommunicatorTemplate(const Communicator* communicator);

    /// A new, unconnected communicator; the caller owns it.
    Communicator* createCommunicator() const;

    const std::wstring& getAddress() const { return address_; }
    int getPort() const { return port_; }
    /// The connect's time-out in milliseconds; -1 for the host's default.
    int getTimeoutMs() const { return timeoutMs_; }

private:
    std::wstring address_;
    int port_ = 0;
    int timeoutMs_ = -1;
};
