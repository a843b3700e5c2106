#pragma once
// The plug-in, loaded and asked as a host does it.

#include "CameraOptions.h"
#include "CameraSearch.h"
#include "Diagnosis/Facts.h"
#include "Diagnosis/Verdict.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "ReferenceHost/PluginLibrary.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Console {

class DumpFolder;
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

    /// Has what the plug-in dumps from now on go to names of its own. It is so from the beginning where `log`
    /// is set up for dumps then.
    void nameDumps();

    /// What the calling thread has had the plug-in dump is of that camera. Any thread; identifications do it.
    void claimDumps(const std::string& address) const;

    /// claimDumps() of that camera, for a thread that may outlive this.
    std::function<void()> claimOf(const std::string& address) const;

    /// What nobody has claimed gets its name; at the end of a search that is so.
    void nameOtherDumps() const;

    /// Why dumps are missing or not whole, since the last call. Any thread.
    std::vector<Diagnosis::Verdict> takeDumpFailures() const;

    /// Searches the local networks, which blocks for a second at least and not much longer than the limits
    /// say, and hands over each camera as it is found. Of a search that does not come to its questions, since
    /// datagrams keep coming, the cameras that have answered are asked in the second half of its time; their
    /// MAC addresses stay unknown. So are those that the search took for another one.
    ///
    /// Returns what was seen: the computer, the search, with `failure` if there was none and `cut` if it was
    /// cut, and those who answered. Throws CommandFailure if Ctrl-C came meanwhile.
    Diagnosis::Facts searchFacts(const CameraSearch::Found& found) const;

    /// What an identification came to.
    struct Identified {
        CameraPointer camera;       ///< null if it failed
        Diagnosis::Attempt attempt; ///< which says why
    };

    /// Identifies the cameras at these addresses, side by side, each within its time. Throws CommandFailure
    /// if Ctrl-C came meanwhile.
    std::vector<Identified> identified(const std::vector<std::string>& addresses) const;

    /// The camera at an address, identified over its text language, within its time. None of these returns
    /// null: where there is no camera to be had they throw CommandFailure, which says why and what to try,
    /// for an address after a look at the network.
    CameraPointer cameraAt(const std::string& address) const;

    /// The camera of a stored description, which is not asked anything.
    CameraPointer cameraOf(const std::string& descriptionFile) const;

    /// The camera that a search has found.
    CameraPointer cameraFrom(const NativeCameraTemplate& found) const;

private:
    const DeviceType& type() const { return *plugin_->getDeviceTypes().front(); }
    std::vector<Identified> identify(const std::vector<std::string>& addresses, TimeLimits::Time most) const;
    std::string cutOf(CameraSearch& search, CameraSearch::End end, const CameraSearch::Found& found) const;
    std::size_t askThemselves(const std::vector<std::string>& addresses, const CameraSearch& search,
                              const CameraSearch::Found& found) const;

    TimeLimits limits_;
    ToolLog& log_;
    std::shared_ptr<DumpFolder> dumps_; ///< null: nothing is dumped
    std::unique_ptr<ReferenceHost::PluginLibrary> plugin_;
};

/// An attempt at the camera of an address that failed.
struct FailedAttempt {
    std::string address;
    Diagnosis::Attempt attempt;
};

/// Why these cameras cannot be used, by the attempts and a look at the network; where a search has found
/// them, also by what `seen` holds of that. Throws CommandFailure if Ctrl-C came meanwhile.
std::vector<Diagnosis::Verdict> whyNot(const std::vector<FailedAttempt>& failed,
                                       const Diagnosis::Facts& seen = {});

/// `failure` of a camera's, or what has become of this computer's own adapter on the way to it since `before`
/// (see Diagnosis::verdictOnWay), or that nobody answers at its address any more, where that explains it.
/// Looks at the computer again, and at a camera `isAtItsPorts`, for up to Diagnosis::addressLookTime. Throws
/// CommandFailure if Ctrl-C came meanwhile. Any thread.
Diagnosis::Verdict orOfTheWay(Diagnosis::Verdict failure, const Diagnosis::Camera& camera,
                              const Diagnosis::Facts& before, bool isAtItsPorts);

/// Whether it is where a camera's pictures come from. Behind another port its texts come from elsewhere too,
/// if at all.
bool isAtPortOfPictures(const NativeCamera& camera);

/// "10.0.0.7:32769", printable: where the camera's pictures come from.
std::string placeOf(const NativeCamera& camera);

} // namespace Console
