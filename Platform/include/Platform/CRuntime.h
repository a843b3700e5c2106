#pragma once
// The C runtime's clock and file operations that this system calls, with one behaviour on every system.

#include <cstddef>
#include <cstdio>

#if defined(_WIN32)

#include <time.h>

#else

#include <cstdint>

using __time64_t = std::int64_t;

/// Seconds since 1970-01-01 00:00 UTC; stored in `*now` too unless that is null.
__time64_t _time64(__time64_t* now);

/// The local time `*when` as 25 characters of fixed layout and a terminator, "Mon Nov 16 02:10:00 2026\n".
/// The text is the calling thread's own until its next call, so two threads may format at once.
/// Null for a null pointer, for a time before 1970 and for one past the year 3000.
char* _ctime64(const __time64_t* when);

#endif

namespace Platform {

/// `std::fopen` for writing, `mode` "wb", whose path is UTF-8 on every system. An ordinary file is
/// overwritten if it is the user's own and has no other name; a symbolic link of that name is not
/// followed, and neither a pipe nor a device is opened. A new file has what the umask leaves. Null if the
/// file cannot be opened, and for every other mode. On Windows whose it is decide the file's rights alone,
/// and a new file has those that its folder hands on.
std::FILE* fopen(const char* utf8Path, const char* mode);

/// `std::fwrite`: the number of whole elements written. A size limit of files is a failure, not a signal.
std::size_t fwrite(const void* elements, std::size_t elementSize, std::size_t count, std::FILE* file);

/// `std::fclose`: 0, or EOF if the last bytes could not be written, as above. The file is closed either
/// way.
int fclose(std::FILE* file);

} // namespace Platform
