#pragma once
// The kernel services that this system calls, under their Windows names, types and result codes.
// On Windows this header hands over to the system's own; elsewhere Platform/posix/Kernel.cpp defines them.

#if defined(_WIN32)

// Without the sockets of old, which Platform/Winsock.h's would contradict.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
// Nor with macros in the place of std::min and std::max.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#else

#include <cstdint>

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using UINT = unsigned int;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using LPCCH = const char*;
using LPSTR = char*;
using LPCWCH = const wchar_t*;
using LPWSTR = wchar_t*;
using LPBOOL = BOOL*;

union LARGE_INTEGER {
    std::int64_t QuadPart;
};

inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 0x00000008;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x00000080;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_FLAGS = 1004;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;

/// Suspends the calling thread for at least `milliseconds`; signals do not shorten it. 0 yields.
void Sleep(DWORD milliseconds);

/// Stores the monotonic performance counter in `*count`. Always succeeds (non-zero).
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);

/// Stores the counter's frequency, in counts per second, in `*frequency`. Always succeeds (non-zero).
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);

/// The calling thread's last error code (ERROR_...), as set by the conversions below when they return 0.
DWORD GetLastError();

/// Sets the calling thread's last error code.
void SetLastError(DWORD code);

/// Converts UTF-8 to wide text.
///
/// `codePage` must be CP_UTF8 (else 0, ERROR_INVALID_PARAMETER). `flags` is 0 (each malformed
/// sequence becomes U+FFFD as the Unicode standard's "substitution of maximal subparts" has it) or
/// MB_ERR_INVALID_CHARS (malformed text gives 0 and ERROR_NO_UNICODE_TRANSLATION); any other flag
/// gives 0 and ERROR_INVALID_FLAGS. `textBytes` is the number of bytes at `text`, or -1 for a
/// zero-terminated text whose terminator is converted and counted too; 0 bytes, any other negative number,
/// a null text, a negative `wideCount`, a non-zero `wideCount` with a `wide` that is null or the text's own
/// address, and a result of more than INT_MAX units give 0 and ERROR_INVALID_PARAMETER.
/// With `wideCount` 0 nothing is written and the number of wchar_t needed is returned. A buffer that is
/// too small gives 0 and ERROR_INSUFFICIENT_BUFFER, and nothing beyond `wideCount` is written.
///
/// If wchar_t has 32 bits, it holds whole code points; if it has 16, text outside the basic plane
/// becomes a surrogate pair.
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH text, int textBytes, LPWSTR wide, int wideCount);

/// Converts wide text to UTF-8; the twin of MultiByteToWideChar.
///
/// A lone surrogate or a value that is no code point becomes U+FFFD (with WC_ERR_INVALID_CHARS: 0 and
/// ERROR_NO_UNICODE_TRANSLATION); if wchar_t has 32 bits, a surrogate pair counts as two lone ones.
/// `defaultCharacter` and `usedDefault` must be null for CP_UTF8 (else 0, ERROR_INVALID_PARAMETER).
/// Counts, sizes and errors as above, with bytes and wchar_t exchanged.
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideCount, LPSTR text, int textBytes,
                        LPCCH defaultCharacter, LPBOOL usedDefault);

#endif
