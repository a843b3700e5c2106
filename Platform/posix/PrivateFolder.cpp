#include "Platform/PrivateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr mode_t ownersOnly = S_IRWXU;

/// The folder that a variable of the environment names; empty if it names none.
fs::path folderNamedBy(const char* variable) {
    const char* const text = secure_getenv(variable);
    const fs::path folder = text == nullptr ? "" : text;
    return folder.is_absolute() ? folder : fs::path();
}

/// The folders that the path goes through, each closed to others if it is made here.
void makeFolders(const fs::path& path) {
    fs::path folder;
    for (const fs::path& name : path) {
        folder /= name;
        mkdir(folder.c_str(), ownersOnly); // mostly there already; what fails shows in the last one
    }
}

/// Nobody but the user and root can remove or rename what the user has in it; a group that the user lets
/// write there is the user's own choice.
bool keepsWhatIsTheUsers(const struct stat& folder) {
    const bool isTrusted = folder.st_uid == geteuid() || folder.st_uid == 0;
    return (folder.st_mode & S_ISVTX) != 0 || (isTrusted && (folder.st_mode & S_IWOTH) == 0);
}

std::string complaintOf(const struct stat& found) {
    if (S_ISLNK(found.st_mode))
        return "is a symbolic link";
    if (!S_ISDIR(found.st_mode))
        return "is not a folder";
    if (found.st_uid != geteuid())
        return "belongs to somebody else";
    return (found.st_mode & (S_IRWXG | S_IRWXO)) == 0 ? "" : "is open to others";
}

std::string notMade(int error) {
    return "cannot be made: " + std::generic_category().message(error);
}

} // namespace

const char* const Platform::noFolder = "/dev/null";
const char* const Platform::statePlaces = "$XDG_STATE_HOME or ~/.local/state";

std::string Platform::stateFolder(const std::string& name) {
    if (const fs::path state = folderNamedBy("XDG_STATE_HOME"); !state.empty())
        return state / name;
    if (const fs::path home = folderNamedBy("HOME"); !home.empty())
        return home / ".local" / "state" / name;
    const fs::path named = folderNamedBy("TMPDIR");
    return (named.empty() ? fs::path("/tmp") : named) / (name + "-" + std::to_string(geteuid()));
}

std::string Platform::makePrivateFolder(const std::string& utf8Path) {
    const fs::path folder(utf8Path);
    makeFolders(folder.parent_path());
    if (mkdir(folder.c_str(), ownersOnly) != 0 && errno != EEXIST)
        return notMade(errno);
    struct stat found {};
    if (stat(folder.parent_path().c_str(), &found) != 0 || !keepsWhatIsTheUsers(found))
        return "is where others may put another folder in its place";
    return lstat(folder.c_str(), &found) == 0 ? complaintOf(found) : notMade(errno);
}
