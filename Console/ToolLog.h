#pragma once
// Where the log lines of the plug-in go while the tool runs.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
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

    /// After ignore() it closes what a configuration file has lines written to, since nothing else will.
    ~ToolLog();

    /// The different messages of level warn and above since the last call, in the order they first came, as
    /// printable text. At most 8; later ones are dropped.
    std::vector<std::string> takeRemarks();

    /// The same, without forgetting them.
    std::vector<std::string> remarks() const;

    /// Gets a line's message as the plug-in wrote it.
    using Listener = std::function<void(std::string_view message)>;

    /// From now on hands the lines of level info and above of the logger called `name` to `listener`, on the
    /// thread that logs them; an empty one ends that. Such lines are made though nobody asked to see them,
    /// unless a configuration file decides which there are. One listener at a time. It must not log.
    void listenTo(const std::string& name, Listener listener);

    /// From now on no line of that thread is shown, kept or listened to, and the logger that was listened to
    /// is off: the thread is left to itself, and so is what it logs to where this goes.
    void ignore(std::thread::id thread);

private:
    class Appender;
    bool isConfiguredByFile_;
    std::shared_ptr<Appender> appender_;
};

} // namespace Console
