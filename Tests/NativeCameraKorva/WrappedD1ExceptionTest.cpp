#include "NativeCameraKorva/WrappedD1Exception.h"

#include "World/Calls.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using namespace Tolvane::DeviceFramework2::Device::Exceptions;

TEST(WrappedD1Exception, IsADeviceExceptionOfTheNewerLayerThatWrapsTheMessageInUtf8) {
    static_assert(std::is_base_of_v<DeviceException, WrappedD1Exception>);
    const auto textOf = [](const wchar_t* message) {
        const WrappedD1Exception failure(message);
        return std::string(static_cast<const DeviceException&>(failure).what());
    };
    EXPECT_EQ(textOf(L"K\u00E4mera \U0001F4F7"),
              "A Device1 layer exception caught: [K\xC3\xA4mera \xF0\x9F\x93\xB7]");
    EXPECT_EQ(textOf(L""), "A Device1 layer exception caught: []");
    World::Calls::current().failAlways("WideCharToMultiByte", 0);
    EXPECT_EQ(textOf(L"it broke"), "A Device1 layer exception caught: []");
    World::Calls::current().failNoMore();
}
