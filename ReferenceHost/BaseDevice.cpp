#include "Device/BaseDevice.h"

#include "Device/Exceptions.h"

#include <utility>

namespace Tolvane::DeviceFramework2::Device {

AbstractDevice::~AbstractDevice() = default;

BaseDevice::BaseDevice() = default;
BaseDevice::~BaseDevice() = default;

bool BaseDevice::supports(const Cmd& command) const {
    const std::scoped_lock lock(handlersMutex_);
    return handlers_.contains(command.getTypeName());
}

std::future<void> BaseDevice::execAsync(std::shared_ptr<Cmd> command, CmdResultCallbacks callbacks) {
    return std::async(std::launch::async,
                      [this, command = std::move(command), callbacks = std::move(callbacks)] {
                          execInternal(command, callbacks);
                      });
}

void BaseDevice::execInternal(std::shared_ptr<Cmd> command, const CmdResultCallbacks& callbacks) {
    try {
        handlerOf(command)(std::move(command), callbacks);
    } catch (...) {
        if (callbacks.failed)
            callbacks.failed(std::current_exception());
        throw;
    }
    if (callbacks.done)
        callbacks.done();
}

void BaseDevice::initialize() {
    if (!std::exchange(initialized_, true))
        installCmdHandlers();
}

void BaseDevice::installCmdHandlers() {}

void BaseDevice::installCmdHandler(const std::string& typeName, CmdHandler handler) {
    const std::scoped_lock lock(handlersMutex_);
    handlers_.insert_or_assign(typeName, std::move(handler));
}

BaseDevice::CmdHandler BaseDevice::handlerOf(const std::shared_ptr<Cmd>& command) const {
    if (command != nullptr) {
        const std::scoped_lock lock(handlersMutex_);
        const auto found = handlers_.find(command->getTypeName());
        if (found != handlers_.end())
            return found->second;
    }
    throw Exceptions::UnsupportedCommandException(command);
}

} // namespace Tolvane::DeviceFramework2::Device
