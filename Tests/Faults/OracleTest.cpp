// Outcomes written by hand, which hold the oracle itself, where the plug-in beside it does not.

#include "Actual.h"
#include "Protocol.h"

#include "NativeCameraKorva/DeviceFixture.h"
#include "World/Answers.h"
#include "World/Peer.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::chrono_literals;
using Simulator::CloseConnection;
using Simulator::Pause;
using World::done;
using World::image;
using World::sending;

namespace Faults {
namespace {

Line ofCapture(const std::string& text) {
    return {"ERROR", "KorvaCapture", "KorvaHelper", text};
}

Line ofProtocol(const std::string& text) {
    return {"ERROR", "KorvaInternalsComm", "KorvaBinaryCommunication", text};
}

const Line noHeader = ofProtocol("Failed to read Header: bytesRead = 0");
const Line noPicture{"ERROR", "KorvaInternals", "KorvaInternals", "Failed to capture Korva image"};
const Line unread = ofCapture("parseIncomingMessage failed for image configuration");

/// The outcome is what is written there but for the connections and receives.
void expectOutcome(const Outcome& outcome, const Outcome& byHand) {
    expectSameResult(outcome, byHand);
    EXPECT_EQ(outcome.attempts, byHand.attempts);
    EXPECT_EQ(outcome.elapsed, byHand.elapsed);
    EXPECT_EQ(outcome.isSure, byHand.isSure);
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

    void answerTexts(const std::string& hardware, const std::string& software) {
        texts.say("[Version --HW " + hardware + " --SW " + software + " --API 1.4]");
        texts.say("[SerialNumber --Camera 1234]");
        texts.say("[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 10.0.0.1]");
    }
};

TEST_F(Oracle, TakesARightPictureAtOnce) {
    binary.answer(done()).answer(done()).answer(image(DeviceFixture::greyFile(4, 3)));
    expectOutcome(picture(camera),
                  {.isGood = true, .pixels = DeviceFixture::greyPixels(12), .health = {2}, .attempts = 1});
    // As Docs/Protocol.md shows them; the exposure is a device's own.
    EXPECT_EQ(binary.requests(),
              (std::vector<Bytes>{{1, 0, 0, 0, 0x27, 5, 2, 0, 0, 0, 2,  0, 15, 3, 0, 0, 0, 1, 2,   4,
                                   0, 0, 0, 1, 1,    7, 0, 0, 0, 1, 16, 8, 0,  0, 0, 1, 4, 0, 0x71},
                                  {1, 0, 0, 0, 0x0D, 1, 5, 0, 0, 0, 0, 0, 0x14},
                                  {1, 0, 0, 0, 0x0D, 1, 6, 0, 0, 0, 0, 0, 0x15}}));
}

TEST_F(Oracle, WaitsTenSecondsInEachOfTwoAttemptsForASilentCamera) {
    expectOutcome(picture(camera), {.lines = {noHeader, unread, noHeader, unread, noPicture},
                                    .health = {1032},
                                    .attempts = 2,
                                    .elapsed = 20s});
}

TEST_F(Oracle, IsSureOfAnEndBehindUnreadBytesOnlyWhereItComesWithThem) {
    const Bytes unreadable{1, 0, 0, 0, 8, 1, 0, 0, 0, 0, 9, 0, 0};
    binary.act({sending(unreadable), CloseConnection{}});
    EXPECT_TRUE(picture(camera).isSure);
    binary.act({sending(unreadable), Pause{1ms}, CloseConnection{}});
    EXPECT_FALSE(picture(camera).isSure);
}

TEST_F(Oracle, DropsForThreeSecondsWhatComesWithoutEnd) {
    binary.act({World::sendingEndlessly(Bytes(16, 'U'))});
    const Line flooded =
        ofProtocol("Korva has formulated an inconsistent message: args will exceed expected message "
                   "length: argSize 1431655765 totalBytesRead 11expected message size 1431655765");
    expectOutcome(picture(camera), {.lines = {flooded, unread, flooded, unread, noPicture},
                                    .health = {1032},
                                    .attempts = 2,
                                    .elapsed = 3001ms,
                                    .isSure = false});
}

TEST_F(Oracle, TellsWhatTheTextsSay) {
    answerTexts("M615", "3.2.14");
    expectOutcome(identify(camera), {.isGood = true,
                                     .identity = {L"Korva Meridian M615", L"SW-3.2.14_API-1.4", L"1234",
                                                  L"255.255.255.0", L"10.0.0.1", L"2748 x 1836"},
                                     .elapsed = 60ms}); // a reply ends when the line is quiet
}

TEST_F(Oracle, RefusesAnM61OfOldFirmwareBeforeItAsksMore) {
    answerTexts("XM61", "3.2.14");
    const std::string text =
        "Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.2.14";
    expectOutcome(identify(camera), {.exception = text, .lines = {ofCapture(text)}, .elapsed = 20ms});
    EXPECT_EQ(texts.requests().size(), 1U);
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

} // namespace
} // namespace Faults
