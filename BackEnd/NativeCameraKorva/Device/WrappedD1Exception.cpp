#include "NativeCameraKorva/WrappedD1Exception.h"

#include "Platform/Text.h"

namespace Tolvane::DeviceFramework2::Device::Exceptions {

WrappedD1Exception::WrappedD1Exception(const std::wstring& message)
    : message_("A Device1 layer exception caught: [" + Platform::utf8FromWide(message) + "]") {}

WrappedD1Exception::~WrappedD1Exception() = default;

const char* WrappedD1Exception::message() const noexcept {
    return message_.c_str();
}

} // namespace Tolvane::DeviceFramework2::Device::Exceptions
