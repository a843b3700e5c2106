#include "Communicator/DeviceException.h"

#include "Communicator/Connector.h"
#include "Communicator/PosixEthernetCommunicator.h"

#include <gtest/gtest.h>

namespace {

/// Has the host's library throw, which refuses a port of 0.
void throwInTheHostsLibrary() {
    PosixEthernetCommunicator communicator(L"127.0.0.1", 0, -1);
    const Connector hold(communicator);
}

} // namespace

TEST(DeviceException, CarriesItsMessageWideAndInUtf8) {
    const DeviceException exception(L"Kamera \u00E4\U0001F600");
    EXPECT_EQ(exception.getMessage(), L"Kamera \u00E4\U0001F600");
    EXPECT_STREQ(exception.what(), "Kamera \xC3\xA4\xF0\x9F\x98\x80");
}

TEST(DeviceException, IsDescribedWithFileAndLineIfItKnowsThemAlsoAsACopy) {
    DeviceException exception(L"broken", L"Camera.cpp");
    EXPECT_EQ(exception.getLine(), TolvaneException::noLine);
    EXPECT_EQ(exception.getFile(), L"Camera.cpp");
    EXPECT_EQ(exception.getDescription(), L"broken");
    exception = DeviceException(L"other", L"Camera.cpp", 42);
    EXPECT_EQ(exception.getLine(), 42);
    EXPECT_EQ(exception.getDescription(), L"other @ Camera.cpp:42");
    EXPECT_EQ(exception.getMessage(), L"other");
    EXPECT_STREQ(exception.what(), "other");
}

TEST(DeviceException, IsCaughtAcrossLibrariesByItsTypeAndEveryOneAboveIt) {
    EXPECT_THROW(throwInTheHostsLibrary(), DeviceException);
    EXPECT_THROW(throwInTheHostsLibrary(), TolvaneException);
    EXPECT_THROW(throwInTheHostsLibrary(), TolvaneExceptionBase);
    EXPECT_THROW(throwInTheHostsLibrary(), std::exception);
}

TEST(DeviceException, IsToldFromTheTypesAboveIt) {
    const auto isDeviceException = [](const TolvaneExceptionBase& exception) {
        return dynamic_cast<const DeviceException*>(&exception) != nullptr;
    };
    EXPECT_FALSE(isDeviceException(TolvaneException(L"broken")));
    EXPECT_FALSE(isDeviceException(TolvaneExceptionBase(L"broken")));
    EXPECT_TRUE(isDeviceException(DeviceException(L"broken")));
}
