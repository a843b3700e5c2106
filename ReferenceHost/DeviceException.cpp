#include "Communicator/DeviceException.h"

#include "Platform/Text.h"

#include <utility>

TolvaneExceptionBase::TolvaneExceptionBase(std::wstring message)
    : message_(std::move(message)), narrow_(Platform::utf8FromWide(message_)) {}

TolvaneExceptionBase::~TolvaneExceptionBase() = default;

const char* TolvaneExceptionBase::what() const noexcept {
    return narrow_.c_str();
}

TolvaneException::TolvaneException(std::wstring message, std::wstring file, int line)
    : TolvaneExceptionBase(std::move(message)), file_(std::move(file)), line_(line) {}

TolvaneException::~TolvaneException() = default;

std::wstring TolvaneException::getDescription() const {
    if (line_ == noLine)
        return getMessage();
    return getMessage() + L" @ " + file_ + L":" + std::to_wstring(line_);
}

DeviceException::DeviceException(std::wstring message, std::wstring file, int line)
    : TolvaneException(std::move(message), std::move(file), line) {}

DeviceException::~DeviceException() = default;
