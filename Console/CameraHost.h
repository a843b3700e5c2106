#pragma once
// The plug-in, loaded and asked as a host does it.

#include "CameraOptions.h"
#include "CameraSearch.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "ReferenceHost/PluginLibrary.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Console {

class ToolLog;

using CameraPointer = std::unique_ptr<NativeCamera>;

/// "libNativeCameraKorva.so" or what this system calls it, where it lies in `folder` or in the folders where
/// an installation has it beside `folder`. Throws CommandFailure, which names the places, where it is in
/// none.
std::string pluginBeside(const std::string& folder);

/// Holds the plug-in loaded. What it makes must be gone before it goes. One thread.
class CameraHost {
public:
    /// Loads and initialises options.pluginFile, or the plug-in beside the tool. Throws CommandFailure with
    /// what is wrong with the file and what to try. `log`, which outlives this, gives the reasons. The limits
    /// of speed are from then on those of all connections.
    CameraHost(const CameraOptions& options, ToolLog& log);
    CameraHost(const CameraHost&) = delete;
    CameraHost& operator=(const CameraHost&) = delete;

    /// Unloads the plug-in, unless a search is left in it.
    ~CameraHost();

    /// Searches the local networks, which blocks for a second at least and not much longer than the limits
    /// say, and hands over each camera as it is found. Returns why the search was cut, a warning for the
    /// user, or an empty text. Of a search that does not come to its questions, since datagrams keep coming,
    /// the cameras that have answered are asked in the second half of its time; their MAC addresses stay
    /// unknown. Throws CommandFailure if the plug-in could not search, or Ctrl-C came meanwhile; what it
    /// warned of otherwise stays in the log's remarks.
    std::string search(const CameraSearch::Found& found) const;

    /// The camera at an address, identified over its text language, within its time. None of these returns
    /// null: where there is no camera to be had they throw CommandFailure, which says why and what to try.
    CameraPointer cameraAt(const std::string& address) const;

    /// The camera of a stored description, which is not asked anything.
    CameraPointer cameraOf(const std::string& descriptionFile) const;

    /// The camera that a search has found.
    CameraPointer cameraFrom(const NativeCameraTemplate& found) const;

    /// The one of ADDRESS and --from that `options` holds.
    CameraPointer cameraNamedBy(const CameraOptions& options) const;

private:
    const DeviceType& type() const { return *plugin_->getDeviceTypes().front(); }
    CameraPointer identified(const std::string& address) const;
    std::size_t askThemselves(const CameraSearch& search, const CameraSearch::Found& found) const;

    TimeLimits limits_;
    ToolLog& log_;
    std::unique_ptr<ReferenceHost::PluginLibrary> plugin_;
};

/// "10.0.0.7:32769", printable: where the camera's pictures come from.
std::string placeOf(const NativeCamera& camera);

} // namespace Console
