#pragma once
// What the tool tells its caller when it ends.

namespace Console {

enum class ExitStatus : int {
    done = 0,
    failed = 1,    ///< the camera, the network or the disk failed, or Ctrl-C ended a command
    wrongUsage = 2 ///< the command line makes no sense
};

} // namespace Console
