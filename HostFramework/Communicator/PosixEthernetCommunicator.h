#pragma once
// The host's TCP client.

#include "Communicator/EthernetCommunicator.h"
#include "Communicator/TransportLimits.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

/// A TCP connection to one device over the system's sockets.
class HOSTFRAMEWORK_EXPORT PosixEthernetCommunicator : public EthernetCommunicator {
public:
    /// Called while a read is going on: the bytes received so far and the bytes asked for, of this read.
    using ProgressObserver = std::function<void(std::size_t received, std::size_t expected)>;

    /// Gets what a read has received, before its caller does; valid during the call.
    using ReadObserver = std::function<void(const unsigned char* data, std::size_t count)>;

    /// How long a connect may take if `connectTimeoutMs` is -1.
    static constexpr int defaultConnectTimeoutMs = 5000;

    /// `address`: an IPv4 address in dotted decimal or a host name. `port`: 1 to 65535. `connectTimeoutMs`:
    /// milliseconds, -1 for the default. Does not connect: a Connector does.
    PosixEthernetCommunicator(const std::wstring& address, int port, int connectTimeoutMs);
    ~PosixEthernetCommunicator() override;

    std::wstring getAddress() const override;
    int getPort() const override;

    /// Sends all or throws DeviceException, also if the device takes nothing for 10 s.
    /// `discardUnread` drops unread input before sending; if there is any, until the line has been quiet
    /// for 20 ms, at most 64 MiB and 3 s.
    void writeBytes(const void* data, unsigned int count, bool discardUnread, int reserved) override;

    /// A read of at most 16 bytes waits for all of them. A larger one goes on until all have come or, once
    /// something has come, until the line has been quiet for 20 ms. Either ends at `timeoutMs` from its start
    /// and returns what it has, 0 if nothing. A connection that broke or was closed with nothing read throws
    /// DeviceException; with something read, the next read does.
    int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) override;

    /// False as soon as a failure was noticed: the connection is closed then, and the next Connector opens a
    /// new one, also below an outer hold. Until then every operation throws with the failure's reason.
    bool isConnected() const override;

    /// Sets or, with an empty function, removes the observer. It runs on the reading thread, about every
    /// 64 KiB, every 100 ms while nothing comes, and at the end of a read. What it throws ends the read and
    /// reaches the caller. It must not set the observer.
    void setProgressObserver(ProgressObserver observer);

    /// Sets or, with an empty function, removes who is told the bytes of each read that ends without an
    /// exception. It runs on the reading thread; what it throws reaches the caller.
    void setReadObserver(ReadObserver observer);

    /// This communicator's own limits, from its next connect on, in place of those that the host has set for
    /// all (ReferenceHost/OperationLimits.h). Whatever they are, an end that the host has set to what the
    /// calling thread does holds too. Past a limit, connect, write and read close the connection and throw
    /// DeviceException with the limit, the bytes received and the seconds, a read also if it has received
    /// something.
    void setLimits(const TransportLimits& limits);

protected:
    void connect() override;
    void disconnect() noexcept override;

private:
    struct State;
    std::unique_ptr<State> state_;
};
