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
#include <log4cxx/spi/loggerrepository.h>
#include <log4cxx/xml/domconfigurator.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace Console {

namespace {

constexpr std::size_t mostRemarks = 8;

/// What their files do not have yet goes out, and no line is made from now on.
void closeAppenders() {
    std::vector<log4cxx::LoggerPtr> loggers = log4cxx::LogManager::getCurrentLoggers();
    loggers.push_back(log4cxx::Logger::getRootLogger());
    for (const log4cxx::LoggerPtr& logger : loggers)
        logger->setLevel(log4cxx::Level::getOff());
    for (const log4cxx::LoggerPtr& logger : loggers)
        for (const log4cxx::AppenderPtr& appender : logger->getAllAppenders())
            appender->close();
}

} // namespace

class ToolLog::Appender : public log4cxx::AppenderSkeleton {
public:
    Appender(log4cxx::LevelPtr shownFrom, ProgressBar* bar) : shownFrom_(std::move(shownFrom)), bar_(bar) {}

    void close() override {}
    bool requiresLayout() const override { return false; }

    std::vector<std::string> takeRemarks() {
        const std::lock_guard lock(mutex_);
        return std::exchange(remarks_, {});
    }

    std::vector<std::string> remarks() {
        const std::lock_guard lock(mutex_);
        return remarks_;
    }

    /// The logger that was listened to before; null for none.
    log4cxx::LoggerPtr listenTo(log4cxx::LoggerPtr logger, Listener listener) {
        const std::lock_guard lock(mutex_);
        listener_ = std::move(listener);
        return std::exchange(listenedTo_, std::move(logger));
    }

    log4cxx::LoggerPtr ignore(std::thread::id thread) {
        const std::lock_guard lock(mutex_);
        ignored_ = thread;
        listener_ = nullptr;
        return std::exchange(listenedTo_, nullptr);
    }

    bool ignoresAny() {
        const std::lock_guard lock(mutex_);
        return ignored_ != std::thread::id();
    }

protected:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override {
        if (!passToListener(*event))
            return;
        const std::string message = printable(event->getMessage());
        if (event->getLevel()->isGreaterOrEqual(shownFrom_)) {
            const std::string line = event->getLevel()->toString() + " " + printable(event->getLoggerName()) +
                                     " - " + message + "\n";
            if (bar_ != nullptr)
                bar_->erase();
            std::fputs(line.c_str(), Platform::standardError());
        }
        if (event->getLevel()->isGreaterOrEqual(log4cxx::Level::getWarn()))
            remember(message);
    }

private:
    /// False for a line that is to be ignored.
    bool passToListener(const log4cxx::spi::LoggingEvent& event) {
        const std::lock_guard lock(mutex_);
        if (std::this_thread::get_id() == ignored_)
            return false;
        if (listener_ && event.getLoggerName() == listenedTo_->getName() &&
            event.getLevel()->isGreaterOrEqual(log4cxx::Level::getInfo()))
            listener_(event.getMessage());
        return true;
    }

    void remember(const std::string& message) {
        const std::lock_guard lock(mutex_);
        if (remarks_.size() < mostRemarks &&
            std::find(remarks_.begin(), remarks_.end(), message) == remarks_.end())
            remarks_.push_back(message);
    }

    log4cxx::LevelPtr shownFrom_;
    ProgressBar* bar_;
    std::mutex mutex_;
    std::vector<std::string> remarks_;
    log4cxx::LoggerPtr listenedTo_;
    Listener listener_;
    std::thread::id ignored_;
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
        root->setLevel(shownFrom->isGreaterOrEqual(Level::getWarn()) ? Level::getWarn() : shownFrom);
    else if (options.configFile.ends_with(".xml"))
        log4cxx::xml::DOMConfigurator::configure(options.configFile);
    else
        log4cxx::PropertyConfigurator::configure(options.configFile);
    keepConsoleAppendersOnStandardError();

    appender_ = std::make_shared<Appender>(shownFrom, bar);
    root->addAppender(appender_);
}

ToolLog::~ToolLog() {
    // Without it the logging library would complain of what the ignored thread says yet. The process ends
    // without taking the library down, which would close the others.
    if (appender_->ignoresAny())
        closeAppenders();
    else
        log4cxx::Logger::getRootLogger()->removeAppender(appender_);
}

std::vector<std::string> ToolLog::takeRemarks() {
    return appender_->takeRemarks();
}

std::vector<std::string> ToolLog::remarks() const {
    return appender_->remarks();
}

void ToolLog::listenTo(const std::string& name, Listener listener) {
    using log4cxx::Level;
    const log4cxx::LoggerPtr logger = listener ? log4cxx::Logger::getLogger(name) : nullptr;
    const log4cxx::LoggerPtr before = appender_->listenTo(logger, std::move(listener));
    if (isConfiguredByFile_)
        return;
    if (before != nullptr)
        before->setLevel(nullptr); // that of its ancestors
    if (logger != nullptr && !logger->isInfoEnabled())
        logger->setLevel(Level::getInfo());
}

void ToolLog::ignore(std::thread::id thread) {
    if (const log4cxx::LoggerPtr before = appender_->ignore(thread))
        before->setLevel(log4cxx::Level::getOff());
}

} // namespace Console
