#include "ScriptedFiles.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

using TestSupport::FileScript;

FileScript& FileScript::current() {
    static thread_local FileScript script;
    return script;
}

namespace {

/// What the system's function of that name answers, unless `error` is another one than 0.
template <typename Function, typename... Arguments>
int systemOr(int error, const char* name, Arguments... arguments) {
    if (error != 0) {
        errno = error;
        return -1;
    }
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

} // namespace

// In the place of the system's, for this program.
extern "C" int open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = makes ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    FileScript::current().opened = path;
    const bool hasName = (flags & O_TMPFILE) != O_TMPFILE;
    return systemOr<int(const char*, int, ...)>(hasName ? 0 : FileScript::current().openWithoutName, "open",
                                                path, flags, mode);
}

extern "C" int linkat(int from, const char* name, int to, const char* newName, int flags) noexcept {
    return systemOr<decltype(linkat)>(FileScript::current().link, "linkat", from, name, to, newName, flags);
}

extern "C" int fchown(int file, uid_t owner, gid_t group) noexcept {
    return systemOr<decltype(fchown)>(FileScript::current().changeOwner, "fchown", file, owner, group);
}

extern "C" int fsync(int file) {
    if (FileScript::current().onFlush)
        FileScript::current().onFlush();
    return systemOr<decltype(fsync)>(FileScript::current().flush, "fsync", file);
}

extern "C" int rename(const char* from, const char* to) noexcept {
    if (FileScript::current().onRename)
        FileScript::current().onRename();
    return systemOr<decltype(rename)>(0, "rename", from, to);
}
