#include "Console/FetchGate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Console::FetchGate;

TEST(FetchGate, LetsTheNextInWhereOneLeaves) {
    FetchGate gate(1, 1h);
    auto place = gate.enter();
    auto next = std::async(std::launch::async, [&gate] { static_cast<void>(gate.enter()); });
    EXPECT_EQ(next.wait_for(100ms), std::future_status::timeout) << "there is no place";
    place.reset();
    next.get();
    static_cast<void>(gate.enter()); // it is free again
}

TEST(FetchGate, KeepsNobodyWaitingForEver) {
    constexpr auto longest = 50ms;
    FetchGate gate(1, longest);
    const auto place = gate.enter();
    { const auto without = gate.enter(); }
    const auto begin = std::chrono::steady_clock::now();
    const auto again = gate.enter();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, longest) << "the other's leaving made a place of it";
}

TEST(FetchGate, LetsNoMoreThanTwiceAsManyInHoweverLongTheyWait) {
    FetchGate gate(2, 1ms);
    std::vector<std::unique_ptr<FetchGate::Place>> inside(4);
    for (auto& each : inside)
        each = gate.enter();
    auto next = std::async(std::launch::async, [&gate] { static_cast<void>(gate.enter()); });
    EXPECT_EQ(next.wait_for(200ms), std::future_status::timeout) << "a fifth picture";
    inside.pop_back();
    next.get();
}
