#pragma once
// A family of devices that the host knows.

#include "HostFrameworkExport.h"

#include <memory>
#include <string>
#include <vector>

class DeviceBuilder;
class DeviceFramework1Locator;

namespace Tolvane::DeviceFramework2::Device {
class Cmd;
}

/// Three identifying texts and the two factories through which the host reaches the family's devices. The
/// order of the virtual operations is the interface. Immutable, so any thread may use it.
class HOSTFRAMEWORK_EXPORT DeviceType {
public:
    DeviceType(const DeviceType&) = delete;
    DeviceType& operator=(const DeviceType&) = delete;

    virtual ~DeviceType(); // slot 0
    /// Slot 1: the names of the variants that the family distinguishes; empty if it distinguishes none.
    virtual std::vector<std::wstring> getVariants() const = 0;
    /// Slot 2: true if devices of this family may answer that command: the host's FillMonoImage,
    /// FillNativeImage and SetNetworkHealthCallback.
    virtual bool supports(const Tolvane::DeviceFramework2::Device::Cmd& command) const;
    /// Slot 3: true if `other` is of the same family. Null is not.
    virtual bool isSameType(const DeviceType* other) const = 0;

    /// Short code of the family.
    const std::wstring& getCode() const { return code_; }
    const std::wstring& getVersion() const { return version_; }
    /// Name of the family, for people.
    const std::wstring& getName() const { return name_; }
    /// Belongs to the type.
    DeviceFramework1Locator& getLocator() const { return *locator_; }
    /// Belongs to the type.
    DeviceBuilder& getBuilder() const { return *builder_; }

protected:
    /// Takes both factories over, also if it throws.
    DeviceType(const std::wstring& code, const std::wstring& version, const std::wstring& name,
               DeviceFramework1Locator* locator, DeviceBuilder* builder);

private:
    std::unique_ptr<DeviceFramework1Locator> locator_;
    std::unique_ptr<DeviceBuilder> builder_;
    std::wstring code_;
    std::wstring version_;
    std::wstring name_;
};
