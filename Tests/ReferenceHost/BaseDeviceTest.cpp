#include "Device/BaseDevice.h"

#include "Device/Exceptions.h"
#include "FakeCamera.h"

#include <future>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeCamera;

namespace {

/// A command of the test's own.
class Knock : public Cmd {
public:
    using Cmd::Cmd;
};

/// Counts what it is told.
struct Results {
    int done = 0;
    std::exception_ptr failure;
    int failed = 0;

    CmdResultCallbacks callbacks() {
        return {[this] { ++done; },
                [this](std::exception_ptr exception) {
                    ++failed;
                    failure = std::move(exception);
                }};
    }
};

void throwBroken(const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) {
    throw std::runtime_error("broken");
}

std::string textOf(const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& caught) {
        return caught.what();
    }
}

} // namespace

TEST(Cmd, IsNamedByItsRunTimeType) {
    const Knock knock("door");
    EXPECT_EQ(static_cast<const Cmd&>(knock).getTypeName(), typeid(Knock).name());
    EXPECT_EQ(knock.getKey(), "door");
}

TEST(Cmd, ThatFillsRefersToWhatItFills) {
    image_t image;
    const Capture::FillMonoImage command(image, "left");
    EXPECT_EQ(&command.getValue(), &image);
    EXPECT_EQ(command.getKey(), "left");
    EXPECT_EQ(Capture::FillNativeImage(image).getKey(), "");
}

TEST(Cmd, OfOneClassIsNotTheOther) {
    image_t image;
    const Capture::FillMonoImage mono(image);
    const Capture::FillNativeImage native(image);
    EXPECT_NE(mono.getTypeName(), native.getTypeName());
    EXPECT_EQ(dynamic_cast<const SetCmd<NetworkHealthCallback>*>(static_cast<const Cmd*>(&mono)), nullptr);
}

TEST(BaseDevice, SupportsWhatItHasAHandlerFor) {
    FakeCamera camera;
    EXPECT_FALSE(camera.supports(Knock()));
    camera.installCmdHandler<Knock>(throwBroken);
    EXPECT_TRUE(camera.supports(Knock()));
    EXPECT_FALSE(camera.supports(Cmd()));
}

TEST(BaseDevice, InstallsItsHandlersOnceHoweverOftenItIsInitialised) {
    FakeCamera camera;
    EXPECT_EQ(camera.installations, 1);
    camera.initialize();
    EXPECT_EQ(camera.installations, 1);
}

TEST(BaseDevice, HasNoHandlersOfItsOwn) {
    class Bare : public BaseDevice {};
    Bare device;
    device.initialize();
    image_t image;
    EXPECT_FALSE(device.supports(Capture::FillMonoImage(image)));
}

TEST(BaseDevice, ExecutesOnTheCallingThreadAndTellsSuccess) {
    FakeCamera camera;
    Results results;
    std::thread::id executedOn;
    std::shared_ptr<Cmd> handled;
    camera.installCmdHandler<Knock>([&](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
        EXPECT_EQ(results.done, 0) << "told too early";
        executedOn = std::this_thread::get_id();
        handled = command;
    });
    const auto command = std::make_shared<Knock>();
    camera.execInternal(command, results.callbacks());
    EXPECT_EQ(executedOn, std::this_thread::get_id());
    EXPECT_EQ(handled, command);
    EXPECT_EQ(results.done, 1);
    EXPECT_EQ(results.failed, 0);
}

TEST(BaseDevice, PassesTheHandlersExceptionToCallbackAndCaller) {
    FakeCamera camera;
    camera.installCmdHandler<Knock>(throwBroken);
    Results results;
    EXPECT_THROW(camera.execInternal(std::make_shared<Knock>(), results.callbacks()), std::runtime_error);
    EXPECT_EQ(results.done, 0);
    ASSERT_EQ(results.failed, 1);
    EXPECT_EQ(textOf(results.failure), "broken");
}

TEST(BaseDevice, NeedsNoCallbacks) {
    FakeCamera camera;
    EXPECT_THROW(camera.execInternal(std::make_shared<Knock>(), {}), Exceptions::UnsupportedCommandException);
    camera.installCmdHandler<Knock>([](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) {});
    EXPECT_NO_THROW(camera.execInternal(std::make_shared<Knock>(), {}));
}

TEST(BaseDevice, RefusesACommandWithoutHandler) {
    FakeCamera camera;
    Results results;
    const auto command = std::make_shared<Knock>();
    try {
        camera.execInternal(command, results.callbacks());
        FAIL() << "nothing was thrown";
    } catch (const Exceptions::UnsupportedCommandException& exception) {
        EXPECT_EQ(exception.getCommand(), command);
        EXPECT_EQ(exception.what(),
                  std::string("The device has no handler for the command ") + typeid(Knock).name());
    }
    EXPECT_EQ(results.failed, 1);
}

TEST(BaseDevice, RefusesNull) {
    FakeCamera camera;
    EXPECT_THROW(camera.execInternal(nullptr, {}), Exceptions::UnsupportedCommandException);
    EXPECT_THROW(camera.execAsync(nullptr, {}).get(), Exceptions::UnsupportedCommandException);
}

TEST(BaseDevice, ReplacesAnEarlierHandler) {
    FakeCamera camera;
    int executed = 0;
    camera.installCmdHandler<Knock>(throwBroken);
    camera.installCmdHandler<Knock>(
        [&](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) { ++executed; });
    camera.execInternal(std::make_shared<Knock>(), {});
    EXPECT_EQ(executed, 1);
}

TEST(BaseDevice, RunsAHandlerThatReplacesItself) {
    FakeCamera camera;
    auto held = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = held;
    camera.installCmdHandler<Knock>(
        [&camera, held = std::move(held)](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) {
            camera.installCmdHandler<Knock>(throwBroken);
            EXPECT_EQ(*held, 7) << "the running handler is a copy";
        });
    camera.execInternal(std::make_shared<Knock>(), {});
    EXPECT_TRUE(watched.expired());
}

TEST(Exceptions, OfTheNewerLayerReportTheirText) {
    const Exceptions::DeviceException plain;
    EXPECT_STREQ(plain.what(), "The device failed");
    const auto command = std::make_shared<Knock>();
    const Exceptions::IncorrectCommandTypeException incorrect(command);
    EXPECT_EQ(incorrect.getCommand(), command);
    EXPECT_EQ(incorrect.what(), std::string("The command ") + typeid(Knock).name() +
                                    " is not of the kind that its handler expects");
    EXPECT_STREQ(Exceptions::UnsupportedCommandException(nullptr).what(),
                 "The device has no handler for the command null");
}

TEST(Exceptions, OfTheTwoLayersAreDifferentClasses) {
    const Exceptions::DeviceException exception;
    const std::exception& newer = exception;
    EXPECT_EQ(dynamic_cast<const ::DeviceException*>(&newer), nullptr);
}
