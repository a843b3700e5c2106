#include "Support/LogCapture.h"

#include "Support/OutsidePlugin.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/spi/loggingevent.h>

#include <ostream>
#include <utility>

namespace TestSupport {

class LogCapture::Recorder final : public log4cxx::AppenderSkeleton {
public:
    void close() override {}
    bool requiresLayout() const override { return false; }

    std::vector<LogLine> lines;
    std::function<void(const LogLine&)> observer;

protected:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override {
        const OutsidePlugin outside;
        const log4cxx::spi::LocationInfo& location = event->getLocationInformation();
        LogLine line;
        line.level = event->getLevel()->toString();
        line.message = event->getMessage();
        line.logger = event->getLoggerName();
        line.file = location.getFileName();
        line.scope = location.getClassName();
        line.method = location.getMethodName();
        line.line = location.getLineNumber();
        lines.push_back(line);
        if (observer)
            observer(line);
    }
};

std::ostream& operator<<(std::ostream& stream, const LogText& text) {
    return stream << text.level << " \"" << text.message << '"';
}

LogCapture::LogCapture(const char* logger, const log4cxx::LevelPtr& level)
    : logger_(log4cxx::Logger::getLogger(logger)), formerLevel_(logger_->getLevel()),
      formerAdditivity_(logger_->getAdditivity()), recorder_(std::make_shared<Recorder>()) {
    logger_->setLevel(level);
    logger_->setAdditivity(false);
    logger_->addAppender(recorder_);
}

LogCapture::~LogCapture() {
    logger_->removeAppender(recorder_);
    logger_->setAdditivity(formerAdditivity_);
    logger_->setLevel(formerLevel_);
}

void LogCapture::setLevel(const log4cxx::LevelPtr& level) {
    logger_->setLevel(level);
}

void LogCapture::onLine(std::function<void(const LogLine&)> observer) {
    recorder_->observer = std::move(observer);
}

const std::vector<LogLine>& LogCapture::lines() const {
    return recorder_->lines;
}

std::vector<LogText> LogCapture::texts() const {
    return textsFrom(log4cxx::Level::getAll());
}

std::vector<LogText> LogCapture::textsFrom(const log4cxx::LevelPtr& level) const {
    std::vector<LogText> found;
    for (const LogLine& line : recorder_->lines) {
        if (log4cxx::Level::toLevel(line.level)->isGreaterOrEqual(level))
            found.push_back({line.level, line.message});
    }
    return found;
}

} // namespace TestSupport
