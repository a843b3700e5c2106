#pragma once
// The platform's operations as tests want them: a clock that moves only when told, files that fail to open.
//
// The library ScriptedPlatform defines what Platform/Kernel.h and Platform/CRuntime.h declare; a test program
// links it instead of PlatformSystem. What happens is decided and recorded here. One thread.

#include "Platform/CRuntime.h"
#include "Platform/Kernel.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

/// Set it, run the code, read it. A test gets a fresh one by PlatformScript::current() = {}.
struct PlatformScript {
    static PlatformScript& current();

    // The performance counter. Sleep moves it by its duration, each query by counterStep, after answering;
    // the step then grows, so that no two intervals are alike.
    std::int64_t counter = 0;
    std::int64_t counterStep = 0;
    std::int64_t counterStepGrowth = 0;
    std::int64_t frequency = 10'000'000;

    std::vector<DWORD> sleeps;          ///< milliseconds, in order
    std::function<void(DWORD)> onSleep; ///< called at the beginning of each Sleep

    std::int64_t secondsSince1970 = 0; ///< what _time64 answers; local time is UTC
    bool timeTextFails = false;        ///< _ctime64 answers null
    std::string timeText;              ///< what _ctime64 answers instead of the time, unless empty

    bool conversionFails = false; ///< both text conversions answer 0

    bool openFails = false;  ///< fopen answers null
    bool writeFails = false; ///< fwrite writes nothing and answers 0
    bool closeFails = false; ///< fclose closes and answers EOF

    /// The file operations in order, as "fopen PATH MODE", "fwrite SIZE COUNT" and "fclose".
    std::vector<std::string> fileCalls;
};

} // namespace TestSupport
