#pragma once
// Finds devices of one family.

#include "HostFrameworkExport.h"

class BroadcastWorkerObserver;

/// The order of the virtual operations is the interface.
class HOSTFRAMEWORK_EXPORT DeviceFramework1Locator {
public:
    DeviceFramework1Locator();
    DeviceFramework1Locator(const DeviceFramework1Locator&) = delete;
    DeviceFramework1Locator& operator=(const DeviceFramework1Locator&) = delete;

    virtual ~DeviceFramework1Locator(); // slot 0
    /// Slot 1: a search of serial lines, reported to `observer`.
    virtual void serialObserverSearch(BroadcastWorkerObserver* observer) = 0;
    /// Slot 2: a search by network broadcast, reported to `observer`, which outlives the call. Blocks.
    virtual void broadcastObserverSearch(BroadcastWorkerObserver* observer, unsigned int reserved) = 0;
    /// Slot 3: a search of one address range.
    virtual void rangeObserverSearch(BroadcastWorkerObserver* observer) = 0;
    /// Slot 4: true if the family can be searched for by address range.
    virtual bool supportsRangeSearch() const = 0;
};
