#pragma once
// What every command of the tool does around its work.

#include "CommonOptions.h"
#include "ExitStatus.h"

#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Console {

/// The command cannot go on; the message is the line, or the lines, for standard error.
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

/// Does the work. What it throws is one line on standard error, printable, and ExitStatus::failed; of a
/// shortage of memory the line is "korva: not enough memory". Never throws.
ExitStatus guarded(const std::function<ExitStatus()>& work);

/// What an exception says, printable; of std::bad_alloc "not enough memory".
std::string reasonFrom(const std::exception& error);

/// Whether operator new has failed since the last call, in a command: the plug-in makes a failed picture of
/// it. Any thread.
bool takeMemoryShortage() noexcept;

/// Prints the text, and says in one line on standard error and by ExitStatus::failed where that or anything
/// printed before has not gone out.
ExitStatus print(const std::string& text);

/// Prints a line on standard output at once.
void say(const std::string& line);

/// Prints "korva: warning: TEXT" on standard error for each of the texts, which are printable.
void warn(const std::vector<std::string>& texts);

} // namespace Console
