#pragma once
// The exceptions of the second-generation device layer.

#include "HostFrameworkExport.h"

#include <exception>
#include <memory>
#include <string>

namespace Tolvane::DeviceFramework2::Device {

class Cmd;

namespace Exceptions {

/// Root of the family. what() reports the derived class's text.
class HOSTFRAMEWORK_EXPORT DeviceException : public std::exception {
public:
    DeviceException();
    DeviceException(const DeviceException&) = default;
    DeviceException& operator=(const DeviceException&) = default;
    ~DeviceException() override;

    const char* what() const noexcept final;

protected:
    /// UTF-8, valid as long as the exception.
    virtual const char* message() const noexcept;
};

/// A command has no handler on the device.
class HOSTFRAMEWORK_EXPORT UnsupportedCommandException : public DeviceException {
public:
    explicit UnsupportedCommandException(std::shared_ptr<const Cmd> command);
    UnsupportedCommandException(const UnsupportedCommandException&) = default;
    UnsupportedCommandException& operator=(const UnsupportedCommandException&) = default;
    ~UnsupportedCommandException() override;

    const std::shared_ptr<const Cmd>& getCommand() const { return command_; }

protected:
    const char* message() const noexcept override;

private:
    std::shared_ptr<const Cmd> command_;
    std::string message_;
};

/// A command is not of the kind that its handler expects.
class HOSTFRAMEWORK_EXPORT IncorrectCommandTypeException : public DeviceException {
public:
    explicit IncorrectCommandTypeException(std::shared_ptr<const Cmd> command);
    IncorrectCommandTypeException(const IncorrectCommandTypeException&) = default;
    IncorrectCommandTypeException& operator=(const IncorrectCommandTypeException&) = default;
    ~IncorrectCommandTypeException() override;

    const std::shared_ptr<const Cmd>& getCommand() const { return command_; }

protected:
    const char* message() const noexcept override;

private:
    std::shared_ptr<const Cmd> command_;
    std::string message_;
};

} // namespace Exceptions
} // namespace Tolvane::DeviceFramework2::Device
