#pragma once
// The kernel's services and the C runtime as tests want them: the world's time, text that is not converted,
// files that fail to open.
//
// The library ScriptedPlatform defines what Platform/Kernel.h, Platform/CRuntime.h and Platform/TcpSocket.h,
// Platform/Winsock.h and Platform/IpHelper.h declare, and what World/Sight.h names; a test program links it
// instead of PlatformSystem. One thread.

#include <cstdint>
#include <cstdio>
#include <string>

namespace World {

/// What the services answer. Which of their calls fails is Calls' affair: QueryPerformanceCounter and
/// QueryPerformanceFrequency answer 0 then and store nothing, the text conversions 0, _time64 -1, _ctime64
/// and fopen null, fwrite 0; fclose closes and answers EOF. Each call is noted ("Sleep 10000", "fopen PATH
/// MODE", "fwrite SIZE COUNT", "fclose" and so on) but the conversions.
struct System {
    static System& current();

    std::int64_t counter = 0; ///< of the performance counter, when no time is over
    std::int64_t frequency = 10'000'000;
    std::int64_t secondsSince1970 = 0; ///< what _time64 answers; local time is UTC
    std::string timeText;              ///< what _ctime64 answers instead of the time, unless empty
    int openFiles = 0;                 ///< files opened and not closed
};

/// The C library's fopen, in the way that each system has for UTF-8. Notes nothing.
std::FILE* openFile(const char* utf8Path, const char* mode);

} // namespace World
