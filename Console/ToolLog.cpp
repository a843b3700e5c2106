#include "ToolLog.h"

#include "ConsoleAppenders.h"
#include "Printable.h"
#include "ProgressBar.h"

#include "Platform/StandardError.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/propertyconfigurator.h>
#include <log4cxx/spi/filter.h>
#include <log4cxx/spi/loggerrepository.h>
#include <log4cxx/spi/loggingevent.h>
#include <log4cxx/xml/domconfigurator.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace Console {

namespace {

constexpr std::size_t mostLines = 4096;

/// Whose trace level has the plug-in dump.
constexpr auto dumpingLogger = "Plenar.KorvaCamera.KorvaCapture";

/// Who says that a picture is not of the camera's size.
constexpr auto loggerOfPictures = "Plenar.KorvaCamera.KorvaInternals";

Diagnosis::LogLine::Level levelOf(const log4cxx::LevelPtr& level) {
    using Diagnosis::LogLine;
    if (level->isGreaterOrEqual(log4cxx::Level::getError()))
        return LogLine::Level::error;
    return level->isGreaterOrEqual(log4cxx::Level::getWarn()) ? LogLine::Level::warn : LogLine::Level::info;
}

/// Keeps lines of one logger, or of all where it has no name, from an appender that would not have them but
/// for the tool.
class BelowFilter : public log4cxx::spi::Filter {
public:
    BelowFilter(log4cxx::LevelPtr least, std::string logger)
        : least_(std::move(least)), logger_(std::move(logger)) {}

    FilterDecision decide(const log4cxx::spi::LoggingEventPtr& event) const override {
        const bool isHidden = (logger_.empty() || event->getLoggerName() == logger_) &&
                              !event->getLevel()->isGreaterOrEqual(least_);
        return isHidden ? DENY : NEUTRAL;
    }

private:
    log4cxx::LevelPtr least_;
    std::string logger_;
};

void hideBelow(const log4cxx::LevelPtr& least, const std::string& name, const log4cxx::AppenderPtr& butFrom) {
    std::vector<log4cxx::LoggerPtr> loggers = log4cxx::LogManager::getCurrentLoggers();
    loggers.push_back(log4cxx::Logger::getRootLogger());
    std::set<log4cxx::AppenderPtr> appenders;
    for (const log4cxx::LoggerPtr& logger : loggers)
        for (const log4cxx::AppenderPtr& appender : logger->getAllAppenders())
            if (appender != butFrom && appenders.insert(appender).second)
                appender->addFilter(std::make_shared<BelowFilter>(least, name));
}

/// The threshold of all loggers hides a line of that level from nobody who listens, and yet from the others.
void lowerThreshold(const log4cxx::LevelPtr& level, const log4cxx::AppenderPtr& butFrom) {
    const auto repository = log4cxx::LogManager::getLoggerRepository();
    const log4cxx::LevelPtr threshold = repository->getThreshold();
    if (level->isGreaterOrEqual(threshold))
        return;
    hideBelow(threshold, "", butFrom);
    repository->setThreshold(level);
}

} // namespace

class ToolLog::Appender : public log4cxx::AppenderSkeleton {
public:
    Appender(log4cxx::LevelPtr shownFrom, ProgressBar* bar) : shownFrom_(std::move(shownFrom)), bar_(bar) {}

    void close() override {}
    bool requiresLayout() const override { return false; }

    std::vector<Diagnosis::LogLine> takeLines() {
        const std::lock_guard lock(mutex_);
        const auto own = lines_.extract(std::this_thread::get_id());
        return own.empty() ? std::vector<Diagnosis::LogLine>() : std::move(own.mapped());
    }

    void beginThread() {
        const std::lock_guard lock(mutex_);
        lines_.erase(std::this_thread::get_id());
        ignored_.erase(std::this_thread::get_id());
    }

    /// The logger that was listened to before; null for none.
    log4cxx::LoggerPtr listenTo(log4cxx::LoggerPtr logger, Listener listener) {
        const std::lock_guard lock(mutex_);
        listener_ = std::move(listener);
        return std::exchange(listenedTo_, std::move(logger));
    }

    log4cxx::LoggerPtr ignore(std::thread::id thread) {
        const std::lock_guard lock(mutex_);
        ignored_.insert(thread);
        listener_ = nullptr;
        hasIgnored_ = true;
        return std::exchange(listenedTo_, nullptr);
    }

    bool hasIgnored() {
        const std::lock_guard lock(mutex_);
        return hasIgnored_;
    }

protected:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override {
        if (!passToListener(*event))
            return;
        if (event->getLevel()->isGreaterOrEqual(log4cxx::Level::getInfo()))
            keepLine(*event);
        if (!event->getLevel()->isGreaterOrEqual(shownFrom_))
            return;
        const std::string line = event->getLevel()->toString() + " " + printable(event->getLoggerName()) +
                                 " - " + printable(event->getMessage()) + "\n";
        if (bar_ != nullptr)
            bar_->erase();
        std::fputs(line.c_str(), Platform::standardError());
    }

private:
    /// False for a line that is to be ignored. The listener may take locks of its own, so it is called
    /// without one.
    bool passToListener(const log4cxx::spi::LoggingEvent& event) {
        Listener listener;
        {
            const std::lock_guard lock(mutex_);
            if (ignored_.contains(std::this_thread::get_id()))
                return false;
            if (listenedTo_ != nullptr && event.getLoggerName() == listenedTo_->getName() &&
                event.getLevel()->isGreaterOrEqual(log4cxx::Level::getInfo()))
                listener = listener_;
        }
        if (listener)
            listener(event.getMessage());
        return true;
    }

    void keepLine(const log4cxx::spi::LoggingEvent& event) {
        const std::lock_guard lock(mutex_);
        auto& lines = lines_[std::this_thread::get_id()];
        if (lines.size() < mostLines)
            lines.push_back({levelOf(event.getLevel()), event.getLoggerName(), event.getMessage()});
    }

    log4cxx::LevelPtr shownFrom_;
    ProgressBar* bar_;
    std::mutex mutex_;
    std::map<std::thread::id, std::vector<Diagnosis::LogLine>> lines_;
    log4cxx::LoggerPtr listenedTo_;
    Listener listener_;
    std::set<std::thread::id> ignored_;
    bool hasIgnored_ = false;
};

ToolLog::ToolLog(const LogOptions& options, ProgressBar* bar)
    : isConfiguredByFile_(!options.configFile.empty()) {
    using log4cxx::Level;
    log4cxx::BasicConfigurator::resetConfiguration();
    // Else the first logger has log4cxx look for a configuration in the environment and in the working
    // folder.
    log4cxx::LogManager::getLoggerRepository()->setConfigured(true);
    const auto root = log4cxx::Logger::getRootLogger();
    const auto shownFrom = Level::toLevelLS(options.level, Level::getOff());

    if (options.configFile.empty())
        root->setLevel(shownFrom->isGreaterOrEqual(Level::getInfo()) ? Level::getInfo() : shownFrom);
    else if (options.configFile.ends_with(".xml"))
        log4cxx::xml::DOMConfigurator::configure(options.configFile);
    else
        log4cxx::PropertyConfigurator::configure(options.configFile);
    keepConsoleAppendersOnStandardError();

    appender_ = std::make_shared<Appender>(shownFrom, bar);
    root->addAppender(appender_);
    if (isConfiguredByFile_)
        hearOfPictures();
}

/// A picture of another size than the camera's is told in a line alone, so no configuration hides that from
/// the tool; nobody else is shown it for that.
void ToolLog::hearOfPictures() {
    using log4cxx::Level;
    const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger(loggerOfPictures);
    lowerThreshold(Level::getWarn(), appender_);
    if (!logger->isWarnEnabled()) {
        hideBelow(logger->getEffectiveLevel(), loggerOfPictures, appender_);
        logger->setLevel(Level::getWarn());
    }
    for (log4cxx::LoggerPtr each = logger; each != nullptr; each = each->getParent())
        if (!each->getAdditivity()) // else it comes by the root
            return logger->addAppender(appender_);
}

ToolLog::~ToolLog() {
    // Without it the logging library would complain of what the ignored thread says yet. The process ends
    // without taking the library down, which would close the others.
    if (appender_->hasIgnored())
        close();
    else
        for (const log4cxx::LoggerPtr& logger :
             {log4cxx::Logger::getRootLogger(), log4cxx::Logger::getLogger(loggerOfPictures)})
            logger->removeAppender(appender_);
}

/// What their files do not have yet goes out, and no line is made from now on.
void ToolLog::close() {
    std::vector<log4cxx::LoggerPtr> loggers = log4cxx::LogManager::getCurrentLoggers();
    loggers.push_back(log4cxx::Logger::getRootLogger());
    for (const log4cxx::LoggerPtr& logger : loggers)
        logger->setLevel(log4cxx::Level::getOff());
    for (const log4cxx::LoggerPtr& logger : loggers)
        for (const log4cxx::AppenderPtr& appender : logger->getAllAppenders())
            appender->close();
}

std::vector<Diagnosis::LogLine> ToolLog::takeLines() {
    return appender_->takeLines();
}

void ToolLog::beginThread() {
    appender_->beginThread();
}

bool ToolLog::dumpPictures() {
    const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger(dumpingLogger);
    if (!isConfiguredByFile_)
        logger->setLevel(log4cxx::Level::getTrace());
    return isDumpingPictures();
}

bool ToolLog::isDumpingPictures() {
    return log4cxx::Logger::getLogger(dumpingLogger)->isTraceEnabled();
}

/// That it had before it was listened to; null for that of its ancestors.
log4cxx::LevelPtr ToolLog::ownLevelOf(const log4cxx::LoggerPtr& logger) {
    const auto [place, isNew] = ownLevels_.try_emplace(logger->getName(), logger->getLevel());
    if (isNew && isConfiguredByFile_)
        hideBelow(logger->getEffectiveLevel(), logger->getName(), appender_);
    return place->second;
}

void ToolLog::listenTo(const std::string& name, Listener listener) {
    const log4cxx::LoggerPtr logger = listener ? log4cxx::Logger::getLogger(name) : nullptr;
    const log4cxx::LoggerPtr before = appender_->listenTo(logger, std::move(listener));
    if (before != nullptr)
        before->setLevel(ownLevelOf(before));
    if (logger == nullptr)
        return;
    logger->setLevel(ownLevelOf(logger));
    lowerThreshold(log4cxx::Level::getInfo(), appender_);
    if (!logger->isInfoEnabled())
        logger->setLevel(log4cxx::Level::getInfo());
}

void ToolLog::ignore(std::thread::id thread) {
    if (const log4cxx::LoggerPtr before = appender_->ignore(thread))
        before->setLevel(log4cxx::Level::getOff());
}

} // namespace Console
