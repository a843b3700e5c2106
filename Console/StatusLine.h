#pragma once
// What is shown on a terminal only.

#include "ToolLog.h"

#include <cstdio>
#include <string>

namespace Console {

/// Whether lines on `stream` may have colours: it is a terminal, and NO_COLOR is not set in the environment.
bool isColourWanted(std::FILE* stream);

/// One line on standard error that says what is going on, and goes away. Nothing where that is no terminal,
/// or where log lines are shown there.
class StatusLine {
public:
    explicit StatusLine(const LogOptions& log);
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// erase()
    ~StatusLine();

    /// In the place of what is shown.
    void show(const std::string& text);

    void erase();

private:
    bool isEnabled_;
    bool isShown_ = false;
};

} // namespace Console
