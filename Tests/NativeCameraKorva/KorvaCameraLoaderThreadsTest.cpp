// Concurrent first calls for the camera type, in a library that is loaded anew for each round.

#include "PluginFixture.h"

#include "Support/Latch.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

using namespace PluginTests;

TEST(CameraTypeThreads, MakeOneTypeByTheirFirstCalls) {
    constexpr int rounds = 50;
    for (int round = 0; round < rounds; ++round) {
        const Plugin plugin;
        std::array<const DeviceType*, 8> types{};
        TestSupport::Latch start(static_cast<int>(types.size()));
        {
            std::vector<std::jthread> threads;
            for (const DeviceType*& type : types) {
                threads.emplace_back([&plugin, &start, &type] {
                    start.arrive_and_wait();
                    type = &plugin.cameraType();
                    EXPECT_EQ(type->getName(), L"Korva");
                });
            }
        }
        for (const DeviceType* const type : types)
            EXPECT_EQ(type, &plugin.cameraType());
    }
}
