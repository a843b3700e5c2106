#pragma once
// Signals that wait.

#include <initializer_list>
#include <signal.h>

namespace Platform {

/// While it lives, `signals` wait for the thread that made it, and a write beyond the size limit of files
/// only fails: its signal (SIGXFSZ) is dropped. Keeps errno at its end. Made and destroyed by one thread, the
/// last one made first.
class HeldSignals {
public:
    explicit HeldSignals(std::initializer_list<int> signals = {});
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals();

private:
    sigset_t before_{};
};

} // namespace Platform
