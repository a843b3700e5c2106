#pragma once
// What the camera's command handlers have in common.

#include "Communicator/TolvaneException.h"
#include "Device/BaseDevice.h"
#include "Device/Exceptions.h"
#include "NativeCameraKorva/WrappedD1Exception.h"

#include <memory>
#include <utility>

namespace Korva {

/// A handler that calls `work` with the command as an `ExpectedCmd`. The handler throws
/// IncorrectCommandTypeException with the command where it is of another kind, and in place of a
/// TolvaneException of the work's a WrappedD1Exception of its message; all else passes. It keeps no
/// reference to the command. The callbacks are the executing device's to call, not the handler's.
template <class ExpectedCmd, class Work>
Tolvane::DeviceFramework2::Device::BaseDevice::CmdHandler makeCmdHandler(Work work) {
    using namespace Tolvane::DeviceFramework2::Device;
    return [work = std::move(work)](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
        const auto* const expected = dynamic_cast<const ExpectedCmd*>(command.get());
        if (expected == nullptr)
            throw Exceptions::IncorrectCommandTypeException(command);
        try {
            work(*expected);
        } catch (const TolvaneException& failure) {
            throw Exceptions::WrappedD1Exception(failure.getMessage());
        }
    };
}

} // namespace Korva
