#include "Device/Exceptions.h"

#include "Device/Cmd.h"

#include <utility>

namespace Tolvane::DeviceFramework2::Device::Exceptions {

namespace {

std::string nameOf(const Cmd* command) {
    return command == nullptr ? "null" : command->getTypeName();
}

} // namespace

DeviceException::DeviceException() = default;
DeviceException::~DeviceException() = default;

const char* DeviceException::what() const noexcept {
    return message();
}

const char* DeviceException::message() const noexcept {
    return "The device failed";
}

UnsupportedCommandException::UnsupportedCommandException(std::shared_ptr<const Cmd> command)
    : command_(std::move(command)),
      message_("The device has no handler for the command " + nameOf(command_.get())) {}

UnsupportedCommandException::~UnsupportedCommandException() = default;

const char* UnsupportedCommandException::message() const noexcept {
    return message_.c_str();
}

IncorrectCommandTypeException::IncorrectCommandTypeException(std::shared_ptr<const Cmd> command)
    : command_(std::move(command)),
      message_("The command " + nameOf(command_.get()) + " is not of the kind that its handler expects") {}

IncorrectCommandTypeException::~IncorrectCommandTypeException() = default;

const char* IncorrectCommandTypeException::message() const noexcept {
    return message_.c_str();
}

} // namespace Tolvane::DeviceFramework2::Device::Exceptions
