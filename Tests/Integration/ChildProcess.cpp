#include "ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/capability.h>
#include <ostream>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace Integration {

namespace {

constexpr auto longestWaitForText = std::chrono::seconds(30);
constexpr auto longestWaitForEnd = std::chrono::seconds(60);
constexpr unsigned short terminalColumns = 100;

void require(bool fine, const char* what) {
    if (!fine)
        throw std::system_error(errno, std::generic_category(), what);
}

/// Our end first.
std::pair<int, int> makePipe() {
    std::array<int, 2> ends{};
    require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe");
    return {ends[0], ends[1]};
}

std::pair<int, int> makeTerminal() {
    const int ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(ours >= 0 && grantpt(ours) == 0 && unlockpt(ours) == 0, "pseudo-terminal");
    const int theirs = open(ptsname(ours), O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(theirs >= 0, "pseudo-terminal");
    winsize size{};
    size.ws_col = terminalColumns;
    size.ws_row = 24;
    require(ioctl(theirs, TIOCSWINSZ, &size) == 0, "window size");
    return {ours, theirs};
}

/// In the child, between fork and exec: only what a signal handler may do.
[[noreturn]] void become(char* const* arguments, int output, int errors) {
    const int nothing = open("/dev/null", O_RDONLY);
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

void PrintTo(const ProcessResult& result, std::ostream* stream) {
    *stream << "status " << result.status << ", output:\n" << result.output << "errors:\n" << result.errors;
}

testing::Matcher<const ProcessResult&> ended(const testing::Matcher<int>& status, const Text& output,
                                             const Text& errors) {
    return testing::AllOf(testing::Field("status", &ProcessResult::status, status),
                          testing::Field("output", &ProcessResult::output, output),
                          testing::Field("errors", &ProcessResult::errors, errors));
}

Text has(const std::vector<std::string>& parts) {
    std::vector<Text> each;
    for (const std::string& part : parts)
        each.emplace_back(testing::HasSubstr(part));
    return testing::AllOfArray(each);
}

ProcessResult run(const std::vector<std::string>& command) {
    return ChildProcess(command).result();
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, ErrorStream errorStream) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    const auto [output, theirOutput] = makePipe();
    const auto [errors, theirErrors] = errorStream == ErrorStream::terminal ? makeTerminal() : makePipe();
    pid_ = fork();
    if (pid_ == 0)
        become(pointers.data(), theirOutput, theirErrors);
    close(theirOutput);
    close(theirErrors);
    outputDescriptor_ = output;
    errorDescriptor_ = errors;
    require(pid_ > 0, "fork");
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (const int descriptor : {outputDescriptor_, errorDescriptor_})
        if (descriptor >= 0)
            close(descriptor);
}

bool ChildProcess::waitForOutput(const std::string& text) {
    const auto there = [this, &text] { return output_.find(text) != std::string::npos; };
    return collect(there, Clock::now() + longestWaitForText);
}

int ChildProcess::wait() {
    const auto deadline = Clock::now() + longestWaitForEnd;
    const auto bothClosed = [this] { return outputDescriptor_ < 0 && errorDescriptor_ < 0; };
    if (pid_ <= 0 || !collect(bothClosed, deadline))
        return -1;
    // It has closed its output: its end is a matter of moments.
    int status = 0;
    if (waitpid(pid_, &status, 0) != pid_)
        return -1;
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ProcessResult ChildProcess::result() {
    const int status = wait();
    return {status, output_, errors_};
}

void ChildProcess::signal(int number) const {
    if (pid_ > 0)
        kill(pid_, number);
}

bool ChildProcess::collect(const std::function<bool()>& enough, Clock::time_point deadline) {
    while (!enough()) {
        std::array<pollfd, 2> watched{pollfd{outputDescriptor_, POLLIN, 0},
                                      pollfd{errorDescriptor_, POLLIN, 0}};
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        const bool allClosed = outputDescriptor_ < 0 && errorDescriptor_ < 0;
        if (left <= 0 || allClosed)
            return false;
        const int ready = poll(watched.data(), watched.size(), static_cast<int>(left));
        if (ready < 0 && errno != EINTR)
            return false;
        if (ready > 0 && watched[0].revents != 0)
            readFrom(outputDescriptor_, output_);
        if (ready > 0 && watched[1].revents != 0)
            readFrom(errorDescriptor_, errors_);
    }
    return true;
}

void ChildProcess::readFrom(int& descriptor, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
        // A pseudo-terminal whose other side has gone says EIO, a pipe says 0.
        close(descriptor);
        descriptor = -1;
    }
}

} // namespace Integration
