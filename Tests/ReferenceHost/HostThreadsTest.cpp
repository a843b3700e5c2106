// What the host promises to several threads at once.

#include "DeveloperDLL/DeveloperSettings.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/HostControl.h"
#include "ReferenceHost/PluginLibrary.h"
#include "Support/Latch.h"

#include <array>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
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

constexpr std::size_t threadCount = 4;
constexpr int rounds = 200;

/// Does `work` so many times on each of several threads that start together; gives each its number.
void onThreads(int times, const std::function<void(std::size_t)>& work) {
    TestSupport::Latch start(threadCount);
    std::vector<std::jthread> threads;
    for (std::size_t number = 0; number < threadCount; ++number)
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            for (int time = 0; time < times; ++time)
                work(number);
        });
}

} // namespace

TEST(HostThreads, RegisterTypesAtOnce) {
    DeviceTypeManager& manager = DeviceTypeManager::getInstance();
    const std::array<Tests::FakeType, threadCount> types;
    onThreads(rounds, [&](std::size_t number) {
        manager.addDeviceType(types[number]);
        manager.addDeviceType(types[number]);
        manager.removeDeviceType(types[number]);
    });
    EXPECT_EQ(manager.getDeviceTypes().size(), threadCount * rounds);
    manager.clear();
}

TEST(HostThreads, NumberTheirDevicesApart) {
    std::array<std::vector<std::unique_ptr<FakeCamera>>, threadCount> cameras;
    onThreads(20, [&](std::size_t number) { cameras[number].push_back(std::make_unique<FakeCamera>()); });
    std::set<int> numbers;
    for (const auto& ofThread : cameras)
        for (const auto& camera : ofThread)
            EXPECT_TRUE(camera->getId() > 0 && numbers.insert(camera->getId()).second);
}

TEST(HostThreads, ExecuteWhileHandlersAreReplaced) {
    FakeCamera camera;
    std::atomic<std::size_t> executed = 0;
    const auto handler = [&](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) { ++executed; };
    camera.installCmdHandler<Knock>(handler);
    onThreads(rounds, [&](std::size_t number) {
        if (number == 0)
            camera.installCmdHandler<Knock>(handler);
        else if (camera.supports(Knock()))
            camera.execInternal(std::make_shared<Knock>(), {});
    });
    EXPECT_EQ(executed, (threadCount - 1) * rounds);
}

TEST(HostThreads, RunTwoHandlersOfOneDeviceAtOnce) {
    FakeCamera camera;
    TestSupport::Latch both(2);
    camera.installCmdHandler<Knock>(
        [&](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) { both.arrive_and_wait(); });
    const std::future<void> first = camera.execAsync(std::make_shared<Knock>(), {});
    const std::future<void> second = camera.execAsync(std::make_shared<Knock>(), {});
}

TEST(HostThreads, ExecuteAsynchronouslyOnAThreadOfTheHosts) {
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

TEST(HostThreads, ReadDescriptionsAtOnce) {
    onThreads(20, [](std::size_t number) {
        const ReferenceHost::DeviceDescription description("<a>" + std::to_string(number) + "</a>");
        EXPECT_EQ(description.root()->getTextContent()[0], u'0' + number);
    });
}

TEST(HostThreads, LoadPluginsAtOnce) {
    onThreads(20, [](std::size_t) {
        ReferenceHost::PluginLibrary library(TEST_PLUGIN);
        library.initialize();
        EXPECT_EQ(library.getDeviceTypes().size(), 1u);
    });
    EXPECT_TRUE(DeviceTypeManager::getInstance().getDeviceTypes().empty());
}

TEST(HostThreads, SetAndReadSettingsAtOnce) {
    const DeveloperSettings::String shared("shared");
    std::atomic<int> made = 0;
    onThreads(rounds, [&](std::size_t) {
        ReferenceHost::setDeveloperSetting("shared", "set " + std::to_string(++made));
        ReferenceHost::setDeveloperSetting(std::to_string(made), "x");
        EXPECT_EQ(shared.value().substr(0, 4), "set ");
    });
    EXPECT_GE(ReferenceHost::developerSettings().size(), std::size_t{rounds});
}
