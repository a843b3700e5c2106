#pragma once
// What this system makes of the names of files.

#include <string>

namespace Platform {

/// The name of a file or folder, wherever it lies, as this system keeps it: where it would take `name` for
/// one of its devices, or drop the dots and blanks at its end, with underscores there; elsewhere `name`
/// itself.
std::string keptName(std::string name);

/// `path`, UTF-8, for comparing: in one form for all the capitals and small letters that this system takes
/// for the same file's. Where they are different files', and if memory is short, `path` itself.
std::string comparedPath(const std::string& path);

} // namespace Platform
