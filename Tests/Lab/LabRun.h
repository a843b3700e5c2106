#pragma once
// Runs Lab/run with the built tool.

#include "ToolRun.h"

#include <string>

namespace LabTests {

using namespace Integration;

/// The command line of Lab/run with `arguments`.
Names labCommand(const Names& arguments);

/// The same, with an `unshare` in front of the system's that refuses to go without `needed` among its flags.
Names labCommandWhereUnshareNeeds(const std::string& needed, const Names& arguments);

/// Runs Lab/run with `arguments` to its end.
ProcessResult runLab(const Names& arguments);

/// Runs Lab/run with `options`, as a shell reads them, and a shell's `script` as its command.
ProcessResult runScript(const std::string& options, const std::string& script);

/// The same with two networks and a set of cameras, a line each.
ProcessResult runAmong(const std::string& cameras, const std::string& script,
                       const std::string& options = "");

} // namespace LabTests
