#pragma once
// Carries an exception of the host's older device layer into the newer one.

#include "Device/Exceptions.h"

#include <string>

namespace Tolvane::DeviceFramework2::Device::Exceptions {

/// what() is "A Device1 layer exception caught: [", the older exception's message as UTF-8, and "]".
class WrappedD1Exception : public DeviceException {
public:
    /// A message that cannot be converted counts as empty.
    explicit WrappedD1Exception(const std::wstring& message);
    WrappedD1Exception(const WrappedD1Exception&) = default;
    WrappedD1Exception& operator=(const WrappedD1Exception&) = default;
    ~WrappedD1Exception() override;

protected:
    const char* message() const noexcept override;

private:
    std::string message_;
};

} // namespace Tolvane::DeviceFramework2::Device::Exceptions
