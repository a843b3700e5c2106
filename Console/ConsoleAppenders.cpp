#include "ConsoleAppenders.h"

#include "Platform/StandardError.h"

#include <log4cxx/consoleappender.h>
#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/helpers/writer.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/logstring.h>
#include <log4cxx/spi/appenderattachable.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace Console {

namespace {

class StandardErrorWriter : public log4cxx::helpers::Writer {
public:
    void close(log4cxx::helpers::Pool& /*pool*/) override {}
    void flush(log4cxx::helpers::Pool& /*pool*/) override { std::fflush(stream_); }
    void write(const log4cxx::LogString& text, log4cxx::helpers::Pool& /*pool*/) override {
        std::string bytes;
        log4cxx::helpers::Transcoder::encode(text, bytes);
        // What the library ends lines with is the system's.
        const std::string_view lineEnd = LOG4CXX_EOL;
        if (bytes.ends_with(lineEnd))
            bytes.replace(bytes.size() - lineEnd.size(), lineEnd.size(), "\n");
        std::fputs(bytes.c_str(), stream_);
    }

private:
    // Asked for once: an asynchronous appender writes from a thread of its own.
    std::FILE* const stream_ = Platform::standardError();
};

void keepOnStandardError(const log4cxx::spi::AppenderAttachable& holder) {
    for (const log4cxx::AppenderPtr& appender : holder.getAllAppenders()) {
        if (auto* const console = dynamic_cast<log4cxx::ConsoleAppender*>(appender.get());
            console != nullptr && console->getTarget() == log4cxx::ConsoleAppender::getSystemErr())
            console->setWriter(std::make_shared<StandardErrorWriter>());
        // One that hands on to others, such as an asynchronous one.
        if (const auto* const inner = dynamic_cast<log4cxx::spi::AppenderAttachable*>(appender.get()))
            keepOnStandardError(*inner);
    }
}

} // namespace

void keepConsoleAppendersOnStandardError() {
    keepOnStandardError(*log4cxx::Logger::getRootLogger());
    for (const log4cxx::LoggerPtr& logger : log4cxx::LogManager::getCurrentLoggers())
        keepOnStandardError(*logger);
}

} // namespace Console
