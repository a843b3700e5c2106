#include "Aside.h"

#include "CameraSearch.h"
#include "CommandFailure.h"
#include "ToolLog.h"

#include "Platform/Terminal.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace Console {

namespace {

/// How soon Ctrl-C is noticed.
constexpr std::chrono::milliseconds interruptInterval{50};

using Lines = std::vector<Diagnosis::LogLine>;

/// What the threads and the waiting one share; the last of them takes it away.
struct Shared {
    explicit Shared(std::vector<std::function<void()>> all) : works(std::move(all)), lines(works.size()) {
        failures.resize(works.size());
    }

    std::mutex mutex;
    std::condition_variable news;
    ToolLog* log = nullptr; ///< null once nobody waits any more, and the log may be gone
    std::vector<std::function<void()>> works;
    std::vector<Lines> lines;
    std::vector<std::exception_ptr> failures;
    std::size_t begun = 0;
    std::size_t ended = 0;
};

/// The lock is held.
void takeLines(Shared& shared, std::size_t work) noexcept {
    try {
        if (shared.log != nullptr)
            shared.lines[work] = shared.log->takeLines();
    } catch (...) {
        // For want of memory there are none.
    }
}

void workThrough(const std::shared_ptr<Shared>& shared) {
    std::unique_lock lock(shared->mutex);
    if (shared->log != nullptr)
        shared->log->beginThread();
    while (shared->log != nullptr && shared->begun < shared->works.size()) {
        const std::size_t mine = shared->begun++;
        std::exception_ptr failure;
        lock.unlock();
        try {
            shared->works[mine]();
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        shared->failures[mine] = failure;
        takeLines(*shared, mine);
        ++shared->ended;
        shared->news.notify_one();
    }
}

/// False if Ctrl-C came first.
bool awaitAll(Shared& shared, const std::function<void(std::size_t)>& meanwhile) {
    std::unique_lock lock(shared.mutex);
    const auto areOver = [&shared] { return shared.ended == shared.works.size(); };
    while (!shared.news.wait_for(lock, interruptInterval, areOver)) {
        if (Platform::interrupted()) {
            shared.log = nullptr;
            return false;
        }
        if (meanwhile)
            meanwhile(shared.ended);
    }
    return true;
}

} // namespace

std::vector<Lines> doAside(ToolLog& log, std::vector<std::function<void()>> works,
                           const std::function<void(std::size_t)>& meanwhile) {
    const auto shared = std::make_shared<Shared>(std::move(works));
    shared->log = &log;
    std::vector<std::thread> threads;
    threads.reserve(std::min(shared->works.size(), mostAside));
    try {
        for (std::size_t i = 0; i < std::min(shared->works.size(), mostAside); ++i)
            threads.emplace_back([shared] {
                // It may be left behind, and a signal that waits for a file to be whole would find it.
                Platform::leaveSignalsToOthers();
                workThrough(shared);
            });
    } catch (const std::exception&) { // no more threads, or no memory: those that there are do it all
        if (threads.empty())
            workThrough(shared);
    }
    const bool areOver = awaitAll(*shared, meanwhile);
    if (!areOver)
        leaveThreadBehind();
    for (std::thread& thread : threads) {
        if (areOver) {
            thread.join();
        } else {
            log.ignore(thread.get_id());
            thread.detach();
        }
    }
    throwIfInterrupted(); // also if it is what ended them
    for (const std::exception_ptr& failure : shared->failures)
        if (failure != nullptr)
            std::rethrow_exception(failure);
    return shared->lines;
}

} // namespace Console
