#pragma once
// Where the log lines of the plug-in go while the tool runs.

#include <memory>
#include <string>
#include <vector>

namespace Console {

class ProgressBar;

/// What the options --log and --log-config say.
struct LogOptions {
    std::string level; ///< "off", "error", "warn", "info", "debug" or "trace"; empty: not given, as "off"
    std::string configFile; ///< a log4cxx configuration, XML where its name ends in ".xml"; empty: none
};

/// For its lifetime, lines of the level asked for go to standard error as "LEVEL logger - message", fit for a
/// terminal, and the messages of level warn and above are kept as remarks whatever was asked for. One at a
/// time. Lines may come from any thread.
class ToolLog {
public:
    /// Sets log4cxx up anew, by `options` alone: made before the first logger of the process, it also keeps
    /// log4cxx from following a configuration of the working folder or of the environment. `bar`, which may
    /// be null and must outlive this, is erased before a line.
    ToolLog(const LogOptions& options, ProgressBar* bar);
    ToolLog(const ToolLog&) = delete;
    ToolLog& operator=(const ToolLog&) = delete;
    ~ToolLog();

    /// The different messages of level warn and above since the last call, in the order they first came, as
    /// printable text. At most 8; later ones are dropped.
    std::vector<std::string> takeRemarks();

    /// The same, without forgetting them.
    std::vector<std::string> remarks() const;

private:
    class Appender;
    std::shared_ptr<Appender> appender_;
};

} // namespace Console
