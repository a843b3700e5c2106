#pragma once
// Where the log lines of the plug-in go while the tool runs.

#include "Diagnosis/Facts.h"

#include <log4cxx/level.h>
#include <log4cxx/logger.h>

#include <functional>
#include <map>
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
/// terminal. Whatever was asked for, the lines of level info and above are kept for the thread that wrote
/// them, unless a configuration file decides which there are. One at a time. Lines may come from any thread.
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

    /// Closes that at once, and ends all logging: for what will not be destroyed, since threads may use it.
    static void close();

    /// The lines of level info and above that the calling thread has written since its last call, in their
    /// order; of more than 4096 the first ones.
    std::vector<Diagnosis::LogLine> takeLines();

    /// The calling thread begins: nothing that was noted of an earlier one of its number is its own.
    void beginThread();

    /// From now on the plug-in writes the picture files that it fetches into the diagnostics folder, without
    /// a line of it shown. False if a configuration file decides on that and does not have it so.
    bool dumpPictures();

    /// Whether it does that, for whatever reason.
    static bool isDumpingPictures();

    /// Gets a line's message as the plug-in wrote it.
    using Listener = std::function<void(std::string_view message)>;

    /// From now on hands the lines of level info and above of the logger called `name` to `listener`, on the
    /// thread that logs them; an empty one ends that. Such lines are made though nobody asked to see them,
    /// and a configuration file has none of them written that it would not have without that. One listener at
    /// a time. It must not log.
    void listenTo(const std::string& name, Listener listener);

    /// From now on no line of that thread is shown, kept or listened to, and the logger that was listened to
    /// is off: the thread is left to itself, and so is what it logs to where this goes.
    void ignore(std::thread::id thread);

private:
    class Appender;
    void hearOfPictures();
    log4cxx::LevelPtr ownLevelOf(const log4cxx::LoggerPtr& logger);

    bool isConfiguredByFile_;
    std::map<std::string, log4cxx::LevelPtr> ownLevels_; ///< of those that were listened to, before that
    std::shared_ptr<Appender> appender_;
};

} // namespace Console
