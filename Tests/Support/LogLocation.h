#pragma once
// Where the lines of a logger say that they come from.

#include "Support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>

namespace TestSupport {

/// Every line that was kept names that file of the plug-in's; for a fixture's destructor, so that each
/// statement that a test reaches is looked at.
inline void expectFrom(const LogCapture& log, const std::string& file) {
    for (const LogLine& line : log.lines())
        EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/" + file) << line.level << ' ' << line.message;
}

} // namespace TestSupport
