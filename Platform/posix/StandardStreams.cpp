#include "Platform/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

void Platform::openClosedStandardStreams() noexcept {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF)
            continue;
        // The other way round than it is used. The lowest number that is free is this one.
        if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor)
            std::abort();
    }
}

void Platform::ignoreBrokenPipes() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
}
