// Every fault of the simulated camera, and what a capture makes of it.

#include "ServedCamera.h"

#include "Communicator/DeviceException.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using namespace Integration;
using TestSupport::LogText;

namespace {

constexpr const char* protocolLogger = "Plenar.KorvaCamera.KorvaInternalsComm";
constexpr const char* captureLogger = "Plenar.KorvaCamera.KorvaCapture";

enum class Outcome { picture, emptyPicture, nothing, exception };

std::ostream& operator<<(std::ostream& stream, Outcome outcome) {
    constexpr const char* names[] = {"picture", "empty picture", "nothing", "exception"};
    return stream << names[static_cast<int>(outcome)];
}

using Lines = std::vector<LogText>;

struct FaultCase {
    const char* fault;
    Outcome outcome;
    std::size_t attempts; ///< configurations that the camera saw
    Lines protocol;       ///< lines of the protocol's logger at warn and above
    Lines capture;        ///< lines of the capture's logger at warn and above
};

std::ostream& operator<<(std::ostream& stream, const FaultCase& row) {
    return stream << row.fault;
}

Lines twice(Lines lines) {
    const Lines once = lines;
    lines.insert(lines.end(), once.begin(), once.end());
    return lines;
}

// The camera sends pictures of 40 x 20 pixels: 512 + 40 x 20 x 3 x 2 = 5312 file bytes.
constexpr Simulator::PictureSize pictureSize{40, 20};

const LogText configurationUnread{"ERROR", "parseIncomingMessage failed for image configuration"};
const LogText takeUnread{"ERROR", "parseIncomingMessage failed for take image request"};
const LogText pictureUnread{"ERROR", "parseIncomingMessage failed for GetImage"};
const LogText noAnswer{"ERROR", "Failed to read Header: bytesRead = 0"};
const LogText black{"ERROR", "All black image from Korva detected"};

std::vector<FaultCase> faultCases() {
    using enum Outcome;
    return {
        // A Done answer sums to 15; the camera sends 16, which the log shows byte-swapped: 4096.
        {"configure:checksum*1",
         picture,
         2,
         {{"WARN", "Korva Response failed chksum: sent 4096 : calculated 15"}},
         {configurationUnread}},
        {"take:checksum", nothing, 2,
         twice({{"WARN", "Korva Response failed chksum: sent 4096 : calculated 15"}}), twice({takeUnread})},
        {"take:error=7", nothing, 2, twice({{"WARN", "Korva returned an error code: 7"}}), {}},
        {"get:error=4294967295*1", picture, 2, {{"WARN", "Korva returned an error code: 4294967295"}}, {}},
        {"get:wrong-response", nothing, 2, twice({{"ERROR", "Expected GetImage response, got Done"}}), {}},
        {"configure:wrong-response",
         nothing,
         2,
         twice({{"WARN", "Korva returned an unexpected GetImage code: \x06"}}),
         {}},
        {"take:no-argument", nothing, 2, twice({{"ERROR", "Korva returned no argument"}}), {}},
        {"take:two-arguments",
         picture,
         1,
         {{"WARN", "Korva returned more arguments than expected: \x02"}},
         {}},
        {"get:two-arguments",
         picture,
         1,
         {{"WARN", "Korva returned more arguments than expected: \x02"}},
         {}},
        {"configure:wrong-command",
         nothing,
         2,
         twice({{"ERROR", "Korva didn't receive our Camera command: returned \x02"}}),
         {}},
        {"take:unknown-code",
         nothing,
         2,
         twice({{"WARN", "Korva returned an unexpected response code code: c"}}),
         {}},
        {"get:length-large", picture, 1, {}, {}},
        {"get:length-small", nothing, 2,
         twice({{"ERROR", "Korva has formulated an inconsistent message: args will exceed expected message "
                          "length: argSize 5312 totalBytesRead 11expected message size 2662"}}),
         twice({pictureUnread})},
        {"get:length-wrap", nothing, 2,
         twice({{"ERROR", "Korva has formulated an inconsistent message: args will exceed expected message "
                          "length: argSize 4294967285 totalBytesRead 11expected message size 5325"}}),
         twice({pictureUnread})},
        {"take:long-value", nothing, 2,
         twice({{"ERROR", "Korva has sent an argument that is too large: code 0 argSize 8 limit 4"}}),
         twice({takeUnread})},
        {"configure:many-arguments",
         picture,
         1,
         {{"WARN", "Korva returned more arguments than expected: \xFF"}},
         {}},
        {"get:huge-image", nothing, 2,
         twice({{"ERROR", "Korva has sent an image that is too large: argSize 2147483647 limit 268435456"}}),
         twice({pictureUnread})},
        // The highest bit of the last byte: 15 becomes 143, which the log shows byte-swapped.
        {"take:flip=103*1",
         picture,
         2,
         {{"WARN", "Korva Response failed chksum: sent 36608 : calculated 15"}},
         {takeUnread}},
        // The simulator's meaningless bytes begin AA 67 5E 0B B9 80 A5 75 A8 96 61 for the seed 1.
        {"configure:garbage", nothing, 2,
         twice({{"ERROR", "Korva has formulated an inconsistent message: args will exceed expected message "
                          "length: argSize 1973982817 totalBytesRead 11expected message size 1734216633"}}),
         twice({configurationUnread})},
        {"any:twice", picture, 1, {}, {}},
        {"take:stale", picture, 1, {}, {}},
        {"get:stale", nothing, 2, twice({{"ERROR", "Expected GetImage response, got Done"}}), {}},
        {"get:scatter=15", picture, 1, {}, {}},
        // The second configuration goes to a camera that listens no more.
        {"take:endless",
         nothing,
         1,
         {{"ERROR", "Korva has formulated an inconsistent message: args will exceed expected message "
                    "length: argSize 1431655765 totalBytesRead 11expected message size 1431655765"},
          {"ERROR", "Korva has formulated an inconsistent message: args will exceed expected message "
                    "length: argSize 1431655765 totalBytesRead 11expected message size 1431655765"}},
         {takeUnread, configurationUnread}},
        {"get:truncate-close=1000", exception, 1, {}, {}},
        {"get:truncate-silent=1011*1",
         picture,
         2,
         {{"ERROR", "Error reading ARG value: bytesRead = 0, expected 4312"}},
         {pictureUnread}},
        {"configure:truncate-silent=3*1",
         picture,
         2,
         {{"ERROR", "Failed to read Header: bytesRead = 3"}},
         {configurationUnread}},
        {"take:truncate-silent=9*1",
         picture,
         2,
         {{"ERROR", "Failed to read ArgHeader: bytesRead = 3"}},
         {takeUnread}},
        {"take:reset", exception, 1, {}, {}},
        {"take:close", exception, 1, {}, {}},
        {"configure:silent*1", picture, 2, {noAnswer}, {configurationUnread}},
        {"take:silent", nothing, 2, twice({noAnswer}), twice({takeUnread})},
        {"get:silent*1", picture, 2, {noAnswer}, {pictureUnread}},
        {"get:delay=150", picture, 1, {}, {}},
        {"get:drip=500/5", picture, 1, {}, {}},
        {"get:garbage-picture", emptyPicture, 1, {}, {}},
        {"get:empty-picture", emptyPicture, 1, {}, {}},
        {"get:black-picture*1", picture, 2, {}, {black}},
        {"get:black-picture", nothing, 2, {}, twice({black})},
    };
}

class CaptureFromFaultyCamera : public testing::TestWithParam<FaultCase> {};

Outcome outcomeOf(Communicator& communicator, const Bytes& expected) {
    try {
        const ImagePointer image = captureFrom(communicator, {}, 15);
        if (image == nullptr)
            return Outcome::nothing;
        if (image->getWidth() == 0 && image->getHeight() == 0)
            return Outcome::emptyPicture;
        EXPECT_TRUE(pixelsOf(image.get()) == expected);
        return Outcome::picture;
    } catch (const DeviceException&) {
        return Outcome::exception;
    }
}

std::string nameOf(const testing::TestParamInfo<FaultCase>& info) {
    std::string name;
    for (const char c : std::string(info.param.fault)) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0)
            name += c;
        else if (c == '*')
            name += "_times";
        else
            name += '_';
    }
    return name;
}

} // namespace

TEST_P(CaptureFromFaultyCamera, EndsAsItShouldAndSaysSo) {
    const FaultCase& row = GetParam();
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = pictureSize;
    settings.faults = {Simulator::parseFault(row.fault)};
    const TestSupport::LogCapture protocol(protocolLogger, log4cxx::Level::getWarn());
    const TestSupport::LogCapture capture(captureLogger, log4cxx::Level::getWarn());
    ServedCamera camera(settings);
    ImpatientCommunicator communicator(camera.port());

    EXPECT_EQ(outcomeOf(communicator, expectedPixels(settings, {}, 15)), row.outcome);
    EXPECT_EQ(protocol.texts(), row.protocol);
    EXPECT_EQ(capture.texts(), row.capture);
    EXPECT_FALSE(communicator.isConnected());
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0u);
    EXPECT_EQ(camera.stopAndCount("configure: exposure"), row.attempts);
}

INSTANTIATE_TEST_SUITE_P(Fault, CaptureFromFaultyCamera, testing::ValuesIn(faultCases()), nameOf);

TEST(CaptureFromFaultyCamera, PictureWithAWrongChecksumIsKept) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::black;
    settings.size = pictureSize;
    settings.faults = {Simulator::parseFault("get:checksum")};
    settings.scene.kind = Simulator::SceneKind::white;
    const TestSupport::LogCapture protocol(protocolLogger, log4cxx::Level::getWarn());
    ServedCamera camera(settings);
    ImpatientCommunicator communicator(camera.port());

    EXPECT_EQ(outcomeOf(communicator, expectedPixels(settings, {}, 15)), Outcome::picture);
    ASSERT_EQ(protocol.lines().size(), 1u);
    EXPECT_EQ(protocol.lines()[0].level, "WARN");
    EXPECT_TRUE(protocol.lines()[0].message.starts_with("Korva Response failed chksum: sent "));
    EXPECT_EQ(camera.stopAndCount("configure: exposure"), 1u);
}

TEST(CaptureFromFaultyCamera, EveryFaultOfTheBinaryProtocolIsAmongThese) {
    std::string all = "get:checksum ";
    for (const FaultCase& row : faultCases())
        all += std::string(row.fault) + " ";
    // The names stand in the help, one in each line behind two blanks, before those of the text language.
    std::istringstream help(Simulator::faultHelp());
    std::size_t seen = 0;
    for (std::string line; std::getline(help, line) && line.find("text language") == std::string::npos;) {
        if (!line.starts_with("  "))
            continue;
        const std::string name = line.substr(2, line.find_first_of(" =[", 2) - 2);
        EXPECT_NE(all.find(":" + name), std::string::npos) << name;
        ++seen;
    }
    EXPECT_EQ(seen, 29u);
}
