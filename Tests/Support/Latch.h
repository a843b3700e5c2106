#pragma once
// Threads that wait for each other.

#include <condition_variable>
#include <mutex>

namespace TestSupport {

/// As std::latch, whose waiting threads g++'s library for Windows forgets to wake now and then.
class Latch {
public:
    explicit Latch(int count) : count_(count) {}

    void arrive_and_wait() {
        std::unique_lock lock(mutex_);
        --count_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return count_ == 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_;
};

} // namespace TestSupport
