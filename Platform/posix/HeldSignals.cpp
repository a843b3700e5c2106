#include "HeldSignals.h"

#include <cerrno>
#include <ctime>

namespace {

sigset_t setOf(std::initializer_list<int> signals) {
    sigset_t set{};
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    return set;
}

} // namespace

Platform::HeldSignals::HeldSignals(std::initializer_list<int> signals) {
    sigset_t held = setOf(signals);
    sigaddset(&held, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &held, &before_);
}

Platform::HeldSignals::~HeldSignals() {
    const int errorBefore = errno;
    // The write that raised it has told of the limit.
    const sigset_t sizeLimit = setOf({SIGXFSZ});
    const timespec atOnce{};
    sigtimedwait(&sizeLimit, nullptr, &atOnce);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = errorBefore;
}
