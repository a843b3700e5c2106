#include "SystemText.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

struct Words {
    DWORD error;
    int code; ///< 0 if POSIX has none
    const char* text;
};

constexpr DWORD directoryNotSupported = 336; // not in the headers of MinGW-w64

constexpr std::array words{
    Words{ERROR_FILE_NOT_FOUND, ENOENT, "No such file or directory"},
    Words{ERROR_PATH_NOT_FOUND, ENOENT, "No such file or directory"},
    Words{ERROR_INVALID_NAME, ENOENT, "No such file or directory"},
    Words{ERROR_BAD_PATHNAME, ENOENT, "No such file or directory"},
    Words{ERROR_MOD_NOT_FOUND, ENOENT, "No such file or directory"},
    Words{ERROR_BAD_NETPATH, ENOENT, "No such file or directory"},
    Words{ERROR_BAD_NET_NAME, ENOENT, "No such file or directory"},
    Words{ERROR_PROC_NOT_FOUND, 0, "A library that it needs lacks an operation"},
    Words{ERROR_DLL_INIT_FAILED, 0, "Its initialisation failed"},
    Words{ERROR_TOO_MANY_OPEN_FILES, EMFILE, "Too many open files"},
    Words{ERROR_ACCESS_DENIED, EACCES, "Permission denied"},
    Words{ERROR_PRIVILEGE_NOT_HELD, EPERM, "Operation not permitted"},
    Words{ERROR_SHARING_VIOLATION, EBUSY, "Device or resource busy"},
    Words{ERROR_LOCK_VIOLATION, EBUSY, "Device or resource busy"},
    Words{ERROR_NOT_ENOUGH_MEMORY, ENOMEM, "Cannot allocate memory"},
    Words{ERROR_OUTOFMEMORY, ENOMEM, "Cannot allocate memory"},
    Words{ERROR_WRITE_PROTECT, EROFS, "Read-only file system"},
    Words{ERROR_DISK_FULL, ENOSPC, "No space left on device"},
    Words{ERROR_HANDLE_DISK_FULL, ENOSPC, "No space left on device"},
    Words{ERROR_FILE_EXISTS, EEXIST, "File exists"},
    Words{ERROR_ALREADY_EXISTS, EEXIST, "File exists"},
    Words{ERROR_INVALID_PARAMETER, EINVAL, "Invalid argument"},
    Words{ERROR_DIRECTORY, ENOTDIR, "Not a directory"},
    Words{directoryNotSupported, EISDIR, "Is a directory"},
    Words{ERROR_DIR_NOT_EMPTY, ENOTEMPTY, "Directory not empty"},
    Words{ERROR_NOT_SAME_DEVICE, EXDEV, "Invalid cross-device link"},
    Words{ERROR_CANT_RESOLVE_FILENAME, ELOOP, "Too many levels of symbolic links"},
    Words{ERROR_FILE_TOO_LARGE, EFBIG, "File too large"},
    Words{ERROR_IO_DEVICE, EIO, "Input/output error"},
    Words{ERROR_NETNAME_DELETED, EIO, "Input/output error"},
    Words{ERROR_NOT_READY, 0, "No medium found"},
    Words{ERROR_BROKEN_PIPE, EPIPE, "Broken pipe"},
    Words{ERROR_NO_DATA, EPIPE, "Broken pipe"},
    Words{ERROR_SEM_TIMEOUT, ETIMEDOUT, "Connection timed out"},
    Words{ERROR_INVALID_HANDLE, EBADF, "Bad file descriptor"},
    Words{ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG, "File name too long"},
    Words{ERROR_BAD_EXE_FORMAT, ENOEXEC, "Exec format error"},
    Words{WSAEINTR, EINTR, "Interrupted system call"},
    Words{WSAEBADF, EBADF, "Bad file descriptor"},
    Words{WSAENOTSOCK, EBADF, "Bad file descriptor"},
    Words{WSAEACCES, EACCES, "Permission denied"},
    Words{WSAEFAULT, EFAULT, "Bad address"},
    Words{WSAEINVAL, EINVAL, "Invalid argument"},
    Words{WSAEMFILE, EMFILE, "Too many open files"},
    Words{WSAEMSGSIZE, EMSGSIZE, "Message too long"},
    Words{WSAENOPROTOOPT, ENOPROTOOPT, "Protocol not available"},
    Words{WSAEOPNOTSUPP, EOPNOTSUPP, "Operation not supported"},
    Words{WSAEAFNOSUPPORT, EAFNOSUPPORT, "Address family not supported by protocol"},
    Words{WSAEADDRINUSE, EADDRINUSE, "Address already in use"},
    Words{WSAEADDRNOTAVAIL, EADDRNOTAVAIL, "Cannot assign requested address"},
    Words{WSAENETDOWN, ENETDOWN, "Network is down"},
    Words{WSAENETUNREACH, ENETUNREACH, "Network is unreachable"},
    Words{WSAENETRESET, ENETRESET, "Network dropped connection on reset"},
    Words{WSAECONNABORTED, ECONNABORTED, "Software caused connection abort"},
    Words{WSAECONNRESET, ECONNRESET, "Connection reset by peer"},
    Words{WSAENOBUFS, ENOBUFS, "No buffer space available"},
    Words{WSAENOTCONN, ENOTCONN, "Transport endpoint is not connected"},
    Words{WSAESHUTDOWN, EPIPE, "Broken pipe"},
    Words{WSAETIMEDOUT, ETIMEDOUT, "Connection timed out"},
    Words{WSAECONNREFUSED, ECONNREFUSED, "Connection refused"},
    Words{WSAEHOSTDOWN, 0, "Host is down"},
    Words{WSAEHOSTUNREACH, EHOSTUNREACH, "No route to host"},
    Words{WSAHOST_NOT_FOUND, 0, "Name or service not known"},
    Words{WSATRY_AGAIN, 0, "Temporary failure in name resolution"},
    Words{WSANO_RECOVERY, 0, "Non-recoverable failure in name resolution"},
    Words{WSANO_DATA, 0, "No address associated with hostname"},
};

/// The first row that is so; null if none is.
template <typename Condition>
const Words* firstRow(const Condition& condition) {
    const auto found = std::find_if(words.begin(), words.end(), condition);
    return found == words.end() ? nullptr : &*found;
}

const Words* wordsOf(DWORD error) {
    return firstRow([error](const Words& each) { return each.error == error; });
}

} // namespace

std::string Platform::textOf(DWORD error) {
    const Words* const known = wordsOf(error);
    return known == nullptr ? "Error " + std::to_string(error) : known->text;
}

std::string Platform::errorText(const std::error_code& code) {
    if (code.category() == std::system_category())
        return textOf(static_cast<DWORD>(code.value()));
    const Words* const known =
        firstRow([value = code.value()](const Words& each) { return each.code != 0 && each.code == value; });
    return known != nullptr && code.category() == std::generic_category() ? known->text : code.message();
}

std::string Platform::errorText(std::errc code) {
    return errorText(std::make_error_code(code));
}

std::error_code Platform::codeOf(DWORD error) {
    const Words* const known = wordsOf(error);
    return known == nullptr || known->code == 0
               ? std::error_code(static_cast<int>(error), std::system_category())
               : std::error_code(known->code, std::generic_category());
}
