#pragma once
// The locale of every test program: UTF-8, as the tool sets one, so that log messages keep their bytes.

#include "Support/TestSystem.h"

#include <cstdio>

namespace TestSupport {

/// False, and a line on standard error, where this system has none.
inline bool setTestLocale() {
    if (setUtf8Locale())
        return true;
    std::fputs("The locale C.UTF-8 is missing on this system.\n", stderr);
    return false;
}

} // namespace TestSupport
