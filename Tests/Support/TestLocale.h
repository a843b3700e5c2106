#pragma once
// The locale of every test program: UTF-8, as the tool sets one, so that log messages keep their bytes.

#include <clocale>
#include <cstdio>

namespace TestSupport {

/// False, and a line on standard error, where this system has none.
inline bool setTestLocale() {
    if (std::setlocale(LC_ALL, "C.UTF-8") != nullptr)
        return true;
    std::fputs("The locale C.UTF-8 is missing on this system.\n", stderr);
    return false;
}

} // namespace TestSupport
