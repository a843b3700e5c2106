#pragma once
// A family of cameras.

#include "DeviceControl/DeviceType.h"

#include <string>

class HOSTFRAMEWORK_EXPORT NativeCameraType : public DeviceType {
public:
    ~NativeCameraType() override;

protected:
    /// As DeviceType: code, version and name, and the two factories, which it takes over.
    NativeCameraType(const std::wstring& code, const std::wstring& version, const std::wstring& name,
                     DeviceFramework1Locator* locator, DeviceBuilder* builder);
};
