#pragma once
// A communicator whose device is named by a network address.

#include "Communicator/Communicator.h"

#include <string>

class HOSTFRAMEWORK_EXPORT EthernetCommunicator : public Communicator {
public:
    ~EthernetCommunicator() override;

    /// The device's network address, as given at construction.
    virtual std::wstring getAddress() const = 0;

    /// The device's TCP port.
    virtual int getPort() const = 0;

    /// How long a connect may take, in milliseconds; -1 for the host's default.
    int getConnectTimeoutMs() const { return connectTimeoutMs_; }

protected:
    explicit EthernetCommunicator(int connectTimeoutMs = -1) : connectTimeoutMs_(connectTimeoutMs) {}

private:
    int connectTimeoutMs_;
};
