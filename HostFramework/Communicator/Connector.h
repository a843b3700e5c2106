#pragma once
// A scoped hold on a communicator's connection.

#include "HostFrameworkExport.h"

class Communicator;

/// Keeps a communicator connected for its lifetime. Holds nest and are counted: the last one to go closes
/// the connection. Does not own the communicator, which must outlive it.
class HOSTFRAMEWORK_EXPORT Connector {
public:
    /// Connects if the communicator is not connected. Throws what the communicator throws, DeviceException
    /// in practice; then nothing is held.
    explicit Connector(Communicator& communicator);
    Connector(const Connector&) = delete;
    Connector& operator=(const Connector&) = delete;

    /// Never throws.
    ~Connector();

private:
    Communicator& communicator_;
};
