#include "Platform/CRuntime.h"

#include "OwnHandle.h"
#include "Platform/Text.h"

#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <io.h>

namespace {

using Platform::OwnHandle;

HANDLE openAs(const std::wstring& path, DWORD disposition) {
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition,
                       FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
}

bool isOnADisk(HANDLE file) {
    return GetFileType(file) == FILE_TYPE_DISK;
}

/// An ordinary file that has no other name.
bool isOrdinary(HANDLE file) {
    constexpr DWORD others = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE;
    BY_HANDLE_FILE_INFORMATION found{};
    return isOnADisk(file) && GetFileInformationByHandle(file, &found) != 0 &&
           (found.dwFileAttributes & others) == 0 && found.nNumberOfLinks == 1;
}

/// Emptied once it is known to be an ordinary one, not by opening it.
HANDLE openForWriting(const std::wstring& path) {
    OwnHandle made(openAs(path, CREATE_NEW));
    if (!made.isOpen() && (GetLastError() == ERROR_FILE_EXISTS || GetLastError() == ERROR_ALREADY_EXISTS)) {
        OwnHandle found(openAs(path, OPEN_EXISTING));
        return isOrdinary(found.get()) && SetEndOfFile(found.get()) != 0 ? found.release()
                                                                         : INVALID_HANDLE_VALUE;
    }
    // A name such as "NUL" can be made, and is a device. How many names a new file has not every network's
    // file system knows.
    return isOnADisk(made.get()) ? made.release() : INVALID_HANDLE_VALUE;
}

} // namespace

std::FILE* Platform::fopen(const char* utf8Path, const char* mode) {
    if (std::strcmp(mode, "wb") != 0)
        return nullptr;
    OwnHandle handle(openForWriting(wideFromUtf8(utf8Path)));
    const int descriptor = handle.isOpen() ? _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()),
                                                             _O_WRONLY | _O_BINARY)
                                           : -1;
    if (descriptor < 0)
        return nullptr;
    handle.release();
    std::FILE* const file = _fdopen(descriptor, mode);
    if (file == nullptr)
        _close(descriptor);
    return file;
}

std::size_t Platform::fwrite(const void* elements, std::size_t elementSize, std::size_t count,
                             std::FILE* file) {
    return std::fwrite(elements, elementSize, count, file);
}

int Platform::fclose(std::FILE* file) {
    return std::fclose(file);
}
