#pragma once
// A device plug-in, loaded as a host loads it.

#include "HostFrameworkExport.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

class DeviceType;

namespace ReferenceHost {

/// Why a plug-in is of no use. The text names the file.
class HOSTFRAMEWORK_EXPORT PluginException : public std::runtime_error {
public:
    enum class Reason {
        notLoadable,   ///< no such file, or no library that this system can load; the text says what
        noEntryPoint,  ///< a library, but no device plug-in
        versionRefused ///< the plug-in does not speak the host's interface version
    };

    PluginException(Reason reason, const std::string& text);
    PluginException(const PluginException&) = default;
    PluginException& operator=(const PluginException&) = default;
    ~PluginException() override;

    Reason getReason() const noexcept { return reason_; }

private:
    Reason reason_;
};

/// A loaded plug-in: its device types are registered from initialize() to the end of its life. Everything
/// that came out of it (devices, templates) must be destroyed before. Used by one thread at a time; several
/// plug-ins may be loaded, initialised and unloaded on several threads.
class HOSTFRAMEWORK_EXPORT PluginLibrary {
public:
    /// The version of the plug-in interface that this host speaks.
    static constexpr int interfaceVersion = 1;

    /// Loads the file at `path` (UTF-8; relative to the current folder, never searched for). Throws
    /// PluginException: notLoadable, noEntryPoint.
    explicit PluginLibrary(const std::string& path);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    /// Calls the plug-in's exit point where it has one, forgets its device types and unloads it.
    ~PluginLibrary();

    /// Calls the plug-in's entry point, which registers its device types with the DeviceTypeManager. Throws
    /// PluginException (versionRefused) where the plug-in refuses `version`, and what the plug-in throws.
    void initialize(int version = interfaceVersion);

    /// The device types that this object's initialize() registered, in that order.
    const std::vector<const DeviceType*>& getDeviceTypes() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace ReferenceHost
