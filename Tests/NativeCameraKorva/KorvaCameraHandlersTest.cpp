#include "NativeCameraKorva/KorvaCameraHandlers.h"

#include "Communicator/DeviceException.h"
#include "Device/CaptureCmds.h"
#include "NativeCameraKorva/WrappedD1Exception.h"
#include "Support/Thrown.h"
#include "World/Calls.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace Tolvane::DeviceFramework2::Device;
using ImageCmd = SetCmd<image_t&>;

namespace {

struct CmdHandlers : ::testing::Test {
    image_t image;
    std::shared_ptr<Cmd> command = std::make_shared<Capture::FillMonoImage>(image, "key");
    int calls = 0; ///< of the result callbacks, which are the device's affair

    /// Hands `given` to a handler whose work that is.
    void execute(const std::shared_ptr<Cmd>& given, const std::function<void(const ImageCmd&)>& work) {
        CmdResultCallbacks callbacks;
        callbacks.done = [this] { ++calls; };
        callbacks.failed = [this](const std::exception_ptr&) { ++calls; };
        Korva::makeCmdHandler<ImageCmd>(work)(given, callbacks);
    }

    ~CmdHandlers() override {
        EXPECT_EQ(calls, 0);
        EXPECT_EQ(command.use_count(), 1);
    }

    /// What the work throws comes out as an `Outer` with that text.
    template <class Outer, class Inner>
    void expectThrown(const Inner& inner, const std::string& text) {
        const auto work = [&inner](const ImageCmd&) { throw inner; };
        EXPECT_EQ(TestSupport::thrownBy<Outer>([&] { execute(command, work); }), text);
    }
};

} // namespace

TEST_F(CmdHandlers, GiveTheWorkTheCommandAndRefuseNoneAndOneOfAnotherKindWhichTheyName) {
    const ImageCmd* got = nullptr;
    const auto keep = [&got](const ImageCmd& given) { got = &given; };
    const std::shared_ptr<Cmd> other = std::make_shared<SetNetworkHealthCallback>(nullptr);
    for (const std::shared_ptr<Cmd>& refused : {other, std::shared_ptr<Cmd>()}) {
        try {
            execute(refused, keep);
            FAIL() << "the handler took the command";
        } catch (const Exceptions::IncorrectCommandTypeException& failure) {
            EXPECT_EQ(failure.getCommand(), refused);
        }
    }
    EXPECT_EQ(got, nullptr);
    execute(command, keep);
    EXPECT_EQ(got, command.get());
}

TEST_F(CmdHandlers, WrapExceptionsOfTheOlderLayerAndLetEveryOtherPass) {
    using Exceptions::WrappedD1Exception;
    const std::string prefix = "A Device1 layer exception caught: ";
    expectThrown<WrappedD1Exception>(TolvaneException(L"K\u00E4mera weg", L"File.cpp", 7),
                                     prefix + "[K\xC3\xA4mera weg]");
    expectThrown<WrappedD1Exception>(DeviceException(L"gone"), prefix + "[gone]");
    expectThrown<std::runtime_error>(std::runtime_error("plain"), "plain");
    expectThrown<TolvaneExceptionBase>(TolvaneExceptionBase(L"root"), "root");
}

TEST(WrappedD1Exception, IsADeviceExceptionOfTheNewerLayerThatWrapsTheMessageInUtf8) {
    static_assert(std::is_base_of_v<Exceptions::DeviceException, Exceptions::WrappedD1Exception>);
    const auto textOf = [](const wchar_t* message) {
        const Exceptions::WrappedD1Exception failure(message);
        return std::string(static_cast<const Exceptions::DeviceException&>(failure).what());
    };
    EXPECT_EQ(textOf(L"\U0001F4F7"), "A Device1 layer exception caught: [\xF0\x9F\x93\xB7]");
    EXPECT_EQ(textOf(L""), "A Device1 layer exception caught: []");
    World::Calls::current().failAlways("WideCharToMultiByte", 0);
    EXPECT_EQ(textOf(L"it broke"), "A Device1 layer exception caught: []");
    World::Calls::current().failNoMore();
}
