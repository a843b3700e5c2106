// What the commands with --watch share: several things, none of which waits for another.

#include "Console/Watching.h"
#include "Console/WatchedAdapters.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Console;
using namespace std::chrono_literals;

TEST(LookAtEach, LooksOnceAtEachWithoutAPause) {
    std::vector<std::atomic<int>> looks(40);
    Looking looking;
    looking.count = looks.size();
    looking.jobs = 7;
    looking.look = [&looks](std::size_t number) { ++looks[number]; };
    lookAtEach(looking);
    for (const std::atomic<int>& each : looks)
        EXPECT_EQ(each, 1);
    looking.count = 0;
    lookAtEach(looking);
}

TEST(LookAtEach, HasNoneWaitForAnother) {
    std::promise<void> seenTwice;
    std::atomic<int> looks{0};
    Looking looking;
    looking.count = looking.jobs = 2;
    looking.pause = 1ms;
    looking.look = [&](std::size_t number) {
        if (number == 0) { // holds its thread until the other was looked at again
            EXPECT_EQ(seenTwice.get_future().wait_for(10s), std::future_status::ready);
            throw std::runtime_error("the end");
        }
        if (++looks == 2)
            seenTwice.set_value();
    };
    EXPECT_THROW(lookAtEach(looking), std::runtime_error);
    EXPECT_GE(looks, 2);
}

TEST(LookAtEach, LooksAtNoneTwiceAtATimeAndAtNoMoreThanItsJobs) {
    std::mutex mutex;
    std::condition_variable news;
    std::vector<int> own(5);
    int atWork = 0;
    int most = 0;
    int looks = 0;
    bool isTwice = false;
    Looking looking;
    looking.count = own.size();
    looking.jobs = 2;
    looking.pause = 0ms;
    looking.look = [&](std::size_t number) {
        std::unique_lock lock(mutex);
        isTwice = ++own[number] > 1 || isTwice;
        most = std::max(most, ++atWork);
        news.notify_all();
        if (!news.wait_for(lock, 100ms, [&] { return most > 2; }) && most == 2)
            throw std::runtime_error("the second is in, and no third has come");
        --atWork;
        --own[number];
        if (most > 2 || ++looks > 100)
            throw std::runtime_error("too many, or too few");
    };
    EXPECT_THROW(lookAtEach(looking), std::runtime_error);
    EXPECT_FALSE(isTwice);
    EXPECT_EQ(most, 2);
}

TEST(LookAtEach, PassesOnWhatWasThrownMeanwhileAndEndsItsThreads) {
    static std::atomic<int> threads{0};
    struct OfThread {
        OfThread() { ++threads; }
        ~OfThread() {
            std::this_thread::sleep_for(20ms); // so that whoever does not wait for it is ahead
            --threads;
        }
    };
    Looking looking;
    looking.count = looking.jobs = 3;
    looking.pause = 1ms;
    looking.look = [](std::size_t) { thread_local const OfThread one; };
    looking.meanwhile = [calls = 0]() mutable {
        if (threads == 3 || ++calls > 100)
            throw std::logic_error("meanwhile");
    };
    EXPECT_THROW(lookAtEach(looking), std::logic_error);
    EXPECT_EQ(threads, 0);
}

TEST(WatchedAdapters, AreOneShapeForPrograms) {
    const Diagnosis::Verdict verdict{
        "no-link", Diagnosis::Severity::failure, "net1 has no link", "plug it in", {}, {}};
    EXPECT_EQ(adapterObject({"net1", verdict}).dump(),
              R"({"adapter":"net1","ok":false,"error":{"code":"no-link","text":"net1 has no link",)"
              R"("try":"plug it in"}})");
    EXPECT_EQ(adapterObject({"net1", std::nullopt}).dump(), R"({"adapter":"net1","ok":true})");
}
