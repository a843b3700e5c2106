#pragma once
// What the running program knows of its own file.

#include <string>

namespace Platform {

/// The folder that holds the running program's file, UTF-8, absolute, links resolved; empty if the system
/// does not say.
std::string programFolder();

} // namespace Platform
