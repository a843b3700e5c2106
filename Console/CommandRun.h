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

/// Hands the common options on to the host and does the work, whose status it returns. What that throws is
/// one line on standard error and statusFrom() it, and a standard output that could not be written is
/// ExitStatus::failed. Ctrl-C is noted (Platform::interrupted()): work brings to an end what it has begun.
/// What libraries write to `stderr` is shown by LibraryLines. Never throws.
ExitStatus runWork(const CommonOptions& common, const std::function<ExitStatus()>& work);

/// Hands the common options on to the host, and says on standard error what is to be said of that. Throws
/// CommandFailure for a diagnostics folder that cannot be made.
void applyAndRemark(const CommonOptions& common);

/// runWork() of work that may also return nothing, which is ExitStatus::done then.
template <typename Work>
ExitStatus runCommand(const CommonOptions& common, const Work& work) {
    if constexpr (std::is_void_v<std::invoke_result_t<const Work&>>)
        return runWork(common, [&work] {
            work();
            return ExitStatus::done;
        });
    else
        return runWork(common, work);
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

/// Whether operator new has failed on the calling thread since its last call, in a command: the plug-in makes
/// a failed picture of it.
bool takeMemoryShortage() noexcept;

/// Prints the text, and says in one line on standard error and by ExitStatus::failed where that or anything
/// printed before has not gone out.
ExitStatus print(const std::string& text);

/// Prints a line on standard output at once.
void say(const std::string& line);

/// The same, for what goes on until Ctrl-C. Throws CommandFailure if it has not gone out.
void sayOrEnd(const std::string& line);

/// Where a command may show how far it is: standard error, or null where a configuration of log4cxx might
/// show lines there, behind which it would stand.
std::FILE* streamOfStatus(const CommonOptions& common);

/// Of a command that does not turn the dump on by itself: warns where a diagnostics folder was given and
/// nothing will be dumped into it.
void warnOfNoDump(const CommonOptions& common);

/// Prints the verdict as a line "korva: warning: ..." on standard error.
void warn(const Diagnosis::Verdict& verdict);

} // namespace Console
