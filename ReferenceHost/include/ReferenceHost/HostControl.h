#pragma once
// What the program around the reference host may set and ask of it; plug-ins know none of this.

#include "HostFrameworkExport.h"

#include <cstddef>
#include <map>
#include <string>

namespace ReferenceHost {

/// Sets the folder that PlenarDiagnostics::getImagesSubDirectory() answers with. Unset, it is
/// "korva-diagnostics" in the system's folder for temporary files, or in the current folder where the system
/// names none. Any thread.
HOSTFRAMEWORK_EXPORT void setImagesSubDirectory(const std::wstring& folder);

/// Sets a developer setting, UTF-8; a setting object sees it at its next value(). Any thread.
HOSTFRAMEWORK_EXPORT void setDeveloperSetting(const std::string& name, const std::string& value);

/// Every setting that was set or constructed so far, with its text. Any thread.
HOSTFRAMEWORK_EXPORT std::map<std::string, std::string> developerSettings();

/// How many images of the imaging library are alive. Any thread.
HOSTFRAMEWORK_EXPORT std::size_t liveImageCount() noexcept;

} // namespace ReferenceHost
