#include "StatusLine.h"

#include "Platform/StandardError.h"
#include "Platform/Terminal.h"

#include <cstdlib>

namespace Console {

bool isColourWanted(std::FILE* stream) {
    const char* const unwanted = std::getenv("NO_COLOR");
    return (unwanted == nullptr || *unwanted == '\0') && Platform::isTerminal(stream);
}

StatusLine::StatusLine(const LogOptions& log)
    : isEnabled_((log.level.empty() || log.level == "off") && log.configFile.empty() &&
                 Platform::isTerminal(Platform::standardError())) {}

StatusLine::~StatusLine() {
    erase();
}

void StatusLine::show(const std::string& text) {
    erase();
    if (!isEnabled_)
        return;
    std::fprintf(Platform::standardError(), "%s", text.c_str());
    std::fflush(Platform::standardError());
    isShown_ = true;
}

void StatusLine::erase() {
    if (!isShown_)
        return;
    std::fputs("\r\x1b[K", Platform::standardError());
    std::fflush(Platform::standardError());
    isShown_ = false;
}

} // namespace Console
