#pragma once
// The options that every command of the tool has.

#include "ToolLog.h"

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace Console {

struct CommonOptions {
    LogOptions log;
    std::string diagnosticsFolder;                             ///< UTF-8; empty: the host's default
    std::vector<std::pair<std::string, std::string>> settings; ///< developer settings, name and text
};

/// Adds --log, --log-config, --diagnostics, --setting, --help and --version to `app`, which fill `options`;
/// it must outlive the parse.
void addCommonOptions(CLI::App& app, CommonOptions& options);

/// Hands the options on to the host: its diagnostics folder, which is made where pictures will be dumped
/// there, and its developer settings. Throws std::runtime_error, with the folder and the system's reason,
/// where a folder that was asked for cannot be made.
void applyToHost(const CommonOptions& options);

} // namespace Console
