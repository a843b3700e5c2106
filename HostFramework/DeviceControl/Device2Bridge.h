#pragma once
// A first-generation device that executes the second generation's commands.

#include "DeviceControl/Device.h"

class HOSTFRAMEWORK_EXPORT Device2Bridge : public Device {
public:
    /// As Device: takes the communicator over.
    explicit Device2Bridge(Communicator* communicator);
    ~Device2Bridge() override;
};
