#pragma once
// What a server says, for tests that wait for it.

#include "Network/Connection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Simulator::Testing {

/// Collects what the server says, and lets a test wait for a line.
class Events {
public:
    EventLog log() {
        return [this](const std::string& line) {
            const std::lock_guard lock(mutex_);
            lines_.push_back(line);
            changed_.notify_all();
        };
    }

    /// Whether `count` lines that contain `part` came within ten seconds.
    bool saw(const std::string& part, int count = 1) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10),
                                 [&] { return std::ranges::count_if(lines_, having(part)) >= count; });
    }

    /// How many lines with `part` came before the first one with `end`.
    long countBefore(const std::string& part, const std::string& end) {
        EXPECT_TRUE(saw(end));
        const auto all = lines();
        return std::count_if(all.begin(), std::ranges::find_if(all, having(end)), having(part));
    }

    std::vector<std::string> lines() {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    static std::function<bool(const std::string&)> having(const std::string& part) {
        return [part](const std::string& line) { return line.find(part) != std::string::npos; };
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

} // namespace Simulator::Testing
