// Commands, who executes them, and the exceptions of both layers.

#include "Device/BaseDevice.h"

#include "Communicator/DeviceException.h"
#include "Device/CaptureCmds.h"
#include "Device/Exceptions.h"
#include "FakeCamera.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <type_traits>

using namespace Tolvane::DeviceFramework2::Device;
using Tests::Knock;
using Tests::throwBroken;
using TestSupport::thrownBy;

namespace Newer = Exceptions;

namespace {

/// A camera, and what is told of one command.
struct ABaseDevice : testing::Test {
    CmdResultCallbacks callbacks() {
        return {[this] { told += "done"; },
                [this](const std::exception_ptr& exception) {
                    told += thrownBy<std::exception>([&] { std::rethrow_exception(exception); });
                }};
    }

    Tests::FakeCamera camera;
    const std::shared_ptr<Knock> knock = std::make_shared<Knock>();
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

TEST_F(ABaseDevice, SupportsWhatItHasAHandlerForWhichIsNothingAtFirst) {
    camera.initialize();
    EXPECT_FALSE(camera.supports(*knock));
    camera.installCmdHandler<Knock>(throwBroken);
    EXPECT_TRUE(camera.supports(*knock));
    EXPECT_FALSE(camera.supports(Cmd()));
}

TEST_F(ABaseDevice, InstallsItsHandlersOnceHoweverOftenItIsInitialised) {
    struct Counting : Tests::FakeCamera {
        void installCmdHandlers() override { ++installations; }
        int installations = 0;
    } counting;
    counting.initialize();
    counting.initialize();
    EXPECT_EQ(counting.installations, 1);
}

TEST_F(ABaseDevice, ExecutesOnTheCallingThreadAndTellsSuccess) {
    std::thread::id executedOn;
    camera.installCmdHandler<Knock>([&](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
        EXPECT_EQ(told, "") << "told too early";
        EXPECT_EQ(command, knock);
        executedOn = std::this_thread::get_id();
    });
    camera.execInternal(knock, callbacks());
    EXPECT_EQ(executedOn, std::this_thread::get_id());
    EXPECT_EQ(told, "done");
    told.clear();
    EXPECT_NO_THROW(camera.execInternal(knock, {})) << "without callbacks";
}

TEST_F(ABaseDevice, PassesTheHandlersExceptionToCallbackAndCaller) {
    camera.installCmdHandler<Knock>(throwBroken);
    EXPECT_THROW(camera.execInternal(knock, callbacks()), std::runtime_error);
    EXPECT_EQ(told, "broken");
}

TEST_F(ABaseDevice, RefusesACommandWithoutHandlerAndNull) {
    try {
        camera.execInternal(knock, callbacks());
        FAIL() << "nothing was thrown";
    } catch (const Exceptions::UnsupportedCommandException& exception) {
        EXPECT_EQ(exception.getCommand(), knock);
        EXPECT_EQ(exception.what(),
                  std::string("The device has no handler for the command ") + typeid(Knock).name());
        EXPECT_EQ(told, exception.what());
    }
    EXPECT_THROW(camera.execInternal(knock, {}), Exceptions::UnsupportedCommandException);
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
    camera.execInternal(knock, {});
    EXPECT_EQ(told, "7") << "the later handler, and while it runs";
    EXPECT_TRUE(watched.expired());
}

TEST(DeviceException, CarriesItsMessageInTwoEncodingsAndWhereItWasThrownIfItKnowsThatAlsoAsACopy) {
    DeviceException exception(L"Kamera \u00E4\U0001F600", L"Camera.cpp");
    EXPECT_EQ(exception.getMessage(), L"Kamera \u00E4\U0001F600");
    EXPECT_STREQ(exception.what(), "Kamera \xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(exception.getLine(), TolvaneException::noLine);
    EXPECT_EQ(exception.getFile(), L"Camera.cpp");
    EXPECT_EQ(exception.getDescription(), exception.getMessage());
    exception = DeviceException(L"other", L"Camera.cpp", 42);
    EXPECT_EQ(exception.getLine(), 42);
    EXPECT_EQ(exception.getDescription(), L"other @ Camera.cpp:42");
    EXPECT_EQ(exception.getMessage(), L"other");
    EXPECT_STREQ(exception.what(), "other");
}

// That they are caught across libraries is shown by the plug-in's tests.
static_assert(std::is_base_of_v<TolvaneException, DeviceException>);
static_assert(std::is_base_of_v<TolvaneExceptionBase, TolvaneException>);
static_assert(std::is_base_of_v<std::exception, TolvaneExceptionBase>);
static_assert(!std::is_base_of_v<TolvaneExceptionBase, Newer::DeviceException>);

TEST(NewerExceptions, ReportTheirTextAndCommand) {
    EXPECT_STREQ(Newer::DeviceException().what(), "The device failed");
    const auto command = std::make_shared<Tests::Knock>();
    const Newer::IncorrectCommandTypeException incorrect(command);
    EXPECT_EQ(incorrect.getCommand(), command);
    EXPECT_EQ(incorrect.what(),
              "The command " + command->getTypeName() + " is not of the kind that its handler expects");
    EXPECT_STREQ(Newer::UnsupportedCommandException(nullptr).what(),
                 "The device has no handler for the command null");
}
