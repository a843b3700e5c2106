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

TEST(DeviceException, IsDescribedByItsMessageWhereItKnowsNoLine) {
    const DeviceException exception(L"broken", L"Camera.cpp");
    EXPECT_EQ(exception.getLine(), TolvaneException::noLine);
    EXPECT_EQ(exception.getFile(), L"Camera.cpp");
    EXPECT_EQ(exception.getDescription(), L"broken");
}

TEST(DeviceException, IsDescribedWithFileAndLineWhereItKnowsThem) {
    const DeviceException exception(L"broken", L"Camera.cpp", 42);
    EXPECT_EQ(exception.getLine(), 42);
    EXPECT_EQ(exception.getDescription(), L"broken @ Camera.cpp:42");
    EXPECT_EQ(exception.getMessage(), L"broken");
}

TEST(DeviceException, IsCopiedWhole) {
    DeviceException copy(L"other");
    {
        const DeviceException original(L"broken", L"Camera.cpp", 42);
        copy = original;
    }
    EXPECT_EQ(copy.getDescription(), L"broken @ Camera.cpp:42");
    EXPECT_STREQ(copy.what(), "broken");
}

TEST(DeviceException, IsCaughtByItsTypeAcrossLibraries) {
    EXPECT_THROW(throwInTheHostsLibrary(), DeviceException);
}

TEST(DeviceException, IsCaughtByEveryTypeAboveIt) {
    int caught = 0;
    try {
        throwInTheHostsLibrary();
    } catch (const TolvaneException&) {
        ++caught;
    }
    try {
        throwInTheHostsLibrary();
    } catch (const TolvaneExceptionBase&) {
        ++caught;
    }
    try {
        throwInTheHostsLibrary();
    } catch (const std::exception&) {
        ++caught;
    }
    EXPECT_EQ(caught, 3);
}

TEST(DeviceException, IsToldFromTheTypesAboveIt) {
    const auto isDeviceException = [](const TolvaneExceptionBase& exception) {
        return dynamic_cast<const DeviceException*>(&exception) != nullptr;
    };
    EXPECT_FALSE(isDeviceException(TolvaneException(L"broken")));
    EXPECT_FALSE(isDeviceException(TolvaneExceptionBase(L"broken")));
    EXPECT_TRUE(isDeviceException(DeviceException(L"broken")));
}
