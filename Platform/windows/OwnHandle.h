#pragma once
// A handle of the system's that is closed by its owner.

#include "Platform/Kernel.h"

namespace Platform {

class OwnHandle {
public:
    explicit OwnHandle(HANDLE handle) : handle_(handle) {}
    OwnHandle(const OwnHandle&) = delete;
    OwnHandle& operator=(const OwnHandle&) = delete;
    ~OwnHandle() { close(); }

    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

    /// Somebody else closes it.
    HANDLE release() {
        const HANDLE released = handle_;
        handle_ = INVALID_HANDLE_VALUE;
        return released;
    }

    void close() {
        if (isOpen())
            CloseHandle(release());
    }

private:
    HANDLE handle_;
};

} // namespace Platform
