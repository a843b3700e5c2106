#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace ConsoleTests {

/// What `work` writes to standard error.
inline std::string shownBy(const std::function<void()>& work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

} // namespace ConsoleTests
