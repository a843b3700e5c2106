#pragma once
// Why a command cannot go on.

#include "ExitStatus.h"

#include "Diagnosis/Verdict.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>

namespace Console {

/// The command cannot go on. what() is the line, or the lines, for standard error.
class CommandFailure : public std::runtime_error {
public:
    explicit CommandFailure(Diagnosis::Verdict verdict, ExitStatus status = ExitStatus::failed);

    /// Of a text without a cause of its own, code "failed"; what follows "; try: " in it is the remedy.
    explicit CommandFailure(const std::string& text, ExitStatus status = ExitStatus::failed);

    /// Of a cause that is said in other words on standard error.
    CommandFailure(const std::string& line, Diagnosis::Verdict verdict, ExitStatus status);

    const Diagnosis::Verdict& verdict() const noexcept { return verdict_; }
    ExitStatus status() const noexcept { return status_; }

private:
    Diagnosis::Verdict verdict_;
    ExitStatus status_;
};

/// The code "file-failed" for a file or folder that cannot be used.
CommandFailure fileFailure(const std::string& text, const std::string& remedy);

/// Ctrl-C was noticed while a camera was read; leaves the plug-in the way a transport's failure does.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// What Ctrl-C comes to, for the last line and for programs.
CommandFailure interruption();

/// Throws interruption() where Ctrl-C came.
void throwIfInterrupted();

/// Returns at that time, or throws Interrupted within 50 ms of an interrupt.
void waitUntil(std::chrono::steady_clock::time_point due);

/// What an exception comes to: of a CommandFailure its verdict, of any other the code "failed" with what it
/// says, printable; of a shortage of memory the code "no-memory", of a PictureFileError "file-failed".
Diagnosis::Verdict verdictFrom(const std::exception& error);

/// What an exception says, printable; of std::bad_alloc "not enough memory".
std::string reasonFrom(const std::exception& error);

inline constexpr auto notEnoughMemory = "not enough memory";

/// 130 of an interruption, what a CommandFailure says, else ExitStatus::failed.
ExitStatus statusFrom(const std::exception& error);

} // namespace Console
