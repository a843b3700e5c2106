#pragma once
// Keeps what one logger says.

#include "Support/OutsidePlugin.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/loggingevent.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
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
    friend std::ostream& operator<<(std::ostream& stream, const LogText& text) {
        return stream << text.level << " \"" << text.message << '"';
    }
};

/// From construction to destruction: records the events of `logger`, which stands at `level` and passes
/// nothing on to its ancestors. Afterwards the logger is as it was.
class LogCapture {
public:
    explicit LogCapture(const char* logger, const log4cxx::LevelPtr& level = log4cxx::Level::getAll())
        : logger_(log4cxx::Logger::getLogger(logger)), formerLevel_(logger_->getLevel()),
          formerAdditivity_(logger_->getAdditivity()) {
        logger_->setLevel(level);
        logger_->setAdditivity(false);
        logger_->addAppender(recorder_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() {
        logger_->removeAppender(recorder_);
        logger_->setAdditivity(formerAdditivity_);
        logger_->setLevel(formerLevel_);
    }

    /// For the rest of this object's life, or until the next call.
    void setLevel(const log4cxx::LevelPtr& level) { logger_->setLevel(level); }

    /// Calls `observer` with each further event once it is recorded. What it throws, the logging call throws.
    void onLine(std::function<void(const LogLine&)> observer) { recorder_->observer = std::move(observer); }

    const std::vector<LogLine>& lines() const { return recorder_->lines; }

    /// Level and message of the lines at `level` and above.
    std::vector<LogText> textsFrom(const log4cxx::LevelPtr& level) const {
        std::vector<LogText> found;
        for (const LogLine& line : lines())
            if (log4cxx::Level::toLevel(line.level)->isGreaterOrEqual(level))
                found.push_back({line.level, line.message});
        return found;
    }
    std::vector<LogText> texts() const { return textsFrom(log4cxx::Level::getAll()); }

private:
    struct Recorder final : log4cxx::AppenderSkeleton {
        void close() override {}
        bool requiresLayout() const override { return false; }
        void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override {
            const OutsidePlugin outside;
            const log4cxx::spi::LocationInfo& place = event->getLocationInformation();
            lines.push_back({event->getLevel()->toString(), event->getMessage(), event->getLoggerName(),
                             place.getFileName(), place.getClassName(), place.getMethodName(),
                             place.getLineNumber()});
            if (observer)
                observer(LogLine(lines.back())); // a copy, as the observer may log
        }

        std::vector<LogLine> lines;
        std::function<void(const LogLine&)> observer;
    };

    log4cxx::LoggerPtr logger_;
    log4cxx::LevelPtr formerLevel_;
    bool formerAdditivity_;
    std::shared_ptr<Recorder> recorder_ = std::make_shared<Recorder>();
};

} // namespace TestSupport
