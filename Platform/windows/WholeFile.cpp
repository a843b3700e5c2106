#include "Platform/WholeFile.h"

#include "OwnHandle.h"
#include "Platform/Text.h"
#include "SystemText.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <random>

namespace {

using Platform::OwnHandle;
using Bytes = std::span<const unsigned char>;

std::error_code lastError() {
    return Platform::codeOf(GetLastError());
}

/// A file in the making, beside the one that it will replace.
class NewFile {
public:
    explicit NewFile(const std::string& utf8Path)
        : path_(Platform::wideFromUtf8(utf8Path)), part_(partOf(path_)),
          file_(CreateFileW(part_.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {
        // It goes with its handle, whatever ends the process before it is complete.
        if (!file_.isOpen() || !setDisposed(true))
            error_ = lastError();
        else
            error_ = whyNoFile();
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    std::error_code error() const { return error_; }

    std::error_code fill(Bytes bytes) const {
        constexpr std::size_t mostAtATime = std::size_t{1} << 30;
        while (!bytes.empty()) {
            DWORD written = 0;
            const auto piece = static_cast<DWORD>(std::min(bytes.size(), mostAtATime));
            if (WriteFile(file_.get(), bytes.data(), piece, &written, nullptr) == 0)
                return lastError();
            bytes = bytes.subspan(written);
        }
        return FlushFileBuffers(file_.get()) != 0 ? std::error_code() : lastError();
    }

    /// The complete file takes its final name, or none.
    std::error_code giveName() {
        if (!setDisposed(false))
            return lastError();
        file_.close();
        // Replacing keeps who may do what with the older file; a link has no place in that.
        const DWORD older = GetFileAttributesW(path_.c_str());
        const bool isFile = older != INVALID_FILE_ATTRIBUTES && (older & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
        if (isFile && ReplaceFileW(path_.c_str(), part_.c_str(), nullptr, 0, nullptr, nullptr) != 0)
            return {};
        if (MoveFileExW(part_.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) !=
            0)
            return {};
        const std::error_code failure = lastError();
        DeleteFileW(part_.c_str());
        return failure;
    }

private:
    /// A name beside it that no other writer has.
    static std::wstring partOf(const std::wstring& path) {
        std::random_device random;
        char name[24] = {};
        std::snprintf(name, sizeof name, ".korva-%08x.part", static_cast<unsigned int>(random()));
        const std::size_t end = path.find_last_of(L"/\\:");
        return path.substr(0, end == std::wstring::npos ? 0 : end + 1) + Platform::wideFromUtf8(name);
    }

    /// Of the path itself: a folder, or no name that a file may have.
    std::error_code whyNoFile() const {
        const DWORD attributes = GetFileAttributesW(path_.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES)
            return GetLastError() == ERROR_FILE_NOT_FOUND ? std::error_code() : lastError();
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? std::error_code()
                                                            : std::make_error_code(std::errc::is_a_directory);
    }

    /// Whether it goes with its handle.
    bool setDisposed(bool isDisposed) const {
        FILE_DISPOSITION_INFO disposition{};
        disposition.DeleteFile = static_cast<BOOLEAN>(isDisposed);
        return SetFileInformationByHandle(file_.get(), FileDispositionInfo, &disposition,
                                          sizeof disposition) != 0;
    }

    std::wstring path_;
    std::wstring part_;
    OwnHandle file_;
    std::error_code error_;
};

} // namespace

std::error_code Platform::writeWholeFile(const std::string& utf8Path, Bytes bytes) {
    NewFile target(utf8Path);
    if (target.error())
        return target.error();
    const std::error_code failure = target.fill(bytes);
    return failure ? failure : target.giveName();
}

std::error_code Platform::checkWholeFile(const std::string& utf8Path) {
    return NewFile(utf8Path).error();
}
