// The exceptions of the host's two layers.

#include "Device/Exceptions.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "FakeCamera.h"

#include <gtest/gtest.h>

namespace Newer = Tolvane::DeviceFramework2::Device::Exceptions;

namespace {

/// Has the host's library throw, which refuses a port of 0.
void throwInTheHostsLibrary() {
    PosixEthernetCommunicator communicator(L"127.0.0.1", 0, -1);
    const Connector hold(communicator);
}

template <class Kind>
bool isOfKind(const std::exception& exception) {
    return dynamic_cast<const Kind*>(&exception) != nullptr;
}

} // namespace

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

TEST(DeviceException, IsCaughtAcrossLibrariesByItsTypeAndEveryOneAboveIt) {
    EXPECT_THROW(throwInTheHostsLibrary(), DeviceException);
    EXPECT_THROW(throwInTheHostsLibrary(), TolvaneException);
    EXPECT_THROW(throwInTheHostsLibrary(), TolvaneExceptionBase);
    EXPECT_THROW(throwInTheHostsLibrary(), std::exception);
    EXPECT_FALSE(isOfKind<DeviceException>(TolvaneException(L"broken")));
    EXPECT_FALSE(isOfKind<TolvaneException>(TolvaneExceptionBase(L"broken")));
    EXPECT_FALSE(isOfKind<DeviceException>(Newer::DeviceException())) << "another class";
}

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
