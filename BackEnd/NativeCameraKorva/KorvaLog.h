#pragma once
// Logging: asks for the level, builds the message with a stream, and logs it with its source location.

#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/location/locationinfo.h>

#include <sstream>

/// Logs `message`, a chain of stream insertions, at `LevelName` (Trace, Debug, Info, Warn, Error). The
/// location names the file "BackEnd/NativeCameraKorva/" `file`, the enclosing function's full signature and
/// `line`. The message is built only where the level is enabled.
#define KORVA_LOG_AT_LINE(logger, LevelName, file, line, message)                                            \
    do {                                                                                                     \
        if ((logger)->is##LevelName##Enabled()) {                                                            \
            std::ostringstream korvaLogStream;                                                               \
            korvaLogStream << message; /* NOLINT(bugprone-macro-parentheses): a chain of insertions */       \
            (logger)->forcedLog(log4cxx::Level::get##LevelName(), korvaLogStream.str(),                      \
                                log4cxx::spi::LocationInfo("BackEnd/NativeCameraKorva/" file, file,          \
                                                           __LOG4CXX_FUNC__, line));                         \
        }                                                                                                    \
    } while (false)

/// KORVA_LOG_AT_LINE with the statement's own line; for a statement whose line is no stable id.
#define KORVA_LOG(logger, LevelName, file, message)                                                          \
    KORVA_LOG_AT_LINE(logger, LevelName, file, __LINE__, message)
