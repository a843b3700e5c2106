#pragma once
// The second-generation device: something that executes commands.

#include "Device/Cmd.h"
#include "HostFrameworkExport.h"

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
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
    /// Executes one command. It gets the callbacks only to hand them on: the device calls them itself once
    /// the handler has returned or thrown.
    using CmdHandler = std::function<void(std::shared_ptr<Cmd>, const CmdResultCallbacks&)>;

    BaseDevice();
    ~BaseDevice() override; // slot 0

    /// Slot 1: true if a handler for the command's type name is installed. Any thread.
    virtual bool supports(const Cmd& command) const;
    /// Slot 2: executes the command, as execInternal does, on a thread of the host's own. What that throws,
    /// the future gives. The device must live until the future is ready, and the future waits for that
    /// before it goes. Throws std::system_error if no thread can be had. Any thread; two commands of one
    /// device that may not overlap are the caller's to keep apart.
    virtual std::future<void> execAsync(std::shared_ptr<Cmd> command, CmdResultCallbacks callbacks);
    /// Slot 3: executes the command on the calling thread and calls `callbacks.done`. If there is no
    /// handler for it, and for null, that is an UnsupportedCommandException; that and what the handler throws
    /// goes to `callbacks.failed` and then to the caller. The handler runs outside the table's lock.
    virtual void execInternal(std::shared_ptr<Cmd> command, const CmdResultCallbacks& callbacks);
    /// Slot 4: called by the most derived constructor when the device is whole; leads to
    /// installCmdHandlers. A second call does nothing.
    virtual void initialize();

protected:
    /// Slot 5: the hook in which a device installs its handlers. Here: none.
    virtual void installCmdHandlers();

    /// Installs a handler, which is not empty, under a type name, replacing an earlier one. Any thread.
    void installCmdHandler(const std::string& typeName, CmdHandler handler);

    /// Installs a handler for one command class.
    template <class Command>
    void installCmdHandler(CmdHandler handler) {
        installCmdHandler(typeid(Command).name(), std::move(handler));
    }

private:
    /// A copy, which runs without the lock. Throws UnsupportedCommandException if there is none.
    CmdHandler handlerOf(const std::shared_ptr<Cmd>& command) const;

    mutable std::mutex handlersMutex_;
    std::map<std::string, CmdHandler> handlers_; ///< guarded by handlersMutex_
    bool initialized_ = false;
};

} // namespace Tolvane::DeviceFramework2::Device
