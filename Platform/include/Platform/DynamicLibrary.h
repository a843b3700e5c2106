#pragma once
// A library that is loaded while the program runs.

#include <string>

namespace Platform {

/// The file name that this system gives a library called `name`: "libNAME.so", on Windows "NAME.dll".
std::string libraryFileName(const std::string& name);

/// One loaded library; used by one thread at a time. The system counts how often a file is loaded and
/// unloads it when the last holder has gone. No operation throws but std::bad_alloc and what the library's
/// own initialisation throws.
class DynamicLibrary {
public:
    DynamicLibrary() = default;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    ~DynamicLibrary();

    /// Loads the file at `path` (UTF-8; relative to the current folder, never searched for) with everything
    /// that it needs, its symbols kept to itself; a library that is loaded is unloaded first. Returns an
    /// empty text, or the system's reason if it cannot be loaded.
    std::string load(const std::string& path);

    /// Unloading what is not loaded does nothing.
    void unload() noexcept;

    bool isLoaded() const noexcept { return handle_ != nullptr; }

    /// The address of an exported symbol by its undecorated name; null if there is none.
    void* find(const char* name) const noexcept;

private:
    void* handle_ = nullptr;
};

} // namespace Platform
