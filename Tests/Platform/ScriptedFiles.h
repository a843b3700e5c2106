#pragma once
// Steps of writing a file that fail, or during which something happens, when a test says so.

#include <functional>
#include <string>

namespace TestSupport {

/// Set it, run the code. A test gets a fresh one by FileScript::current() = {}. Each thread has its own.
struct FileScript {
    static FileScript& current();

    // The error of a step; 0: it goes on to the system's.
    int openWithoutName = 0; ///< of open() with O_TMPFILE
    int link = 0;            ///< of linkat()
    int changeOwner = 0;     ///< of fchown()
    int flush = 0;           ///< of fsync()

    std::string opened = {}; ///< the path of the last open()

    std::function<void()> onFlush = {};  ///< called at the beginning of each fsync()
    std::function<void()> onRename = {}; ///< called at the beginning of each rename()
};

} // namespace TestSupport
