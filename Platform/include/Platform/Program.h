#pragma once
// What the running program knows of itself.

#include <string>
#include <vector>

namespace Platform {

/// The folder that holds the running program's file, UTF-8, absolute, links resolved (on Windows as the
/// program was started: its libraries are looked for there, too); empty if the system does not say.
std::string programFolder();

/// The command line that main() was given, the program's name first: what the user typed, as UTF-8 where the
/// system tells it as wide text, as it came elsewhere.
std::vector<std::string> programArguments(int argc, const char* const* argv);

/// Has the process take texts for what the environment says they are, or for UTF-8 if that says otherwise:
/// else the logging library turns every byte above 127 into a question mark. Nothing else is the
/// environment's: numbers stay as programs read them, and the system's reasons English, by which they are
/// recognised. Where a terminal must be told that, it is told what it was before when the process ends. Early
/// in main().
void useUtf8();

/// Ends the process and takes nothing down: what threads use that were left behind stays to the last. What
/// is still in buffers is lost.
[[noreturn]] void endAtOnce(int status) noexcept;

} // namespace Platform
