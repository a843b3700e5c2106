#include "Platform/WholeFile.h"

#include "HeldSignals.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Platform::HeldSignals;
using Bytes = std::span<const unsigned char>;

constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr mode_t ownersOnly = S_IRUSR | S_IWUSR;
constexpr mode_t forAll = ownersOnly | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

std::error_code lastError() {
    return {errno, std::generic_category()};
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (isOpen())
            close(number_);
    }

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

private:
    int number_;
};

/// Signals that end a process unless it does something about them.
class HeldEnd {
    HeldSignals held_{SIGHUP, SIGINT, SIGQUIT, SIGTERM};
};

/// A file in the making, and the one that it will replace.
class NewFile {
public:
    explicit NewFile(const std::string& path) : path_(path) {
        const std::filesystem::path folder = std::filesystem::path(path).parent_path();
        folder_ = folder.empty() ? "." : folder.string();
        struct stat found {};
        if (lstat(path.c_str(), &found) != 0)
            error_ = errno == ENOENT ? std::error_code() : lastError();
        else if (S_ISREG(found.st_mode))
            older_ = found;
    }

    /// Why the path cannot be one of a file.
    std::error_code error() const { return error_; }

    /// Nobody sees the file before it has a name. None if the file system has no such files.
    Descriptor openWithoutName() const {
        return Descriptor(open(folder_.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, firstMode()));
    }

    Descriptor openAs(const std::string& name) const {
        return Descriptor(open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, firstMode()));
    }

    /// A name beside it that no other writer has. Hidden, so that nobody picks it up before it is whole.
    std::string partName() const {
        std::random_device random;
        std::array<char, 24> name{};
        std::snprintf(name.data(), name.size(), "/.korva-%08x.part", static_cast<unsigned int>(random()));
        return folder_ + name.data();
    }

    std::error_code fill(const Descriptor& file, Bytes bytes) const {
        while (!bytes.empty()) {
            const ssize_t written = write(file.number(), bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR)
                return lastError();
            bytes = bytes.subspan(written < 0 ? 0 : static_cast<std::size_t>(written));
        }
        if (!takeOver(file))
            return lastError();
        return flush(file);
    }

    /// False if a file without a name cannot get one here.
    bool giveName(const Descriptor& file) const {
        const std::string open = "/proc/self/fd/" + std::to_string(file.number());
        const auto linkAs = [&open](const std::string& name) {
            return linkat(AT_FDCWD, open.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
        };
        if (!older_ && linkAs(path_))
            return true;
        const HeldEnd held;
        const std::string part = partName();
        return linkAs(part) && !rename(part);
    }

    /// The file called `part` takes its final name, or none.
    std::error_code rename(const std::string& part) const {
        if (std::rename(part.c_str(), path_.c_str()) == 0)
            return {};
        const std::error_code failure = lastError();
        unlink(part.c_str());
        return failure;
    }

private:
    /// Closed to all others until it gets the permissions of the file that it replaces.
    mode_t firstMode() const { return older_ ? ownersOnly : forAll; }

    bool takeOver(const Descriptor& file) const {
        if (!older_)
            return true;
        mode_t mode = older_->st_mode & permissions;
        const bool sameGroup = fchown(file.number(), older_->st_uid, older_->st_gid) == 0 ||
                               fchown(file.number(), static_cast<uid_t>(-1), older_->st_gid) == 0;
        if (!sameGroup)
            mode &= ~mode_t{S_IRWXG}; // meant for another group than the one that it has now
        return fchmod(file.number(), mode) == 0;
    }

    static std::error_code flush(const Descriptor& file) {
        int result = 0;
        do {
            result = fsync(file.number());
        } while (result != 0 && errno == EINTR);
        // Some file systems have nothing to flush.
        return result == 0 || errno == EINVAL || errno == ENOTSUP ? std::error_code() : lastError();
    }

    std::string path_;
    std::string folder_;
    std::optional<struct stat> older_;
    std::error_code error_;
};

std::error_code writeUnderPartName(const NewFile& target, Bytes bytes) {
    const HeldEnd held;
    const std::string part = target.partName();
    const Descriptor file = target.openAs(part);
    if (!file.isOpen())
        return lastError();
    const std::error_code failure = target.fill(file, bytes);
    if (!failure)
        return target.rename(part);
    unlink(part.c_str());
    return failure;
}

} // namespace

std::error_code Platform::writeWholeFile(const std::string& utf8Path, Bytes bytes) {
    const HeldSignals sizeLimit;
    const NewFile target(utf8Path);
    if (target.error())
        return target.error();
    const Descriptor file = target.openWithoutName();
    if (!file.isOpen())
        return writeUnderPartName(target, bytes);
    const std::error_code failure = target.fill(file, bytes);
    if (failure || target.giveName(file))
        return failure;
    return writeUnderPartName(target, bytes);
}

std::error_code Platform::checkWholeFile(const std::string& utf8Path) {
    const NewFile target(utf8Path);
    if (target.error() || target.openWithoutName().isOpen())
        return target.error();
    const HeldEnd held;
    const std::string part = target.partName();
    if (!target.openAs(part).isOpen())
        return lastError();
    unlink(part.c_str());
    return {};
}
