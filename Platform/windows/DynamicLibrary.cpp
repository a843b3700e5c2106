#include "Platform/DynamicLibrary.h"

#include "Platform/Text.h"
#include "SystemText.h"

#include <filesystem>

namespace {

/// While it lives the system says to this thread what is wrong, and opens no window to tell it to the user.
class NoWindows {
public:
    NoWindows() { SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before_); }
    NoWindows(const NoWindows&) = delete;
    NoWindows& operator=(const NoWindows&) = delete;
    ~NoWindows() { SetThreadErrorMode(before_, nullptr); }

private:
    DWORD before_ = 0;
};

} // namespace

std::string Platform::libraryFileName(const std::string& name) {
    return name + ".dll";
}

Platform::DynamicLibrary::~DynamicLibrary() {
    unload();
}

std::string Platform::DynamicLibrary::load(const std::string& path) {
    unload();
    std::error_code failure;
    std::filesystem::path whole = std::filesystem::absolute(wideFromUtf8(path), failure);
    if (failure)
        return errorText(failure);
    whole.make_preferred(); // the system looks beside a path with backslashes only
    // What it needs lies beside it, beside the program or in the system's folder, and never in the current
    // one.
    constexpr DWORD places = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
    const NoWindows noWindows;
    handle_ = LoadLibraryExW(whole.c_str(), nullptr, places);
    return handle_ != nullptr ? std::string() : textOf(GetLastError());
}

void Platform::DynamicLibrary::unload() noexcept {
    if (handle_ != nullptr)
        FreeLibrary(static_cast<HMODULE>(handle_));
    handle_ = nullptr;
}

void* Platform::DynamicLibrary::find(const char* name) const noexcept {
    return handle_ == nullptr ? nullptr
                              : reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}
