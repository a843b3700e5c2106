// What the device model promises to several threads at once.

#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/PluginLibrary.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeCamera;
using Tests::Knock;

namespace {

constexpr int threadCount = 4;
constexpr int rounds = 200;

/// Runs `work` on several threads that start together; gives each its number.
void onThreads(const std::function<void(int)>& work) {
    std::latch start(threadCount);
    std::vector<std::jthread> threads;
    for (int number = 0; number < threadCount; ++number)
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            work(number);
        });
}

} // namespace

TEST(DeviceModelThreads, RegisterTypesAtOnce) {
    DeviceTypeManager& manager = DeviceTypeManager::getInstance();
    const std::vector<Tests::FakeType> types(threadCount);
    onThreads([&](int number) {
        const Tests::FakeType& own = types[static_cast<std::size_t>(number)];
        for (int i = 0; i < rounds; ++i) {
            manager.addDeviceType(own);
            manager.addDeviceType(own);
            manager.removeDeviceType(own);
        }
    });
    EXPECT_EQ(manager.getDeviceTypes().size(), std::size_t{threadCount} * rounds);
    manager.clear();
}

TEST(DeviceModelThreads, NumberTheirDevicesApart) {
    std::vector<std::vector<std::unique_ptr<FakeCamera>>> cameras(threadCount);
    onThreads([&](int number) {
        for (int i = 0; i < 20; ++i)
            cameras[static_cast<std::size_t>(number)].push_back(std::make_unique<FakeCamera>());
    });
    std::set<int> numbers;
    for (const auto& ofThread : cameras)
        for (const auto& camera : ofThread)
            EXPECT_TRUE(numbers.insert(camera->getId()).second);
}

TEST(DeviceModelThreads, ExecuteWhileHandlersAreReplaced) {
    FakeCamera camera;
    std::atomic<int> executed = 0;
    const auto handler = [&](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) { ++executed; };
    camera.installCmdHandler<Knock>(handler);
    onThreads([&](int number) {
        for (int i = 0; i < rounds; ++i) {
            if (number == 0)
                camera.installCmdHandler<Knock>(handler);
            else if (camera.supports(Knock()))
                camera.execInternal(std::make_shared<Knock>(), {});
        }
    });
    EXPECT_EQ(executed, (threadCount - 1) * rounds);
}

TEST(DeviceModelThreads, RunTwoHandlersOfOneDeviceAtOnce) {
    FakeCamera camera;
    std::latch both(2);
    camera.installCmdHandler<Knock>(
        [&](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) { both.arrive_and_wait(); });
    std::future<void> first = camera.execAsync(std::make_shared<Knock>(), {});
    std::future<void> second = camera.execAsync(std::make_shared<Knock>(), {});
    first.get();
    second.get();
}

TEST(DeviceModelThreads, ExecuteAsynchronouslyOnAThreadOfTheHosts) {
    FakeCamera camera;
    std::thread::id executedOn;
    std::thread::id toldOn;
    const auto tell = [&] { toldOn = std::this_thread::get_id(); };
    camera.installCmdHandler<Knock>([&](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) {
        executedOn = std::this_thread::get_id();
    });
    camera.execAsync(std::make_shared<Knock>(), {tell, {}}).get();
    EXPECT_NE(executedOn, std::this_thread::get_id());
    EXPECT_EQ(toldOn, executedOn);
    camera.installCmdHandler<Knock>(Tests::throwBroken);
    toldOn = {};
    std::future<void> failing =
        camera.execAsync(std::make_shared<Knock>(), {{}, [&](const std::exception_ptr&) { tell(); }});
    EXPECT_THROW(failing.get(), std::runtime_error);
    EXPECT_NE(toldOn, std::thread::id()) << "future and callback get the failure";
}

TEST(DeviceModelThreads, ReadDescriptionsAtOnce) {
    onThreads([](int number) {
        const std::string xml = "<a>" + std::to_string(number) + "</a>";
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(ReferenceHost::DeviceDescription(xml).root()->getTextContent()[0], u'0' + number);
    });
}

TEST(DeviceModelThreads, LoadPluginsAtOnce) {
    onThreads([](int) {
        for (int i = 0; i < 20; ++i) {
            ReferenceHost::PluginLibrary library(TEST_PLUGIN);
            library.initialize();
            EXPECT_EQ(library.getDeviceTypes().size(), 1u);
        }
    });
    EXPECT_TRUE(DeviceTypeManager::getInstance().getDeviceTypes().empty());
}
