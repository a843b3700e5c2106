#include "ChildProcess.h"

#include "Support/Environment.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <linux/capability.h>
#include <optional>
#include <ostream>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace Integration {

namespace {

using Simulator::Socket;

/// Our end and the child's.
std::pair<Socket, Socket> makeStream(ChildProcess::ErrorStream kind) {
    std::array<int, 2> ends{-1, -1};
    const winsize size{24, 100, 0, 0};
    const bool isTerminal = kind == ChildProcess::ErrorStream::terminal;
    if ((isTerminal ? openpty(&ends[0], &ends[1], nullptr, nullptr, &size) : pipe(ends.data())) != 0)
        throw std::system_error(errno, std::generic_category(), "no pipe or pseudo-terminal");
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    return {Socket(ends[0]), Socket(ends[1])};
}

/// In the child, between fork and exec: only what a signal handler may do.
[[noreturn]] void become(char* const* arguments, int output, int errors) {
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    // Root passes over the permissions of files by this capability; for others the call fails and does
    // nothing.
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
    execv(arguments[0], arguments);
    _exit(127);
}

} // namespace

Names joined(Names first, const Names& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void PrintTo(const ProcessResult& result, std::ostream* stream) {
    *stream << "status " << result.status << ", output:\n" << result.output << "errors:\n" << result.errors;
}

testing::Matcher<const ProcessResult&> ended(const testing::Matcher<int>& status, const Text& output,
                                             const Text& errors) {
    return testing::AllOf(testing::Field("status", &ProcessResult::status, status),
                          testing::Field("output", &ProcessResult::output, output),
                          testing::Field("errors", &ProcessResult::errors, errors));
}

Text has(const Names& parts) {
    std::vector<Text> each;
    for (const std::string& part : parts)
        each.emplace_back(testing::HasSubstr(part));
    return testing::AllOfArray(each);
}

Text lines(std::size_t number) {
    const auto count = [](const std::string& text) {
        const auto ends = std::count(text.begin(), text.end(), '\n');
        const bool unended = !text.empty() && text.back() != '\n';
        return static_cast<std::size_t>(ends) + (unended ? 1 : 0);
    };
    return testing::ResultOf("number of lines", count, number);
}

ProcessResult run(const Names& command) {
    return ChildProcess(command).result();
}

ChildProcess::ChildProcess(const Names& command, ErrorStream errorStream) {
    std::vector<char*> pointers;
    for (const std::string& word : command)
        pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);

    auto [output, theirOutput] = makeStream(ErrorStream::pipe);
    auto [errors, theirErrors] = makeStream(errorStream);
    output_.source = std::move(output);
    errors_.source = std::move(errors);
    std::optional<TestSupport::Variable> kind; // this one takes what any does
    if (errorStream == ErrorStream::terminal)
        kind.emplace("TERM", "xterm");
    pid_ = fork();
    if (pid_ == 0)
        become(pointers.data(), theirOutput.descriptor(), theirErrors.descriptor());
    if (pid_ < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
}

ChildProcess::~ChildProcess() {
    signal(SIGKILL);
    if (pid_ > 0)
        waitpid(pid_, nullptr, 0);
}

bool ChildProcess::waitForOutput(const std::string& text) {
    return collect([this, &text] { return output().find(text) != std::string::npos; }, 30s);
}

ProcessResult ChildProcess::result() {
    const auto bothClosed = [this] { return !output_.source.isOpen() && !errors_.source.isOpen(); };
    int status = 0;
    // Once it has closed its output, its end is a matter of moments.
    if (!collect(bothClosed, 60s) || waitpid(pid_, &status, 0) != pid_)
        return {-1, output(), errors()};
    pid_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output(), errors()};
}

ProcessResult ChildProcess::endBy(int number, std::chrono::milliseconds longest) {
    const auto sent = Clock::now();
    signal(number);
    ProcessResult end = result();
    EXPECT_LE(Clock::now() - sent, longest);
    return end;
}

void ChildProcess::signal(int number) const {
    if (pid_ > 0)
        kill(pid_, number);
}

bool ChildProcess::waitForItsWaitForAReader() const {
    const std::string sign = std::to_string(SYS_write) + " 0x1 ";
    for (const auto end = Clock::now() + 20s; Clock::now() < end;) {
        std::string call;
        std::getline(std::ifstream("/proc/" + std::to_string(pid_) + "/syscall"), call);
        if (call.starts_with(sign))
            return true;
        std::this_thread::sleep_for(20ms); // nothing wakes who reads that file
    }
    return false;
}

bool ChildProcess::collect(const std::function<bool()>& enough, std::chrono::seconds longest) {
    const auto deadline = Clock::now() + longest;
    while (!enough()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left <= 0ms || (!output_.source.isOpen() && !errors_.source.isOpen()))
            return false;
        std::array<pollfd, 2> watched{pollfd{output_.source.descriptor(), POLLIN, 0},
                                      pollfd{errors_.source.descriptor(), POLLIN, 0}};
        if (poll(watched.data(), watched.size(), static_cast<int>(left.count())) < 0 && errno != EINTR)
            return false;
        if (watched[0].revents != 0)
            output_.readOn();
        if (watched[1].revents != 0)
            errors_.readOn();
    }
    return true;
}

void ChildProcess::Stream::readOn() {
    std::array<char, 65536> buffer{};
    const ssize_t count = read(source.descriptor(), buffer.data(), buffer.size());
    if (count > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    else if (count == 0 || errno != EINTR) // a pseudo-terminal whose other side has gone says EIO
        source = Socket();
}

} // namespace Integration
