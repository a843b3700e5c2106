#pragma once
// A program that a test runs and watches from outside.

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Integration {

/// How a program ended, and all that it said.
struct ProcessResult {
    int status = -1;
    std::string output;
    std::string errors;
};

void PrintTo(const ProcessResult& result, std::ostream* stream);

using Text = testing::Matcher<const std::string&>;

/// Matches a program that ended with this status, this standard output and this standard error.
testing::Matcher<const ProcessResult&> ended(const testing::Matcher<int>& status, const Text& output,
                                             const Text& errors);

/// Matches a text that has all these parts.
Text has(const std::vector<std::string>& parts);

/// Standard output and error are collected, standard input is empty. Every wait is bounded. One thread.
class ChildProcess {
public:
    enum class ErrorStream { pipe, terminal };

    /// Starts `arguments` (the program's path first), with standard error a pipe or a pseudo-terminal of 100
    /// columns. The child cannot write where its user may not, not even as root. Throws std::system_error.
    explicit ChildProcess(const std::vector<std::string>& arguments,
                          ErrorStream errorStream = ErrorStream::pipe);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Kills a child that still runs.
    ~ChildProcess();

    /// Collects output until `text` stands in standard output; false where it has not come within 30 s or
    /// the child has closed its output without it.
    bool waitForOutput(const std::string& text);

    /// The exit status, once the child has ended; 128 plus the number where a signal ended it; -1 where it
    /// has not ended within 60 s.
    int wait();

    /// wait(), and what it said.
    ProcessResult result();

    void signal(int number) const;

    const std::string& output() const { return output_; }
    const std::string& errors() const { return errors_; }

private:
    using Clock = std::chrono::steady_clock;

    bool collect(const std::function<bool()>& enough, Clock::time_point deadline);
    static void readFrom(int& descriptor, std::string& text);

    pid_t pid_ = -1;
    int outputDescriptor_ = -1;
    int errorDescriptor_ = -1;
    std::string output_;
    std::string errors_;
};

/// Runs a program to its end.
ProcessResult run(const std::vector<std::string>& command);

} // namespace Integration
