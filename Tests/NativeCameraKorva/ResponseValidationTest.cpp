#include "NativeCameraKorva/KorvaBinaryCommunication.h"

#include "Support/LogCapture.h"
#include "Support/LogLocation.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using namespace Korva::Binary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::LogText;

constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaInternalsComm";

struct ResponseValidation : ::testing::Test {
    LogCapture log{loggerName};
    Header header{1, bigEndian32(13), 1};
    std::vector<FullArg> args{1};

    ~ResponseValidation() override { TestSupport::expectFrom(log, "KorvaBinaryCommunication"); }

    bool validate(bool expectImage) { return validateCommandResponse(header, args, expectImage); }
    bool validateCode(std::uint8_t code, bool expectImage) {
        args.at(0).header.type = code;
        return validate(expectImage);
    }

    const LogText headerLine{"DEBUG", "Korva Response Header:  1 0 0 0 d 1"};
};

TEST_F(ResponseValidation, AcceptsDone) {
    EXPECT_TRUE(validateCode(0, false));
    EXPECT_THAT(log.texts(), ElementsAre(headerLine, LogText{"DEBUG", "Korva Response: DONE"}));
}

TEST_F(ResponseValidation, RefusesDoneWhereAnImageIsExpected) {
    EXPECT_FALSE(validateCode(0, true));
    EXPECT_THAT(log.texts(), ElementsAre(headerLine, LogText{"DEBUG", "Korva Response: DONE"},
                                         LogText{"ERROR", "Expected GetImage response, got Done"}));
}

TEST_F(ResponseValidation, RefusesAnErrorAndNamesItsBigEndianCode) {
    for (const bool expectImage : {false, true}) {
        LogCapture own(loggerName);
        args.at(0).value = {0x01, 0x02, 0x03, 0x04};
        EXPECT_FALSE(validateCode(1, expectImage));
        EXPECT_THAT(own.texts(), ElementsAre(headerLine, LogText{"DEBUG", "Korva Response: ERROR"},
                                             LogText{"WARN", "Korva returned an error code: 16909060"}));
    }
}

TEST_F(ResponseValidation, TakesAnErrorCodeForUnsigned) {
    args.at(0).value = {0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_FALSE(validateCode(1, false));
    EXPECT_EQ(log.texts().back(), (LogText{"WARN", "Korva returned an error code: 4294967295"}));
}

TEST_F(ResponseValidation, AcceptsAnImageWhereOneIsExpected) {
    EXPECT_TRUE(validateCode(6, true));
    EXPECT_THAT(log.texts(), ElementsAre(headerLine, LogText{"DEBUG", "Korva Response: GETIMAGE"}));
}

TEST_F(ResponseValidation, RefusesAnUnexpectedImageWithItsCodeAsOneByte) {
    EXPECT_FALSE(validateCode(6, false));
    EXPECT_THAT(log.texts(),
                ElementsAre(headerLine, LogText{"DEBUG", "Korva Response: GETIMAGE"},
                            LogText{"WARN", "Korva returned an unexpected GetImage code: \x06"}));
}

TEST_F(ResponseValidation, RefusesEveryOtherCodeAndWritesItAsOneByte) {
    for (int code = 0; code < 256; ++code) {
        if (code == 0 || code == 1 || code == 6)
            continue;
        for (const bool expectImage : {false, true}) {
            LogCapture own(loggerName);
            EXPECT_FALSE(validateCode(static_cast<std::uint8_t>(code), expectImage));
            EXPECT_THAT(
                own.texts(),
                ElementsAre(headerLine, LogText{"WARN", "Korva returned an unexpected response code code: " +
                                                            std::string(1, static_cast<char>(code))}));
        }
    }
}

TEST_F(ResponseValidation, RefusesAnotherCommandThanTheCamerasAndWritesItAsOneByte) {
    for (const int command : {0, 2, 65, 255}) {
        LogCapture own(loggerName, log4cxx::Level::getInfo());
        header.command = static_cast<std::uint8_t>(command);
        EXPECT_FALSE(validate(false));
        EXPECT_THAT(own.texts(),
                    ElementsAre(LogText{"ERROR", "Korva didn't receive our Camera command: returned " +
                                                     std::string(1, static_cast<char>(command))}));
    }
}

TEST_F(ResponseValidation, SaysNothingOfTheArgumentsOfAnotherCommand) {
    header = {2, bigEndian32(18), 2};
    args.emplace_back();
    EXPECT_FALSE(validate(false));
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"DEBUG", "Korva Response Header:  2 0 0 0 12 2"},
                            LogText{"ERROR", "Korva didn't receive our Camera command: returned \x02"}));
}

TEST_F(ResponseValidation, WarnsOfMoreThanOneArgumentAndGoesOn) {
    header.argCount = 'B';
    EXPECT_TRUE(validate(false));
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"DEBUG", "Korva Response Header:  1 0 0 0 d 42"},
                                         LogText{"WARN", "Korva returned more arguments than expected: B"},
                                         LogText{"DEBUG", "Korva Response: DONE"}));
}

TEST_F(ResponseValidation, LooksOnlyAtTheFirstArgumentAndWarnsOfTheSecond) {
    header.argCount = 2;
    args.emplace_back().header.type = 1;
    EXPECT_TRUE(validate(false));
    EXPECT_EQ(log.texts().at(1), (LogText{"WARN", "Korva returned more arguments than expected: \x02"}));
}

TEST_F(ResponseValidation, RefusesAResponseWithoutArguments) {
    header = {1, bigEndian32(8), 0};
    args.clear();
    for (const bool expectImage : {false, true}) {
        LogCapture own(loggerName);
        EXPECT_FALSE(validate(expectImage));
        EXPECT_THAT(own.texts(), ElementsAre(LogText{"DEBUG", "Korva Response Header:  1 0 0 0 8 0"},
                                             LogText{"ERROR", "Korva returned no argument"}));
    }
}

TEST_F(ResponseValidation, LogsTheHeadersBytesInLowerCaseHexadecimal) {
    header = {0xAB, bigEndian32(0x0C00FF10), 0x0E};
    EXPECT_FALSE(validate(false));
    EXPECT_EQ(log.texts().front(), (LogText{"DEBUG", "Korva Response Header: ab c 0 ff 10 e"}));
}

TEST_F(ResponseValidation, WritesNumbersInDecimalAfterTheHexadecimalLine) {
    args.at(0).value = {0, 0, 0, 100};
    EXPECT_FALSE(validateCode(1, false));
    EXPECT_EQ(log.texts().back(), (LogText{"WARN", "Korva returned an error code: 100"}));
}

TEST_F(ResponseValidation, GivesTheSameResultsWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    EXPECT_TRUE(validateCode(0, false));
    EXPECT_FALSE(validateCode(0, true));
    EXPECT_FALSE(validateCode(1, false));
    EXPECT_TRUE(validateCode(6, true));
    EXPECT_FALSE(validateCode(6, false));
    EXPECT_FALSE(validateCode(7, true));
    header.argCount = 2;
    EXPECT_TRUE(validateCode(0, false));
    header.command = 2;
    EXPECT_FALSE(validateCode(0, false));
    header.command = 1;
    args.clear();
    EXPECT_FALSE(validate(false));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ResponseValidation, LogsUnderItsLoggerWithItsLocation) {
    EXPECT_FALSE(validateCode(9, false));
    ASSERT_EQ(log.lines().size(), 2u);
    for (const TestSupport::LogLine& line : log.lines()) {
        EXPECT_EQ(line.logger, loggerName);
        EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaBinaryCommunication");
        EXPECT_EQ(line.method, "validateCommandResponse");
    }
    EXPECT_LT(log.lines()[0].line, log.lines()[1].line);
}

} // namespace
