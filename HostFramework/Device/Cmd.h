#pragma once
// The commands of the second-generation device layer.

#include "HostFrameworkExport.h"

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Tolvane::DeviceFramework2::Device {

/// Something that a device is asked to do. Immutable; shared by whoever handles it.
class HOSTFRAMEWORK_EXPORT Cmd {
public:
    explicit Cmd(std::string key = {});
    Cmd(const Cmd&) = delete;
    Cmd& operator=(const Cmd&) = delete;
    virtual ~Cmd();

    /// The command class's run-time type name, under which devices keep their handlers.
    virtual std::string getTypeName() const;

    /// The command's key text, UTF-8; empty if it has none.
    const std::string& getKey() const { return key_; }

private:
    std::string key_;
};

/// A command that carries a value, or a reference to what the device shall fill.
template <typename Value>
class SetCmd : public Cmd {
public:
    explicit SetCmd(Value value, std::string key = {});

    /// The value; for a reference, what it refers to, which its owner keeps alive until the command is done.
    /// If Value is a reference, the const applies to the reference, so this is a plain Value.
    const Value& getValue() const;

private:
    Value value_;
};

// Not within the class: g++ for Windows exports of an instantiation nothing that is inline.
template <typename Value>
SetCmd<Value>::SetCmd(Value value, std::string key)
    : Cmd(std::move(key)), value_(std::forward<Value>(value)) {}

template <typename Value>
const Value& SetCmd<Value>::getValue() const {
    return value_;
}

/// What a device calls when a command is over: one of the two, once, on the executing thread. Either may be
/// empty.
struct CmdResultCallbacks {
    std::function<void()> done;
    std::function<void(std::exception_ptr)> failed; ///< gets what the command's execution threw
};

} // namespace Tolvane::DeviceFramework2::Device
