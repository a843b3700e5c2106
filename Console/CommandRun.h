#pragma once
// What every command of the tool does around its work.

#include "CommandFailure.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <type_traits>
#include <vector>

namespace Console {

/// What Ctrl-C does to a command.
enum class OnInterrupt {
    note, ///< sets Platform::interrupted(): the command has something to bring to an end or to clean up
    end   ///< ends the process at once, with one line and its exit status: nothing is lost but an answer
};

/// Hands the common options on to the host and does the work, whose status it returns. What that throws is
/// one line on standard error and statusFrom() it, and a standard output that could not be written is
/// ExitStatus::failed. What libraries write to `stderr` is shown by LibraryLines. Never throws.
ExitStatus runWork(const CommonOptions& common, OnInterrupt onInterrupt,
                   const std::function<ExitStatus()>& work);

/// Hands the common options on to the host, and says on standard error what is to be said of that. Throws
/// CommandFailure for a diagnostics folder that cannot be made.
void applyAndRemark(const CommonOptions& common);

/// runWork() of work that may also return nothing, which is ExitStatus::done then.
template <typename Work>
ExitStatus runCommand(const CommonOptions& common, OnInterrupt onInterrupt, const Work& work) {
    if constexpr (std::is_void_v<std::invoke_result_t<const Work&>>)
        return runWork(common, onInterrupt, [&work] {
            work();
            return ExitStatus::done;
        });
    else
        return runWork(common, onInterrupt, work);
}

/// runWork() of a command that notes interrupts and may have to tell programs what it did: where `json`, work
/// fills `object`, which is one line on standard output then, with "error" added if the work failed. Nothing
/// is printed of an object that is null and of work that did not fail.
ExitStatus runJson(bool json, nlohmann::ordered_json object, const CommonOptions& common,
                   const std::function<ExitStatus(nlohmann::ordered_json& object)>& work);

/// Of what was lost beside the command's work, which did not fail of it: a line on standard error for each,
/// and the first as "error" of `object`, unless that has one. ExitStatus::partlyFailed in the place of done
/// then.
ExitStatus tellLost(const std::vector<Diagnosis::Verdict>& lost, ExitStatus status,
                    nlohmann::ordered_json& object);

/// Prints the verdict as a line on standard error.
void complain(const Diagnosis::Verdict& verdict);

/// runJson() of work that only fails, with that.
ExitStatus fail(const Diagnosis::Verdict& verdict, ExitStatus status, bool json);

/// Does the work. What it throws is one line on standard error, printable, and statusFrom() it; of a
/// shortage of memory the line is "korva: not enough memory". Never throws.
ExitStatus guarded(const std::function<ExitStatus()>& work);

/// Whether operator new has failed since the last call, in a command: the plug-in makes a failed picture of
/// it. Any thread.
bool takeMemoryShortage() noexcept;

/// Prints the text, and says in one line on standard error and by ExitStatus::failed where that or anything
/// printed before has not gone out.
ExitStatus print(const std::string& text);

/// Prints a line on standard output at once.
void say(const std::string& line);

/// Of a command that does not turn the dump on by itself: warns where a diagnostics folder was given and
/// nothing will be dumped into it.
void warnOfNoDump(const CommonOptions& common);

/// Prints "korva: warning: TEXT" on standard error for each of the texts, which are printable.
void warn(const std::vector<std::string>& texts);

} // namespace Console
