#pragma once
// What the tool tells its caller when it ends.

namespace Console {

enum class ExitStatus : int {
    done = 0,
    failed = 1,       ///< the plug-in, a camera, the network or the disk failed
    wrongUsage = 2,   ///< the command line makes no sense
    nothingFound = 3, ///< a search has found no camera
    partlyFailed = 4, ///< some of what was asked for was done
    interrupted = 130 ///< Ctrl-C came first
};

/// The same for the end of a command's help.
inline constexpr auto exitStatusHelp = "Exit status: 0 all done; 1 failed; 2 wrong usage; 3 nothing found; 4 "
                                       "part of it failed; 130 interrupted.";

} // namespace Console
