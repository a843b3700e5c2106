#pragma once
// What comes of a piece of work beside its result.

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

/// What the Error says that `work` throws; "no error" if it throws none.
template <typename Error>
std::string messageOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        return error.what();
    }
    return "no error";
}

} // namespace ConsoleTests
