#pragma once
// The plug-in, loaded and asked as a host does it.

#include "CameraOptions.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "ReferenceHost/PluginLibrary.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Console {

class ToolLog;

using CameraPointer = std::unique_ptr<NativeCamera>;
using CameraTemplatePointer = std::unique_ptr<NativeCameraTemplate>;

/// "libNativeCameraKorva.so" or what this system calls it, where it lies in `folder` or in the folders where
/// an installation has it beside `folder`. Throws CommandFailure, which names the places, where it is in
/// none.
std::string pluginBeside(const std::string& folder);

/// Holds the plug-in loaded. What it makes must be gone before it goes. One thread.
class CameraHost {
public:
    /// Loads and initialises options.pluginFile, or the plug-in beside the tool. Throws CommandFailure with
    /// what is wrong with the file and what to try. `log`, which outlives this, gives the reasons.
    CameraHost(const CameraOptions& options, ToolLog& log);

    /// Searches the local networks, which blocks for a second at least, and hands over each camera as it is
    /// found. Throws CommandFailure where the plug-in could not search, or Ctrl-C came meanwhile; what it
    /// warned of otherwise stays in the log's remarks.
    void search(const std::function<void(CameraTemplatePointer)>& found) const;

    /// The camera at an address, identified over its text language. None of these returns null: where there
    /// is no camera to be had they throw CommandFailure, which says why and what to try.
    CameraPointer cameraAt(const std::string& address) const;

    /// The camera of a stored description, which is not asked anything.
    CameraPointer cameraOf(const std::string& descriptionFile) const;

    /// The camera that a search has found.
    CameraPointer cameraFrom(const NativeCameraTemplate& found) const;

    /// The one of ADDRESS and --from that `options` holds.
    CameraPointer cameraNamedBy(const CameraOptions& options) const;

private:
    const DeviceType& type() const { return *plugin_->getDeviceTypes().front(); }

    ToolLog& log_;
    std::unique_ptr<ReferenceHost::PluginLibrary> plugin_;
};

/// "10.0.0.7:32769", printable: where the camera's pictures come from.
std::string placeOf(const NativeCamera& camera);

} // namespace Console
