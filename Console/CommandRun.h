#pragma once
// What every command of the tool does around its work.

#include "CommonOptions.h"
#include "ExitStatus.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Console {

/// The command cannot go on; the message is the line for standard error, printable.
class CommandFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Ctrl-C was noticed while a camera was read; leaves the plug-in the way a transport's failure does.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// What Ctrl-C does to a command.
enum class OnInterrupt {
    note, ///< sets Platform::interrupted(): the command has something to bring to an end or to clean up
    end   ///< ends the process at once, with one line and ExitStatus::failed: nothing is lost but an answer
};

/// Hands the common options on to the host and does the work. What that throws is one line on standard error
/// and ExitStatus::failed, as is a standard output that could not be written. What libraries write to
/// `stderr` is shown by LibraryLines. Never throws.
ExitStatus runCommand(const CommonOptions& common, OnInterrupt onInterrupt,
                      const std::function<void()>& work);

/// Prints a line on standard output at once.
void say(const std::string& line);

/// Prints "korva: warning: TEXT" on standard error for each of the texts, which are printable.
void warn(const std::vector<std::string>& texts);

} // namespace Console
