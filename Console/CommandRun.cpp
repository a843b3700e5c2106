#include "CommandRun.h"

#include "CameraSearch.h"
#include "LibraryLines.h"
#include "Printable.h"

#include "Platform/StandardError.h"
#include "Platform/Terminal.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

namespace Console {

namespace {

ExitStatus failed(const std::string& reason) {
    std::fflush(stdout); // in the order in which it happened, where both go to one place
    std::fprintf(Platform::standardError(), "korva: %s\n", reason.c_str());
    return ExitStatus::failed;
}

/// Whatever was printed has really gone out: a full disk behind a redirection shows up here.
bool standardOutputHolds() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

/// What comes of the work, said where it has failed.
ExitStatus outcomeOf(const CommonOptions& common, const std::function<void()>& work) {
    try {
        if (const std::string remark = applyToHost(common); !remark.empty())
            std::fprintf(Platform::standardError(), "korva: %s\n", remark.c_str());
        work();
    } catch (const CommandFailure& failure) {
        return failed(failure.what());
    } catch (const std::exception& error) {
        return failed(printable(error.what()));
    }
    return standardOutputHolds() ? ExitStatus::done : failed("standard output could not be written");
}

} // namespace

ExitStatus runCommand(const CommonOptions& common, OnInterrupt onInterrupt,
                      const std::function<void()>& work) {
    if (onInterrupt == OnInterrupt::note)
        Platform::catchInterrupts();
    else
        Platform::endAtInterrupts("korva: interrupted\n", static_cast<int>(ExitStatus::failed));
    LibraryLines libraryLines;
    try {
        const Platform::LibraryErrors guard([&](std::string_view line) { libraryLines.show(line); });
        const ExitStatus status = outcomeOf(common, work);
        if (isThreadLeftBehind()) {
            std::fflush(nullptr);
            std::_Exit(static_cast<int>(status)); // while all that the thread may use is there
        }
        return status;
    } catch (const std::exception& error) {
        return failed(printable(error.what()));
    }
}

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout); // whoever waits for a line in a pipe gets it now
}

void warn(const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
        std::fprintf(Platform::standardError(), "korva: warning: %s\n", text.c_str());
}

} // namespace Console
