#pragma once
// What the program around the reference host may set and ask of it; plug-ins know none of this.

#include "HostFrameworkExport.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>

namespace ReferenceHost {

/// Sets the folder that PlenarDiagnostics::getImagesSubDirectory() answers with, as it is: it is neither made
/// nor checked. Unset, or set to an empty name, it is the host's own (makeOwnImagesFolder), made and checked
/// whenever it is asked for; where that is not fit for pictures the answer is a path below which no file can
/// be made. Any thread.
HOSTFRAMEWORK_EXPORT void setImagesSubDirectory(const std::wstring& folder);

/// From now on PlenarDiagnostics::getImagesSubDirectory() answers with what `source` gives, on the thread
/// that asks; an empty one ends that. Any thread, but not while another one asks.
HOSTFRAMEWORK_EXPORT void setImagesFolderSource(std::function<std::wstring()> source);

/// The host's own folder for diagnostic pictures.
struct OwnImagesFolder {
    std::string name;      ///< absolute, UTF-8
    std::string complaint; ///< empty, or why nothing is written there, as "is a symbolic link"; UTF-8
};

/// Makes the host's own folder where it is missing, closed to all but the user: "korva-diagnostics" in
/// $XDG_STATE_HOME, else in .local/state of $HOME, else "korva-diagnostics-UID" in the system's folder for
/// temporary files. It is fit for pictures where it is the user's alone: no link, not somebody else's, not
/// open to others. Any thread, while none changes the environment.
HOSTFRAMEWORK_EXPORT OwnImagesFolder makeOwnImagesFolder();

/// Sets a developer setting, UTF-8; a setting object sees it at its next value(). Any thread.
HOSTFRAMEWORK_EXPORT void setDeveloperSetting(const std::string& name, const std::string& value);

/// Every setting that was set or constructed so far, with its text. Any thread.
HOSTFRAMEWORK_EXPORT std::map<std::string, std::string> developerSettings();

/// How many images of the imaging library are alive. Any thread.
HOSTFRAMEWORK_EXPORT std::size_t liveImageCount() noexcept;

} // namespace ReferenceHost
