#pragma once
// Who is told of devices that a search finds.

#include "HostFrameworkExport.h"

class DeviceTemplate;

/// The order of the virtual operations is the interface. Called on the searching thread.
class HOSTFRAMEWORK_EXPORT BroadcastWorkerObserver {
public:
    BroadcastWorkerObserver() = default;
    BroadcastWorkerObserver(const BroadcastWorkerObserver&) = delete;
    BroadcastWorkerObserver& operator=(const BroadcastWorkerObserver&) = delete;

    virtual ~BroadcastWorkerObserver(); // slot 0
    /// Slot 1: a device was found; the template passes to the observer. `reserved` is 0.
    virtual void deviceFound(DeviceTemplate* found, int reserved) = 0;
};
