#include "NativeCameraKorva/WrappedD1Exception.h"

#include "World/Calls.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using namespace Tolvane::DeviceFramework2::Device::Exceptions;

TEST(WrappedD1Exception, WrapsTheMessageInItsText) {
    EXPECT_STREQ(WrappedD1Exception(L"it broke").what(), "A Device1 layer exception caught: [it broke]");
}

TEST(WrappedD1Exception, IsInUtf8) {
    EXPECT_STREQ(WrappedD1Exception(L"K\u00E4mera \U0001F4F7").what(),
                 "A Device1 layer exception caught: [K\xC3\xA4mera \xF0\x9F\x93\xB7]");
}

TEST(WrappedD1Exception, OfAnEmptyMessageIsThePrefixAndTheBracket) {
    EXPECT_STREQ(WrappedD1Exception(L"").what(), "A Device1 layer exception caught: []");
}

TEST(WrappedD1Exception, OfAMessageThatCannotBeConvertedIsThePrefixAndTheBracket) {
    World::Calls::current().failAlways("WideCharToMultiByte", 0);
    const WrappedD1Exception failure(L"it broke");
    World::Calls::current().failNoMore();
    EXPECT_STREQ(failure.what(), "A Device1 layer exception caught: []");
}

TEST(WrappedD1Exception, IsADeviceExceptionOfTheNewerLayerWhoseTextIsTheWrappers) {
    static_assert(std::is_base_of_v<DeviceException, WrappedD1Exception>);
    try {
        throw WrappedD1Exception(L"it broke");
    } catch (const DeviceException& failure) {
        EXPECT_STREQ(failure.what(), "A Device1 layer exception caught: [it broke]");
    }
}
