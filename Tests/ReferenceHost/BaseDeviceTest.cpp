#include "Device/BaseDevice.h"

#include "Device/Exceptions.h"
#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::FakeCamera;
using Tests::Knock;
using Tests::throwBroken;

namespace {

/// A camera, and what is told of one command.
struct ABaseDevice : testing::Test {
    void execute(const CmdResultCallbacks& callbacks) { camera.execInternal(knock, callbacks); }
    CmdResultCallbacks callbacks() {
        return {[this] { told += "done"; },
                [this](const std::exception_ptr& exception) {
                    try {
                        std::rethrow_exception(exception);
                    } catch (const std::exception& caught) {
                        told += caught.what();
                    }
                }};
    }

    FakeCamera camera;
    const std::shared_ptr<Knock> knock = std::make_shared<Knock>("door");
    const std::string unsupported =
        std::string("The device has no handler for the command ") + typeid(Knock).name();
    std::string told;
};

} // namespace

TEST(Cmd, IsNamedByItsRunTimeTypeAndRefersToWhatItFills) {
    image_t image;
    const Capture::FillMonoImage mono(image, "left");
    const Capture::FillNativeImage native(image);
    EXPECT_EQ(static_cast<const Cmd&>(mono).getTypeName(), typeid(mono).name());
    EXPECT_NE(mono.getTypeName(), native.getTypeName());
    EXPECT_EQ(&mono.getValue(), &image);
    EXPECT_EQ(mono.getKey(), "left");
    EXPECT_EQ(native.getKey(), "");
    EXPECT_EQ(dynamic_cast<const SetCmd<NetworkHealthCallback>*>(static_cast<const Cmd*>(&mono)), nullptr);
}

TEST_F(ABaseDevice, SupportsWhatItHasAHandlerFor) {
    EXPECT_FALSE(camera.supports(*knock));
    camera.installCmdHandler<Knock>(throwBroken);
    EXPECT_TRUE(camera.supports(*knock));
    EXPECT_FALSE(camera.supports(Cmd()));
}

TEST_F(ABaseDevice, InstallsItsHandlersOnceHoweverOftenItIsInitialised) {
    EXPECT_EQ(camera.installations, 1);
    camera.initialize();
    EXPECT_EQ(camera.installations, 1);
}

TEST_F(ABaseDevice, HasNoHandlersOfItsOwn) {
    class Bare : public BaseDevice {};
    Bare device;
    device.initialize();
    image_t image;
    EXPECT_FALSE(device.supports(Capture::FillMonoImage(image)));
}

TEST_F(ABaseDevice, ExecutesOnTheCallingThreadAndTellsSuccess) {
    std::thread::id executedOn;
    camera.installCmdHandler<Knock>([&](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
        EXPECT_EQ(told, "") << "told too early";
        EXPECT_EQ(command, knock);
        executedOn = std::this_thread::get_id();
    });
    execute(callbacks());
    EXPECT_EQ(executedOn, std::this_thread::get_id());
    EXPECT_EQ(told, "done");
    told.clear();
    EXPECT_NO_THROW(execute({})) << "without callbacks";
}

TEST_F(ABaseDevice, PassesTheHandlersExceptionToCallbackAndCaller) {
    camera.installCmdHandler<Knock>(throwBroken);
    EXPECT_THROW(execute(callbacks()), std::runtime_error);
    EXPECT_EQ(told, "broken");
}

TEST_F(ABaseDevice, RefusesACommandWithoutHandlerAndNull) {
    try {
        execute(callbacks());
        FAIL() << "nothing was thrown";
    } catch (const Exceptions::UnsupportedCommandException& exception) {
        EXPECT_EQ(exception.getCommand(), knock);
        EXPECT_EQ(exception.what(), unsupported);
    }
    EXPECT_EQ(told, unsupported);
    EXPECT_THROW(execute({}), Exceptions::UnsupportedCommandException);
    EXPECT_THROW(camera.execInternal(nullptr, {}), Exceptions::UnsupportedCommandException);
    EXPECT_THROW(camera.execAsync(nullptr, {}).get(), Exceptions::UnsupportedCommandException);
}

TEST_F(ABaseDevice, RunsACopyOfAHandlerThatReplacesItself) {
    auto held = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = held;
    camera.installCmdHandler<Knock>(throwBroken);
    camera.installCmdHandler<Knock>(
        [&, held = std::move(held)](const std::shared_ptr<Cmd>&, const CmdResultCallbacks&) {
            camera.installCmdHandler<Knock>(throwBroken);
            told += std::to_string(*held);
        });
    execute({});
    EXPECT_EQ(told, "7") << "the later handler, and while it runs";
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
