#include "NativeCameraKorva/KorvaCameraHandlers.h"

#include "Communicator/DeviceException.h"
#include "Device/CaptureCmds.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

using namespace Tolvane::DeviceFramework2::Device;
using ImageCmd = SetCmd<image_t&>;

namespace {

template <class Exception>
std::string textOfFailureFrom(const BaseDevice::CmdHandler& handler, std::shared_ptr<Cmd> command) {
    try {
        handler(std::move(command), {});
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "no such failure";
}

struct CmdHandlers : ::testing::Test {
    image_t image;
    std::shared_ptr<Cmd> command = std::make_shared<Capture::FillMonoImage>(image, "key");
};

} // namespace

TEST_F(CmdHandlers, GiveTheWorkTheCommandAsTheKindThatItExpects) {
    const ImageCmd* got = nullptr;
    Korva::makeCmdHandler<ImageCmd>([&got](const ImageCmd& given) { got = &given; })(command, {});
    EXPECT_EQ(got, command.get());
}

TEST_F(CmdHandlers, RefuseACommandOfAnotherKindAndNameIt) {
    bool worked = false;
    const auto handler =
        Korva::makeCmdHandler<SetCmd<NetworkHealthCallback>>([&worked](const auto&) { worked = true; });
    try {
        handler(command, {});
        FAIL() << "the handler took the command";
    } catch (const Exceptions::IncorrectCommandTypeException& failure) {
        EXPECT_EQ(failure.getCommand(), command);
    }
    EXPECT_FALSE(worked);
    EXPECT_EQ(command.use_count(), 1);
}

TEST_F(CmdHandlers, RefuseNoCommand) {
    const auto handler = Korva::makeCmdHandler<ImageCmd>([](const ImageCmd&) {});
    EXPECT_THROW(handler(nullptr, {}), Exceptions::IncorrectCommandTypeException);
}

TEST_F(CmdHandlers, WrapAnExceptionOfTheOlderLayer) {
    const auto handler = Korva::makeCmdHandler<ImageCmd>(
        [](const ImageCmd&) { throw TolvaneException(L"K\u00E4mera weg", L"File.cpp", 7); });
    EXPECT_EQ(textOfFailureFrom<Exceptions::WrappedD1Exception>(handler, command),
              "A Device1 layer exception caught: [K\xC3\xA4mera weg]");
    EXPECT_EQ(command.use_count(), 1);
}

TEST_F(CmdHandlers, WrapWhatDerivesFromAnExceptionOfTheOlderLayer) {
    const auto handler =
        Korva::makeCmdHandler<ImageCmd>([](const ImageCmd&) { throw DeviceException(L"gone"); });
    EXPECT_EQ(textOfFailureFrom<Exceptions::WrappedD1Exception>(handler, command),
              "A Device1 layer exception caught: [gone]");
}

TEST_F(CmdHandlers, LetEveryOtherExceptionPass) {
    const auto plain =
        Korva::makeCmdHandler<ImageCmd>([](const ImageCmd&) { throw std::runtime_error("plain"); });
    EXPECT_EQ(textOfFailureFrom<std::runtime_error>(plain, command), "plain");
    const auto root =
        Korva::makeCmdHandler<ImageCmd>([](const ImageCmd&) { throw TolvaneExceptionBase(L"root"); });
    EXPECT_EQ(textOfFailureFrom<TolvaneExceptionBase>(root, command), "root");
    EXPECT_EQ(command.use_count(), 1);
}

TEST_F(CmdHandlers, LeaveTheCallbacksToTheDevice) {
    int calls = 0;
    CmdResultCallbacks callbacks;
    callbacks.done = [&calls] { ++calls; };
    callbacks.failed = [&calls](const std::exception_ptr&) { ++calls; };
    Korva::makeCmdHandler<ImageCmd>([](const ImageCmd&) {})(command, callbacks);
    const auto failing =
        Korva::makeCmdHandler<ImageCmd>([](const ImageCmd&) { throw DeviceException(L"gone"); });
    EXPECT_THROW(failing(command, callbacks), Exceptions::WrappedD1Exception);
    EXPECT_EQ(calls, 0);
}
