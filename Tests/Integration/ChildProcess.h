#pragma once
// A program that a test runs and watches from outside.

#include "Network/Socket.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Integration {

using Names = std::vector<std::string>;
using Text = testing::Matcher<const std::string&>;

/// `first`, then `second`.
Names joined(Names first, const Names& second);

/// How a program ended, and all that it said.
struct ProcessResult {
    int status = -1; ///< 128 plus the number where a signal ended it; -1 where it did not end within 60 s
    std::string output;
    std::string errors;
};

void PrintTo(const ProcessResult& result, std::ostream* stream);

/// Matches a program that ended with this status, this standard output and this standard error.
testing::Matcher<const ProcessResult&> ended(const testing::Matcher<int>& status, const Text& output,
                                             const Text& errors);

/// Matches a text that has all these parts.
Text has(const Names& parts);

/// Matches a text of so many lines; what follows the last line end counts as one too.
Text lines(std::size_t number);

/// What Ctrl-C may take to end any of the tool's commands.
inline constexpr std::chrono::milliseconds promptly{500};

/// Standard output and error are collected, standard input is empty. Every wait is bounded. One thread.
class ChildProcess {
public:
    enum class ErrorStream { pipe, terminal };

    /// Starts `command` (the program's path first), with standard error a pipe or a pseudo-terminal of 100
    /// columns. The child cannot write where its user may not, not even as root. Throws std::system_error.
    explicit ChildProcess(const Names& command, ErrorStream errorStream = ErrorStream::pipe);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Kills a child that still runs.
    ~ChildProcess();

    /// Collects output until `text` stands in standard output; false where it has not come within 30 s or
    /// the child has closed its output without it.
    bool waitForOutput(const std::string& text);

    /// Waits for its end. Once.
    ProcessResult result();

    void signal(int number) const;

    /// Waits until its main thread waits for somebody to read its standard output; false after 20 s.
    bool waitForItsWaitForAReader() const;

    /// Sends it a signal and waits for its end, which must come within that time.
    ProcessResult endBy(int signal, std::chrono::milliseconds longest = std::chrono::seconds(60));

    /// What has been collected.
    const std::string& output() const { return output_.text; }
    const std::string& errors() const { return errors_.text; }

private:
    using Clock = std::chrono::steady_clock;

    struct Stream {
        void readOn();

        Simulator::Socket source;
        std::string text;
    };

    bool collect(const std::function<bool()>& enough, std::chrono::seconds longest);

    pid_t pid_ = -1;
    Stream output_;
    Stream errors_;
};

/// Runs a program to its end.
ProcessResult run(const Names& command);

} // namespace Integration
