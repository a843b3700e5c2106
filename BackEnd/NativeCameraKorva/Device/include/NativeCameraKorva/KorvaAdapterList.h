#pragma once
// The system's list of network adapters, in memory of its own.

#include "Platform/IpHelper.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Korva {

/// The text of one entry, never more than the entry holds.
std::string textOf(const IP_ADDRESS_STRING& entry);

/// Walks the adapters once. It stays within its memory whatever the list's links say. Used by one thread.
class AdapterList {
public:
    /// Room for `bytes` bytes, as GetAdaptersInfo asks for. Throws std::bad_alloc if there is no such
    /// room.
    explicit AdapterList(ULONG bytes);
    AdapterList(const AdapterList&) = delete;
    AdapterList& operator=(const AdapterList&) = delete;
    ~AdapterList();

    /// Asks the system for the list and stands before its first adapter. GetAdaptersInfo's code; where it is
    /// not NO_ERROR there are no adapters.
    DWORD fill();

    /// The next adapter, which lives as long as this object; null behind the last.
    const IP_ADAPTER_INFO* next();

private:
    bool holds(const IP_ADAPTER_INFO* adapter) const;

    ULONG bytes_;
    std::unique_ptr<std::byte[]> memory_;
    const IP_ADAPTER_INFO* next_ = nullptr;
    std::size_t left_ = 0; ///< how many more there is room for, so that no circle of links goes on for ever
};

} // namespace Korva
