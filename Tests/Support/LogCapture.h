#pragma once
// Keeps what one logger says.

#include <log4cxx/logger.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace TestSupport {

/// One log event.
struct LogLine {
    std::string level;   ///< "TRACE", "DEBUG", "INFO", "WARN", "ERROR"
    std::string message; ///< the bytes that the event carries
    std::string logger;
    std::string file;   ///< of the location
    std::string scope;  ///< of the location: the function's namespaces and class, from its full signature
    std::string method; ///< of the location: the function's name alone
    int line = 0;       ///< of the location
};

/// Level and message, the pair that most tests compare.
struct LogText {
    std::string level;
    std::string message;

    bool operator==(const LogText&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const LogText& text);

/// From construction to destruction: records the events of `logger`, which stands at `level` and passes
/// nothing on to its ancestors. Afterwards the logger is as it was.
class LogCapture {
public:
    explicit LogCapture(const char* logger, const log4cxx::LevelPtr& level = log4cxx::Level::getAll());
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// For the rest of this object's life, or until the next call.
    void setLevel(const log4cxx::LevelPtr& level);

    /// Calls `observer` with each further event once it is recorded. What it throws, the logging call throws.
    void onLine(std::function<void(const LogLine&)> observer);

    const std::vector<LogLine>& lines() const;

    /// Level and message of all lines.
    std::vector<LogText> texts() const;

    /// Level and message of the lines at `level` ("ERROR") and above.
    std::vector<LogText> textsFrom(const log4cxx::LevelPtr& level) const;

private:
    class Recorder;
    log4cxx::LoggerPtr logger_;
    log4cxx::LevelPtr formerLevel_;
    bool formerAdditivity_;
    std::shared_ptr<Recorder> recorder_;
};

} // namespace TestSupport
