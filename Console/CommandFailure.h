#pragma once
// Why a command cannot go on.

#include "ExitStatus.h"

#include "Diagnosis/RulesOfTool.h"
#include "Diagnosis/Verdict.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>

namespace Console {

/// The command cannot go on. what() is the line for standard error.
class CommandFailure : public std::runtime_error {
public:
    explicit CommandFailure(Diagnosis::Verdict verdict, ExitStatus status = ExitStatus::failed);
    explicit CommandFailure(const Diagnosis::Trouble& trouble, ExitStatus status = ExitStatus::failed);

    const Diagnosis::Verdict& verdict() const noexcept { return verdict_; }
    ExitStatus status() const noexcept { return status_; }

private:
    friend CommandFailure interruption();

    CommandFailure(const char* line, Diagnosis::Verdict verdict, ExitStatus status);

    Diagnosis::Verdict verdict_;
    ExitStatus status_;
};

/// Ctrl-C was noticed while a camera was read; leaves the plug-in the way a transport's failure does.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error(Diagnosis::interruptedBriefly) {}
};

/// What Ctrl-C comes to, for the last line and for programs.
CommandFailure interruption();

/// Throws interruption() where Ctrl-C came.
void throwIfInterrupted();

/// Returns at that time, or throws interruption() within 50 ms of an interrupt.
void waitUntil(std::chrono::steady_clock::time_point due);

/// What an exception comes to: of a CommandFailure its verdict, of any other the code "failed" with what it
/// says; of a shortage of memory the code "no-memory".
Diagnosis::Verdict verdictFrom(const std::exception& error);

/// What an exception says, printable; of std::bad_alloc Diagnosis::notEnoughMemory.
std::string reasonFrom(const std::exception& error);

/// 130 of an interruption, what a CommandFailure says, else ExitStatus::failed.
ExitStatus statusFrom(const std::exception& error);

} // namespace Console
