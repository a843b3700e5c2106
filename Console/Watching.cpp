#include "Watching.h"

#include "CommandFailure.h"
#include "CommandRun.h"
#include "Printable.h"

#include "Diagnosis/Json.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <ctime>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Console {

namespace {

using Clock = std::chrono::steady_clock;

/// How soon Ctrl-C is noticed.
constexpr std::chrono::milliseconds step{50};

/// Of what the conversions return, which is one record for all threads.
std::mutex& timeMutex() {
    static std::mutex mutex;
    return mutex;
}

std::string timeText(std::chrono::system_clock::time_point time, std::tm* (*convert)(const std::time_t*),
                     const char* format) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::array<char, 64> text{};
    const std::lock_guard lock(timeMutex());
    std::strftime(text.data(), text.size(), format, convert(&seconds));
    return text.data();
}

/// Whose turn it is, for the threads of one lookAtEach().
class Turns {
public:
    explicit Turns(const Looking& looking)
        : looking_(looking), due_(looking.count, Clock::time_point::min()) {}

    void begin(std::vector<std::thread>& threads) {
        const std::size_t most = std::min(looking_.jobs, looking_.count);
        std::unique_lock lock(mutex_);
        try {
            for (; threads.size() < most; ++atWork_)
                threads.emplace_back([this] {
                    Platform::leaveSignalsToOthers();
                    work();
                });
        } catch (const std::exception&) { // no more threads, or no memory: those that there are do it all
            if (!threads.empty())
                return;
            if (looking_.pause)
                throw; // nobody would do what is to be done meanwhile
            ++atWork_;
            lock.unlock();
            work();
        }
    }

    /// Waits a little. False once all threads have ended.
    bool goesOn() {
        std::unique_lock lock(mutex_);
        news_.wait_for(lock, step, [this] { return atWork_ == 0; });
        return atWork_ > 0;
    }

    /// Of what is being caught: the first is kept.
    void fail() {
        const std::lock_guard lock(mutex_);
        if (failure_ == nullptr)
            failure_ = std::current_exception();
        news_.notify_all();
    }

    /// Once all threads have ended.
    void rethrow() const {
        if (failure_ != nullptr)
            std::rethrow_exception(failure_);
    }

private:
    void work() {
        std::unique_lock lock(mutex_);
        while (failure_ == nullptr && !Platform::interrupted() && !due_.empty()) {
            const auto next = std::min_element(due_.begin(), due_.end());
            if (*next == Clock::time_point::max() && !looking_.pause)
                break; // what is left is being looked at
            if (*next > Clock::now()) {
                news_.wait_for(lock, step);
                continue;
            }
            *next = Clock::time_point::max();
            lock.unlock();
            look(static_cast<std::size_t>(next - due_.begin()));
            lock.lock();
            if (looking_.pause)
                *next = Clock::now() + *looking_.pause;
        }
        --atWork_;
        news_.notify_all();
    }

    void look(std::size_t number) {
        try {
            looking_.look(number);
        } catch (...) {
            fail();
        }
    }

    const Looking& looking_;
    std::mutex mutex_;
    std::condition_variable news_;
    std::vector<Clock::time_point> due_; ///< the latest while it is being looked at
    std::size_t atWork_ = 0;
    std::exception_ptr failure_;
};

} // namespace

std::string localTimeText(std::chrono::system_clock::time_point time) {
    return timeText(time, &std::localtime, "%Y-%m-%d %H:%M:%S");
}

std::string utcTimeText(std::chrono::system_clock::time_point time) {
    return timeText(time, &std::gmtime, "%Y-%m-%dT%H:%M:%SZ");
}

void tellNews(bool json, const std::string& words, const nlohmann::ordered_json& object) {
    static std::mutex mutex; // so that no line stands before one of an earlier time
    const std::lock_guard lock(mutex);
    const auto now = std::chrono::system_clock::now();
    if (!json)
        return sayOrEnd(localTimeText(now) + "  " + printable(words));
    nlohmann::ordered_json line;
    line["time"] = utcTimeText(now);
    line.update(object);
    sayOrEnd(Diagnosis::dumped(line));
}

void lookAtEach(const Looking& looking) {
    Turns turns(looking);
    std::vector<std::thread> threads;
    try {
        turns.begin(threads);
        while (turns.goesOn())
            if (looking.meanwhile && !Platform::interrupted())
                looking.meanwhile();
    } catch (...) {
        turns.fail();
    }
    for (std::thread& thread : threads)
        thread.join();
    throwIfInterrupted(); // also if it is what ended them
    turns.rethrow();
}

} // namespace Console
