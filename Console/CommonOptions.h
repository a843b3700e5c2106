#pragma once
// The options that every command of the tool has.

#include "CommandLine/CommandLine.h"
#include "ToolLog.h"

#include <string>
#include <utility>
#include <vector>

namespace Console {

struct CommonOptions {
    LogOptions log;
    std::string diagnosticsFolder;                             ///< UTF-8; empty: the host's default
    std::vector<std::pair<std::string, std::string>> settings; ///< developer settings, name and text
};

/// Adds --log, --log-config, --diagnostics, --setting, --help and --version to `app`, which fill `options`;
/// it must outlive the parse.
void addCommonOptions(const CommandLine::Options& app, CommonOptions& options);

/// Adds --json, whose help ends with `rest`.
void addJson(const CommandLine::Options& command, bool& json, const std::string& rest = " instead of words");

/// Hands the options on to the host: its developer settings and its diagnostics folder. The one that was
/// named is made where it is missing; the host's own is made ready where pictures will be dumped, as far as
/// --log alone decides that. Returns a line for the user that says where the host's own is, or why nothing is
/// dumped there; printable, empty if there is nothing to say. Throws CommandFailure, with the folder and
/// the system's reason, where a folder that was named cannot be made.
std::string applyToHost(const CommonOptions& options);

} // namespace Console
