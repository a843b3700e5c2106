#pragma once
// Log4cxx's own way to standard error.

namespace Console {

/// Has every appender that a configuration has set up for System.err write to Platform::standardError(): the
/// lines are the tool's log, laid out as its user wants it, and none of a library's by itself.
void keepConsoleAppendersOnStandardError();

} // namespace Console
