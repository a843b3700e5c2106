#pragma once
// The registry of device types.

#include "HostFrameworkExport.h"

#include <mutex>
#include <vector>

class DeviceType;

class HOSTFRAMEWORK_EXPORT DeviceTypeManager {
public:
    /// The process-wide registry. Any thread.
    static DeviceTypeManager& getInstance();

    DeviceTypeManager(const DeviceTypeManager&) = delete;
    DeviceTypeManager& operator=(const DeviceTypeManager&) = delete;

    /// Adds a type, as often as it is asked to. Keeps a reference: the type must outlive its use. Any thread.
    void addDeviceType(const DeviceType& type);

    /// The types in the order in which they were added. Any thread.
    std::vector<const DeviceType*> getDeviceTypes() const;

    /// Forgets a type that was added, once; the latest if it was added more than once. One that was not
    /// is ignored. For a host that is about to unload the type's plug-in. Any thread.
    void removeDeviceType(const DeviceType& type);

    /// Forgets every type; for a host that is about to unload its plug-ins. Any thread.
    void clear();

private:
    DeviceTypeManager() = default;
    ~DeviceTypeManager() = default;

    mutable std::mutex mutex_;
    std::vector<const DeviceType*> types_; ///< guarded by mutex_
};
