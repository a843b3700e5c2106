#pragma once
// The second-generation device: something that executes commands.

#include "Device/Cmd.h"
#include "HostFrameworkExport.h"

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

namespace Tolvane::DeviceFramework2::Device {

/// Root of all devices.
class HOSTFRAMEWORK_EXPORT AbstractDevice {
public:
    AbstractDevice() = default;
    AbstractDevice(const AbstractDevice&) = delete;
    AbstractDevice& operator=(const AbstractDevice&) = delete;
    virtual ~AbstractDevice();
};

/// A device with a table of command handlers, keyed by the command class's run-time type name and guarded by
/// a mutex of its own. The order of the virtual operations is the interface.
class HOSTFRAMEWORK_EXPORT BaseDevice : public AbstractDevice {
public:
    using CmdHandler = std::function<void(std::shared_ptr<Cmd>, const CmdResultCallbacks&)>;

    BaseDevice();
    ~BaseDevice() override; // slot 0

    /// Slot 1: true where a handler for the command's type name is installed.
    virtual bool supports(const Cmd& command) const;
    /// Slot 2: executes the command on a thread of the host's. The device must live until the future is
    /// ready. The future and `callbacks.failed` get what the handler throws; `callbacks.done` tells success.
    virtual std::future<void> execAsync(std::shared_ptr<Cmd> command, CmdResultCallbacks callbacks);
    /// Slot 3: executes the command on the calling thread; what the handler throws passes to the caller.
    /// Throws UnsupportedCommandException where there is no handler, and for null.
    virtual void execInternal(std::shared_ptr<Cmd> command, const CmdResultCallbacks& callbacks);
    /// Slot 4: called once by the most derived constructor when the device is whole; leads to
    /// installCmdHandlers.
    virtual void initialize();

protected:
    /// Slot 5: the hook in which a device installs its handlers.
    virtual void installCmdHandlers();

    /// Installs a handler under a type name, replacing an earlier one. Locks the table.
    void installCmdHandler(const std::string& typeName, CmdHandler handler);

    /// Installs a handler for one command class.
    template <class Command>
    void installCmdHandler(CmdHandler handler) {
        installCmdHandler(typeid(Command).name(), std::move(handler));
    }

private:
    struct Handlers;
    std::unique_ptr<Handlers> handlers_;
};

} // namespace Tolvane::DeviceFramework2::Device
