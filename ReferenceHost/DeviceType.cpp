#include "DeviceControl/DeviceType.h"

#include "Device/CaptureCmds.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraControl/NativeCameraType.h"

#include <typeinfo>

using namespace Tolvane::DeviceFramework2::Device;

// The factories come first, so that what throws behind them finds them owned.
DeviceType::DeviceType(const std::wstring& code, const std::wstring& version, const std::wstring& name,
                       DeviceFramework1Locator* locator, DeviceBuilder* builder)
    : locator_(locator), builder_(builder), code_(code), version_(version), name_(name) {}

DeviceType::~DeviceType() = default;

bool DeviceType::supports(const Cmd& command) const {
    const std::string name = command.getTypeName();
    return name == typeid(Capture::FillMonoImage).name() || name == typeid(Capture::FillNativeImage).name() ||
           name == typeid(SetNetworkHealthCallback).name();
}

NativeCameraType::NativeCameraType(const std::wstring& code, const std::wstring& version,
                                   const std::wstring& name, DeviceFramework1Locator* locator,
                                   DeviceBuilder* builder)
    : DeviceType(code, version, name, locator, builder) {}

NativeCameraType::~NativeCameraType() = default;
