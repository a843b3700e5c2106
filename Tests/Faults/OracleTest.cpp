// Outcomes written by hand, which hold the oracle itself.

#include "Oracle.h"

#include "NativeCameraKorva/DeviceFixture.h"
#include "World/Answers.h"
#include "World/Peer.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::chrono_literals;
using World::done;
using World::image;
using World::message;
using World::sending;

namespace Faults {
namespace {

const Line noHeader{"ERROR", "KorvaInternalsComm", "KorvaBinaryCommunication",
                    "Failed to read Header: bytesRead = 0"};
const Line noPicture{"ERROR", "KorvaInternals", "KorvaInternals", "Failed to capture Korva image"};

Line ofCapture(const std::string& text) {
    return {"ERROR", "KorvaCapture", "KorvaHelper", text};
}

Line ofProtocol(const char* level, const std::string& text) {
    return {level, "KorvaInternalsComm", "KorvaBinaryCommunication", text};
}

TEST(OracleOfReplies, ReadsThemAsTheTableOfTheProtocolShows) {
    using Entries = std::vector<std::string>;
    EXPECT_EQ(entriesOf("[Korva --Room --IP 10.0.0.5]"), (Entries{"--Room", "--IP", "10.0.0.5"}));
    EXPECT_EQ(entriesOf("[Korva --Room Lab --IP 10.0.0.5"), (Entries{"--Room", "Lab", "--IP"}));
    EXPECT_EQ(entriesOf("--Room Lab East ]"), (Entries{"--Room", "Lab East "}));
    EXPECT_EQ(entriesOf("--A x] --B y]"), (Entries{"--A", "x"}));
    EXPECT_EQ(entriesOf("--A x]]"), (Entries{"--A", "x]"}));
    EXPECT_EQ(entriesOf("[Korva --IP] --Room Lab]"), (Entries{"--IP]", "--Room", "Lab"}));
}

struct Oracle : ::testing::Test {
    World::Peer texts;
    World::Peer binary;
    Camera camera{[this] { return texts.accept(); }, [this] { return binary.accept(); }};
    const Bytes file = DeviceFixture::greyFile(4, 3);

    void answerPicture() { binary.answer(done()).answer(done()).answer(image(file)); }
    void answerTexts(const std::string& hardware, const std::string& software) {
        texts.say("[Version --HW " + hardware + " --SW " + software + " --API 1.4]");
        texts.say("[SerialNumber --Camera 1234]");
        texts.say("[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 10.0.0.1]");
    }
};

TEST_F(Oracle, TakesARightPictureAtOnce) {
    answerPicture();
    const Outcome outcome = picture(camera);
    EXPECT_EQ(outcome.pixels, DeviceFixture::greyPixels(12));
    EXPECT_EQ(outcome.health, std::vector{2});
    EXPECT_EQ(outcome.attempts, 1);
    EXPECT_EQ(outcome.lines, Lines{});
    EXPECT_EQ(outcome.elapsed, 0s);
    EXPECT_TRUE(outcome.isSure);
    // As Docs/Protocol.md shows them; the exposure is a device's own.
    EXPECT_EQ(binary.requests(),
              (std::vector<Bytes>{{1, 0, 0, 0, 0x27, 5, 2, 0, 0, 0, 2,  0, 15, 3, 0, 0, 0, 1, 2,   4,
                                   0, 0, 0, 1, 1,    7, 0, 0, 0, 1, 16, 8, 0,  0, 0, 1, 4, 0, 0x71},
                                  {1, 0, 0, 0, 0x0D, 1, 5, 0, 0, 0, 0, 0, 0x14},
                                  {1, 0, 0, 0, 0x0D, 1, 6, 0, 0, 0, 0, 0, 0x15}}));
}

TEST_F(Oracle, WaitsTenSecondsInEachOfTwoAttemptsForASilentCamera) {
    const Outcome outcome = picture(camera);
    const Line unread = ofCapture("parseIncomingMessage failed for image configuration");
    EXPECT_EQ(outcome.lines, (Lines{noHeader, unread, noHeader, unread, noPicture}));
    EXPECT_EQ(outcome.health, std::vector{1032});
    EXPECT_EQ(outcome.attempts, 2);
    EXPECT_EQ(outcome.elapsed, 20s);
}

TEST_F(Oracle, AsksAgainAfterAWrongChecksumButKeepsAPictureWithOne) {
    Bytes wrongDone = done();
    ++wrongDone.back();
    Bytes wrongPicture = image(file);
    ++wrongPicture.back();
    binary.answer(wrongDone).answer(done()).answer(done()).answer(wrongPicture);
    const Outcome outcome = picture(camera);
    EXPECT_EQ(outcome.pixels, DeviceFixture::greyPixels(12));
    EXPECT_EQ(outcome.attempts, 2);
    ASSERT_EQ(outcome.lines.size(), 3U);
    EXPECT_EQ(outcome.lines[0],
              ofProtocol("WARN", "Korva Response failed chksum: sent 4096 : calculated 15"));
    EXPECT_EQ(outcome.lines[1], ofCapture("parseIncomingMessage failed for image configuration"));
    EXPECT_EQ(outcome.lines[2].level, "WARN");
}

TEST_F(Oracle, FindsTheEndOfAConnectionWithTheNextRequest) {
    binary.act({sending({1, 0, 0}), Simulator::CloseConnection{}});
    const Outcome outcome = picture(camera);
    EXPECT_EQ(
        outcome.lines,
        (Lines{ofProtocol("ERROR", "Failed to read Header: bytesRead = 3"),
               ofCapture("parseIncomingMessage failed for image configuration"),
               {"ERROR", "KorvaInternals", "KorvaInternals",
                "Communicator error: 10.0.0.5:32769: send failed: Connection closed by the peer", 101}}));
    EXPECT_EQ(outcome.health, std::vector{1032});
    EXPECT_EQ(outcome.attempts, 1);
}

TEST_F(Oracle, IsSureOfAnEndBehindUnreadBytesOnlyWhereItComesWithThem) {
    const Bytes unreadable{1, 0, 0, 0, 8, 1, 0, 0, 0, 0, 9, 0, 0};
    binary.act({sending(unreadable), Simulator::CloseConnection{}});
    EXPECT_TRUE(picture(camera).isSure);
    binary.act({sending(unreadable), Simulator::Pause{1ms}, Simulator::CloseConnection{}});
    EXPECT_FALSE(picture(camera).isSure);
}

TEST_F(Oracle, TellsOfAResetByTheReadThatMetIt) {
    binary.act({Simulator::ResetConnection{}});
    EXPECT_EQ(capture(camera).exception, "10.0.0.5:32769: receive failed: Connection reset by peer");
}

TEST_F(Oracle, TakesALateAnswerForTheNext) {
    binary.answer(done()).answer(done()).act({Simulator::Pause{10500ms}, sending(image(file))});
    const Outcome outcome = picture(camera);
    EXPECT_EQ(outcome.lines,
              (Lines{noHeader, ofCapture("parseIncomingMessage failed for GetImage"),
                     ofProtocol("WARN", "Korva returned an unexpected GetImage code: \x06"), noPicture}));
    EXPECT_EQ(outcome.elapsed, 10500ms);
}

TEST_F(Oracle, DropsForThreeSecondsWhatComesWithoutEnd) {
    binary.act({World::sendingEndlessly(Bytes(16, 'U'))});
    const Outcome outcome = picture(camera);
    const Line flooded =
        ofProtocol("ERROR", "Korva has formulated an inconsistent message: args will exceed expected message "
                            "length: argSize 1431655765 totalBytesRead 11expected message size 1431655765");
    const Line unread = ofCapture("parseIncomingMessage failed for image configuration");
    EXPECT_EQ(outcome.lines, (Lines{flooded, unread, flooded, unread, noPicture}));
    EXPECT_GE(outcome.elapsed, 3s);
    EXPECT_LE(outcome.elapsed, 3010ms);
    EXPECT_FALSE(outcome.isSure);
}

TEST_F(Oracle, RefusesABlackPictureAndOneOfTooFewSamples) {
    Bytes black(512 + 4 * 3 * 3 * 2);
    std::copy_n(file.begin(), 12, black.begin());
    Bytes grey = file;
    grey.at(11) = 1;
    binary.answer(done()).answer(done()).answer(image(black));
    binary.answer(done()).answer(done()).answer(image(grey));
    EXPECT_EQ(picture(camera).lines,
              (Lines{ofCapture("All black image from Korva detected"),
                     ofCapture("Korva image does not hold the expected samples: got 1 of 16 bits, expected 3 "
                               "of 16 bits per pixel"),
                     noPicture}));
}

TEST_F(Oracle, TakesAnyReadableAnswerForAConnection) {
    binary.answer(World::refusal(7)).stayUnanswered();
    const Outcome alive = check(camera);
    EXPECT_TRUE(alive.isGood && alive.lines.empty() && alive.health.empty());
    const Outcome silent = check(camera);
    EXPECT_FALSE(silent.isGood);
    EXPECT_EQ(silent.lines, (Lines{noHeader,
                                   {"ERROR", "KorvaInternals", "KorvaInternals",
                                    "validateConnection: parseIncomingMessage failed", 138}}));
    EXPECT_EQ(silent.health, std::vector{2056});
    EXPECT_EQ(silent.elapsed, 10s);
}

TEST_F(Oracle, TellsWhatTheTextsSay) {
    answerTexts("M615", "3.2.14");
    const Outcome outcome = identify(camera);
    EXPECT_EQ(outcome.identity,
              (std::vector<std::wstring>{L"Korva Meridian M615", L"SW-3.2.14_API-1.4", L"1234",
                                         L"255.255.255.0", L"10.0.0.1", L"2748 x 1836"}));
    EXPECT_EQ(outcome.elapsed, 60ms); // a reply ends when the line is quiet
    EXPECT_EQ(outcome.binaryConnections, 0);
}

TEST_F(Oracle, RefusesAnM61OfOldFirmwareBeforeItAsksMore) {
    answerTexts("XM61", "3.2.14");
    const Outcome outcome = identify(camera);
    const std::string text =
        "Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14";
    EXPECT_EQ(outcome.exception, text);
    EXPECT_EQ(outcome.lines, Lines{ofCapture(text)});
    EXPECT_EQ(texts.requests().size(), 1U);
}

TEST_F(Oracle, TriesForASampleOfAnUnknownModelInTwoConnections) {
    answerTexts("X900", "1.0.0");
    for (int attempt = 0; attempt < 4; ++attempt)
        binary.answer(World::refusal(5));
    const Outcome outcome = identify(camera);
    EXPECT_EQ(outcome.exception, "Found Korva, but couldn't determine its resolution");
    EXPECT_EQ(outcome.lines.size(), 5U);
    EXPECT_EQ(outcome.lines.front(), ofProtocol("WARN", "Korva returned an error code: 5"));
    EXPECT_EQ(outcome.attempts, 4);
    EXPECT_EQ(outcome.binaryConnections, 2);
}

TEST_F(Oracle, FollowsARightDatagramOnceAndASecondOfQuiet) {
    answerTexts("M62", "3.2.15");
    const std::string reply = "[Korva --Room Lab --IP 10.0.0.5]";
    const Outcome outcome = search(
        camera, {{"[korva --Room Lab --IP 10.0.0.5]", 0ms}, {reply, 900ms}, {reply, 0ms}, {reply, 1500ms}});
    EXPECT_EQ(outcome.identity.size(), 6U);
    EXPECT_EQ(outcome.textConnections, 1);
    EXPECT_EQ(outcome.elapsed, 1960ms);
    EXPECT_FALSE(search(camera, {{"", 0ms}, {reply, 0ms}}).isGood);
}

TEST_F(Oracle, SkipsACameraThatCannotBeIdentified) {
    const Outcome outcome = search(camera, {{"[Korva --Room Lab --IP 10.0.0.5]", 0ms}});
    const std::string text = "Couldn't get any version info from Korva device at: 10.0.0.5.. ignore it";
    const auto ofSearch = [](const std::string& line) {
        return Line{"ERROR", "KorvaCameraLocator", "KorvaCameraLocator", line};
    };
    EXPECT_EQ(outcome.lines,
              (Lines{ofCapture(text), ofSearch("DeviceException while determining camera info."),
                     ofSearch("    " + text)}));
    EXPECT_EQ(outcome.elapsed, 5s);
}

} // namespace
} // namespace Faults
