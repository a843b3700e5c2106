#include "CommandRun.h"

#include "CameraSearch.h"
#include "LibraryLines.h"

#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"
#include "Platform/Program.h"
#include "Platform/StandardError.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

namespace Console {

namespace {

using Diagnosis::Obstacle;

/// Nothing here takes memory.
ExitStatus failedForMemory() noexcept {
    std::fflush(stdout);
    std::fprintf(Platform::standardError(), "korva: %s\n", Diagnosis::notEnoughMemory);
    return ExitStatus::failed;
}

ExitStatus ended(const std::string& reason, ExitStatus status) {
    std::fflush(stdout); // in the order in which it happened, where both go to one place
    std::fprintf(Platform::standardError(), "korva: %s\n", reason.c_str());
    return status;
}

thread_local bool memoryRanShort = false; // each camera is used on one thread, which its memory is taken on

[[noreturn]] void noteMemoryShortage() {
    memoryRanShort = true;
    throw std::bad_alloc();
}

/// Whatever was printed has really gone out: a full disk behind a redirection shows up here.
bool standardOutputHolds() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

} // namespace

void applyAndRemark(const CommonOptions& common) {
    if (const std::string remark = applyToHost(common); !remark.empty())
        std::fprintf(Platform::standardError(), "korva: %s\n", remark.c_str());
}

ExitStatus runWork(const CommonOptions& common, const std::function<ExitStatus()>& work) {
    Platform::catchInterrupts();
    std::set_new_handler(noteMemoryShortage);
    return guarded([&] {
        LibraryLines libraryLines;
        const Platform::LibraryErrors guard([&](std::string_view line) { libraryLines.show(line); });
        const ExitStatus status = guarded([&] {
            applyAndRemark(common);
            const ExitStatus worked = work();
            const ExitStatus printed = print("");
            return printed == ExitStatus::done ? worked : printed;
        });
        if (isThreadLeftBehind()) {
            std::fflush(nullptr);
            Platform::endAtOnce(static_cast<int>(status)); // while all that the thread may use is there
        }
        return status;
    });
}

ExitStatus runJson(bool json, nlohmann::ordered_json object, const CommonOptions& common,
                   const std::function<ExitStatus(nlohmann::ordered_json& object)>& work) {
    const auto tell = [&] {
        if (json && !object.is_null())
            say(Diagnosis::dumped(object));
    };
    return runWork({}, [&] {
        try {
            applyAndRemark(common); // here, so that programs are told why it failed
            const ExitStatus status = work(object);
            tell();
            return status;
        } catch (const std::exception& error) {
            object["error"] = Diagnosis::errorOf(verdictFrom(error));
            tell();
            throw;
        }
    });
}

void complain(const Diagnosis::Verdict& verdict) {
    std::fflush(stdout); // in the order in which it happened, where both go to one place
    std::fprintf(Platform::standardError(), "korva: %s\n", Diagnosis::lineOf(verdict).c_str());
}

ExitStatus tellLost(const std::vector<Diagnosis::Verdict>& lost, ExitStatus status,
                    nlohmann::ordered_json& object) {
    std::for_each(lost.begin(), lost.end(), complain);
    if (!lost.empty() && !object.contains("error"))
        object["error"] = Diagnosis::errorOf(lost.front());
    return !lost.empty() && status == ExitStatus::done ? ExitStatus::partlyFailed : status;
}

ExitStatus fail(const Diagnosis::Verdict& verdict, ExitStatus status, bool json) {
    return runJson(json, {}, {},
                   [&](nlohmann::ordered_json&) -> ExitStatus { throw CommandFailure(verdict, status); });
}

ExitStatus guarded(const std::function<ExitStatus()>& work) {
    try {
        try {
            return work();
        } catch (const CommandFailure& failure) {
            return ended(failure.what(), failure.status());
        } catch (const std::exception& error) {
            return ended(reasonFrom(error), statusFrom(error));
        }
    } catch (const std::bad_alloc&) {
        return failedForMemory(); // also if it is the reason that does not fit
    }
}

bool takeMemoryShortage() noexcept {
    return std::exchange(memoryRanShort, false);
}

ExitStatus print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    if (standardOutputHolds())
        return ExitStatus::done;
    return ended(Diagnosis::lineOf(Diagnosis::verdictOn({.what = Obstacle::output})), ExitStatus::failed);
}

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout); // whoever waits for a line in a pipe gets it now
}

void sayOrEnd(const std::string& line) {
    say(line);
    if (!standardOutputHolds())
        throw CommandFailure(Diagnosis::Trouble{.what = Obstacle::output});
}

std::FILE* streamOfStatus(const CommonOptions& common) {
    return common.log.configFile.empty() ? Platform::standardError() : nullptr;
}

void warnOfNoDump(const CommonOptions& common) {
    if (!common.diagnosticsFolder.empty() && common.log.configFile.empty() && common.log.level != "trace")
        warn(Diagnosis::verdictOn({.what = Obstacle::dumpsAreOff, .place = common.diagnosticsFolder}));
}

void warn(const Diagnosis::Verdict& verdict) {
    std::fprintf(Platform::standardError(), "korva: warning: %s\n", Diagnosis::lineOf(verdict).c_str());
}

} // namespace Console
