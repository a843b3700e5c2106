#include "CommandRun.h"

#include "CameraSearch.h"
#include "LibraryLines.h"
#include "Printable.h"

#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"
#include "Platform/StandardError.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>

namespace Console {

namespace {

/// Nothing here takes memory.
ExitStatus failedForMemory() noexcept {
    std::fflush(stdout);
    std::fprintf(Platform::standardError(), "korva: %s\n", notEnoughMemory);
    return ExitStatus::failed;
}

/// Of a text of several lines each made printable, whatever it was before.
std::string printableLines(const std::string& text) {
    std::istringstream stream(text);
    std::string lines;
    for (std::string line; std::getline(stream, line);) {
        if (!lines.empty())
            lines += '\n';
        lines += printable(line);
    }
    return lines;
}

ExitStatus ended(const std::string& reason, ExitStatus status) {
    const std::string lines = printableLines(reason);
    std::fflush(stdout); // in the order in which it happened, where both go to one place
    std::fprintf(Platform::standardError(), "korva: %s\n", lines.c_str());
    return status;
}

std::atomic<bool> memoryRanShort{false};

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

ExitStatus runWork(const CommonOptions& common, OnInterrupt onInterrupt,
                   const std::function<ExitStatus()>& work) {
    if (onInterrupt == OnInterrupt::note)
        Platform::catchInterrupts();
    else
        Platform::endAtInterrupts("korva: interrupted\n", static_cast<int>(ExitStatus::interrupted));
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
            std::_Exit(static_cast<int>(status)); // while all that the thread may use is there
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
    return runWork({}, OnInterrupt::note, [&] {
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
    return memoryRanShort.exchange(false);
}

ExitStatus print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    return standardOutputHolds()
               ? ExitStatus::done
               : ended(
                     "standard output could not be written; try: free space, or another place for the output",
                     ExitStatus::failed);
}

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout); // whoever waits for a line in a pipe gets it now
}

void warnOfNoDump(const CommonOptions& common) {
    if (!common.diagnosticsFolder.empty() && common.log.configFile.empty() && common.log.level != "trace")
        warn({"no picture file is dumped into " + common.diagnosticsFolder + "; try: --log trace as well"});
}

void warn(const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
        std::fprintf(Platform::standardError(), "korva: warning: %s\n", printable(text).c_str());
}

} // namespace Console
