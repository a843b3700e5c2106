#include "Support/TestSystem.h"

#include "Platform/Kernel.h"
#include "Platform/Text.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <psapi.h>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

/// As NtQuerySystemInformation lists them.
struct HandleEntry {
    void* object;
    std::uintptr_t process;
    std::uintptr_t handle;
    ULONG access;
    USHORT trace, type;
    ULONG attributes, reserved;
};
struct HandleList {
    std::uintptr_t count, reserved; ///< the entries follow
};

PROCESS_MEMORY_COUNTERS memoryCounters() {
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters;
}

} // namespace

const char* const TestSupport::stateVariable = "LOCALAPPDATA";

void TestSupport::setVariable(const char* name, const char* value) {
    _putenv_s(name, value != nullptr ? value : "");
}

// There log messages are UTF-8 whatever the locale.
bool TestSupport::setUtf8Locale() {
    return true;
}

std::string TestSupport::textOfError(int code) {
    // Those that the C library has no words for.
    constexpr std::array further{
        std::pair(EADDRINUSE, "Address already in use"),   std::pair(ECONNREFUSED, "Connection refused"),
        std::pair(ECONNRESET, "Connection reset by peer"), std::pair(EHOSTUNREACH, "No route to host"),
        std::pair(ENETUNREACH, "Network is unreachable"),  std::pair(ETIMEDOUT, "Connection timed out"),
    };
    for (const auto& [known, text] : further)
        if (known == code)
            return text;
    return std::strerror(code);
}

void* TestSupport::librarysOwn(const char* function) {
    std::array<HMODULE, 256> modules{};
    DWORD bytes = 0;
    K32EnumProcessModules(GetCurrentProcess(), modules.data(), sizeof modules, &bytes);
    for (std::size_t at = 1; at < modules.size() && at < bytes / sizeof(HMODULE); ++at) // 0 is the program
        if (const auto found = GetProcAddress(modules[at], function); found != nullptr)
            return reinterpret_cast<void*>(found);
    return nullptr;
}

bool TestSupport::isSeenByAll(const char* function) {
    return GetProcAddress(GetModuleHandleW(nullptr), function) != nullptr;
}

std::size_t TestSupport::heapBytesInUse() {
    std::size_t bytes = 0;
    _HEAPINFO block{};
    while (_heapwalk(&block) == _HEAPOK)
        bytes += block._useflag == _USEDENTRY ? block._size : 0;
    return bytes;
}

std::size_t TestSupport::peakBytes() {
    return memoryCounters().PeakPagefileUsage;
}

std::size_t TestSupport::openDescriptors() {
    // Of the whole system: Wine's GetProcessHandleCount answers 0.
    constexpr ULONG extendedHandleInformation = 64;
    using Query = LONG WINAPI(ULONG kind, void* buffer, ULONG bytes, ULONG* needed);
    const auto query = reinterpret_cast<Query*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll"), "NtQuerySystemInformation")));
    std::vector<unsigned char> buffer(std::size_t{64} << 20);
    HandleList list{};
    if (query(extendedHandleInformation, buffer.data(), static_cast<ULONG>(buffer.size()), nullptr) < 0)
        throw std::runtime_error("the system does not tell its handles");
    std::memcpy(&list, buffer.data(), sizeof list);
    std::size_t own = 0;
    for (std::size_t at = 0; at < list.count; ++at) {
        HandleEntry entry{};
        std::memcpy(&entry, buffer.data() + sizeof list + at * sizeof entry, sizeof entry);
        own += entry.process == GetCurrentProcessId() ? 1 : 0;
    }
    return own;
}

bool TestSupport::isLoaded(const std::string& path) {
    return GetModuleHandleW(Platform::wideFromUtf8(path).c_str()) != nullptr;
}
