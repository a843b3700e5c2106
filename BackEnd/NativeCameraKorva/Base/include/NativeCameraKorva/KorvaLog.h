#pragma once
// Logging: asks for the level, builds the message with a stream, and logs it with its source location.

#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/location/locationinfo.h>

#include <array>
#include <cstddef>
#include <locale>
#include <sstream>
#include <string_view>

namespace Korva {

/// The signature of a function as g++ writes it, whichever compiler did: log4cxx takes class and method from
/// it, and would take the bracket of clang's "(anonymous namespace)" for the parameters'.
template <std::size_t size>
class Signature {
public:
    explicit consteval Signature(const char (&compilers)[size]) {
        constexpr std::string_view brackets = "(anonymous namespace)";
        constexpr std::string_view braces = "{anonymous}";
        std::string_view rest(compilers, size);
        char* end = text_.data();
        while (!rest.empty()) {
            const bool isUnnamed = rest.starts_with(brackets);
            for (const char character : isUnnamed ? braces : rest.substr(0, 1))
                *end++ = character;
            rest.remove_prefix(isUnnamed ? brackets.size() : 1);
        }
    }
    constexpr const char* text() const { return text_.data(); }

private:
    std::array<char, size> text_{};
};

} // namespace Korva

/// Logs `message`, a chain of stream insertions, at `LevelName` (Trace, Debug, Info, Warn, Error). The
/// location names the file "BackEnd/NativeCameraKorva/" `file`, the enclosing function's full signature and
/// `line`. The message is built only if the level is enabled. Its numbers look the same whatever the
/// process's global locale is.
#define KORVA_LOG_AT_LINE(logger, LevelName, file, line, message)                                            \
    KORVA_LOG_THROUGH(std::ostringstream, logger, LevelName, file, line, message)

/// KORVA_LOG_AT_LINE with the statement's own line; for a statement whose line is no stable id.
#define KORVA_LOG(logger, LevelName, file, message)                                                          \
    KORVA_LOG_AT_LINE(logger, LevelName, file, __LINE__, message)

/// KORVA_LOG of a chain of wide insertions, through the logger's wide interface.
#define KORVA_LOG_WIDE(logger, LevelName, file, message)                                                     \
    KORVA_LOG_THROUGH(std::wostringstream, logger, LevelName, file, __LINE__, message)

/// What the others have in common: `Stream` builds the message, which stands last.
#define KORVA_LOG_THROUGH(Stream, logger, LevelName, file, line, ...)                                        \
    do {                                                                                                     \
        if ((logger)->is##LevelName##Enabled()) {                                                            \
            static constexpr Korva::Signature korvaLogSignature(__LOG4CXX_FUNC__);                           \
            Stream korvaLogStream;                                                                           \
            korvaLogStream.imbue(std::locale::classic());                                                    \
            korvaLogStream << __VA_ARGS__;                                                                   \
            (logger)->forcedLog(log4cxx::Level::get##LevelName(), korvaLogStream.str(),                      \
                                log4cxx::spi::LocationInfo("BackEnd/NativeCameraKorva/" file, file,          \
                                                           korvaLogSignature.text(), line));                 \
        }                                                                                                    \
    } while (false)
