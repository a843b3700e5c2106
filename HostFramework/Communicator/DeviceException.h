#pragma once
// What a failed operation on a device's transport throws.

#include "Communicator/TolvaneException.h"

#include <string>

/// A device or its connection failed. The message names address, port, operation and the system's reason.
class HOSTFRAMEWORK_EXPORT DeviceException : public TolvaneException {
public:
    explicit DeviceException(std::wstring message, std::wstring file = {}, int line = noLine);
    DeviceException(const DeviceException&) = default;
    DeviceException& operator=(const DeviceException&) = default;
    ~DeviceException() override;
};
