#pragma once
// The host's byte-stream transport to one device.

#include "HostFrameworkExport.h"

class Connector;

/// A connection to a device. Used by one thread at a time; it holds no lock.
///
/// A communicator is connected only while at least one Connector holds it. Every operation throws
/// DeviceException if the connection fails.
class HOSTFRAMEWORK_EXPORT Communicator {
public:
    Communicator() = default;
    Communicator(const Communicator&) = delete;
    Communicator& operator=(const Communicator&) = delete;
    virtual ~Communicator();

    /// Sends all of the `count` bytes at `data`, or throws DeviceException.
    /// `discardUnread`: first drop what was received and not read, so that the answer that follows is the
    /// answer to these bytes. The last argument is reserved; callers pass 1.
    virtual void writeBytes(const void* data, unsigned int count, bool discardUnread, int reserved) = 0;

    /// Receives up to `count` bytes into `data` and returns how many arrived within `timeoutMs`
    /// milliseconds; 0 if none did. Throws DeviceException if the connection is broken or closed and
    /// nothing was received. The third argument is reserved; callers pass 1.
    virtual int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) = 0;

    /// True from a successful connect to the disconnect or to the moment a failure is noticed.
    virtual bool isConnected() const = 0;

protected:
    /// Opens the connection; called by a Connector while isConnected() is false.
    virtual void connect() = 0;

    /// Closes the connection. Closing a closed one does nothing.
    virtual void disconnect() noexcept = 0;

private:
    friend class Connector;
    unsigned int holds_ = 0;
};
