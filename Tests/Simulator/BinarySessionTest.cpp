#include "Camera/BinarySession.h"

#include "Camera/Random.h"
#include "Conversation.h"

#include <gmock/gmock.h>

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;

namespace {

/// A session with a camera of one fault.
struct FaultySession {
    explicit FaultySession(std::string_view fault) : camera(settingsWith(fault)) {}

    static CameraSettings settingsWith(std::string_view fault) {
        CameraSettings settings = smallCamera();
        settings.faults = {parseFault(fault)};
        return settings;
    }

    Camera camera;
    BinarySession session{camera};
};

class BinarySessionTest : public ::testing::Test {
protected:
    Camera camera{smallCamera()};
    BinarySession session{camera};
};

} // namespace

TEST_F(BinarySessionTest, AnswersProbeInAnyState) {
    EXPECT_EQ(answerTo(session, probeRequest), doneAnswer);
    EXPECT_EQ(answerTo(session, configureRequest), doneAnswer);
    EXPECT_EQ(answerTo(session, probeRequest), doneAnswer);
    EXPECT_EQ(answerTo(session, takeRequest), doneAnswer);
    EXPECT_EQ(answerTo(session, probeRequest), doneAnswer);
}

TEST_F(BinarySessionTest, ProbeChangesNothing) {
    answerTo(session, configureRequest);
    answerTo(session, takeRequest);
    const Bytes before = answerTo(session, getRequest);
    answerTo(session, probeRequest);
    EXPECT_EQ(answerTo(session, getRequest), before);
}

TEST_F(BinarySessionTest, ProbeIsNoConfiguration) {
    answerTo(session, probeRequest);
    EXPECT_EQ(answerTo(session, takeRequest), errorAnswer(ErrorCode::notConfigured));
}

TEST_F(BinarySessionTest, RefusesTakeBeforeConfigure) {
    EXPECT_EQ(answerTo(session, takeRequest), errorAnswer(ErrorCode::notConfigured));
    EXPECT_EQ(answerTo(session, configureRequest), doneAnswer);
    EXPECT_EQ(answerTo(session, takeRequest), doneAnswer);
}

TEST_F(BinarySessionTest, RefusesGetBeforeTake) {
    EXPECT_EQ(answerTo(session, getRequest), errorAnswer(ErrorCode::noPicture));
    answerTo(session, configureRequest);
    EXPECT_EQ(answerTo(session, getRequest), errorAnswer(ErrorCode::noPicture));
}

TEST_F(BinarySessionTest, ConfigurationDropsTheEarlierPicture) {
    answerTo(session, configureRequest);
    answerTo(session, takeRequest);
    answerTo(session, configureRequest);
    EXPECT_EQ(answerTo(session, getRequest), errorAnswer(ErrorCode::noPicture));
}

TEST_F(BinarySessionTest, RefusedConfigurationChangesNothing) {
    answerTo(session, configureRequest);
    answerTo(session, takeRequest);
    EXPECT_EQ(answerTo(session, configureWith(0, 2, 1)), errorAnswer(ErrorCode::valueOutOfRange));
    EXPECT_EQ(answerTo(session, getRequest).at(6), 6);
}

TEST_F(BinarySessionTest, GivesThePictureAsConfigured) {
    answerTo(session, configureWith(15, 3, 2));
    answerTo(session, takeRequest);
    const Bytes png = answerTo(session, getRequest);
    EXPECT_EQ(Bytes(png.begin() + 12, png.begin() + 15), bytesOf({'P', 'N', 'G'}));
    answerTo(session, configureWith(15, 3, 1));
    answerTo(session, takeRequest);
    EXPECT_EQ(answerTo(session, getRequest).size(), 13U + 512 + 8 * 3 * 2);
    answerTo(session, configureWith(15, 1, 1));
    answerTo(session, takeRequest);
    EXPECT_EQ(answerTo(session, getRequest).size(), 13U + 512 + 8 * 3 * 3 * 2);
}

TEST(BinarySession, RendersWhereAPictureIsFetchedAndNotWhereItIsTaken) {
    CameraSettings settings = smallCamera();
    settings.size = PictureSize{64, 256};
    Camera camera(settings);
    BinarySession session(camera);
    for (int exposure = 1; exposure <= 1000; ++exposure)
        session.append(joined({configureWith(exposure, 2, 1), takeRequest}));
    EXPECT_EQ(reactionsOf(session).size(), 2000U);
    const SharedOrder last = camera.orderPicture({1000, 2, PictureFormat::sgi});
    EXPECT_FALSE(last->isDone());

    session.append(getRequest);
    int asked = 0;
    std::optional<Reaction> reaction;
    for (; !reaction && asked < 100; ++asked) {
        EXPECT_EQ(session.isWorking(), asked > 0);
        reaction = session.next();
    }
    EXPECT_EQ(asked, 4); // so many pieces of such a picture
    EXPECT_FALSE(session.isWorking());
    EXPECT_EQ(sentBytes(reaction.value_or(Reaction()).actions), *last->answer);
}

TEST_F(BinarySessionTest, GivesThePictureOfTheSettingsAtTheTake) {
    answerTo(session, configureWith(15, 2, 1));
    answerTo(session, takeRequest);
    EXPECT_EQ(answerTo(session, configureWith(0, 3, 1)), errorAnswer(ErrorCode::valueOutOfRange));
    EXPECT_EQ(answerTo(session, getRequest), *camera.pictureAnswer({15, 2, PictureFormat::sgi}));
}

TEST(BinarySession, DrawsAFaultOnceHoweverLongThePictureTakes) {
    CameraSettings settings = smallCamera();
    settings.size = PictureSize{64, 256};
    settings.faults = {parseFault("get:black-picture*1")};
    Camera camera(settings);
    BinarySession session(camera);
    session.append(joined({configureRequest, takeRequest, getRequest, getRequest}));
    const std::vector<Reaction> reactions = reactionsOf(session);
    ASSERT_EQ(reactions.size(), 4U);
    const Configuration configured{100, 2, PictureFormat::sgi};
    EXPECT_EQ(sentBytes(reactions[2].actions), *camera.blackPictureAnswer(configured));
    EXPECT_EQ(sentBytes(reactions[3].actions), *camera.pictureAnswer(configured));
}

TEST_F(BinarySessionTest, SaysEachRequestInWords) {
    EXPECT_THAT(reactionTo(session, probeRequest).events, ElementsAre("probe: format 0 -> Done"));
    EXPECT_THAT(reactionTo(session, takeRequest).events, ElementsAre("take -> Error 8 (not configured)"));
    EXPECT_THAT(reactionTo(session, configureWith(15, 2, 1)).events,
                ElementsAre("configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4 -> Done"));
    EXPECT_THAT(reactionTo(session, takeRequest).events, ElementsAre("take -> Done"));
    EXPECT_THAT(reactionTo(session, getRequest).events, ElementsAre("get -> GetImage, 669 bytes in all"));
    EXPECT_THAT(reactionTo(session, configureWith(15, 9, 1)).events,
                ElementsAre("request of 39 bytes -> Error 7 (value out of range)"));
}

TEST_F(BinarySessionTest, StaysOpenAfterAWrongChecksum) {
    Bytes wrong = probeRequest;
    wrong.back() = 0;
    EXPECT_EQ(answerTo(session, wrong), errorAnswer(ErrorCode::badChecksum));
    EXPECT_EQ(answerTo(session, probeRequest), doneAnswer);
}

TEST_F(BinarySessionTest, ClosesWhenItCannotTellWhereTheNextMessageBegins) {
    const Reaction reaction = reactionTo(session, bytesOf({'G', 'E', 'T', ' ', '/', ' '}));
    EXPECT_EQ(sentBytes(reaction.actions), errorAnswer(ErrorCode::badLength));
    ASSERT_EQ(reaction.actions.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<CloseConnection>(reaction.actions[1]));
    EXPECT_THAT(reaction.events,
                ElementsAre("message of 1163141167 bytes announced -> Error 2 (wrong length)"));
    session.append(probeRequest);
    EXPECT_EQ(session.next(), std::nullopt);
    EXPECT_EQ(session.waitingBytes(), 0U);
}

TEST_F(BinarySessionTest, AnswersRequestsThatArriveTogetherOneByOne) {
    session.append(joined({probeRequest, configureRequest, takeRequest}));
    EXPECT_EQ(session.waitingBytes(), 14U + 39 + 13);
    EXPECT_EQ(reactionsOf(session).size(), 3U);
    EXPECT_EQ(session.waitingBytes(), 0U);
}

TEST_F(BinarySessionTest, FedByteByByteAnswersAsFedAtOnce) {
    Bytes wrong = takeRequest;
    wrong.back() = 0;
    const Bytes all = joined({probeRequest, getRequest, wrong, configureRequest, takeRequest, getRequest,
                              bytesOf({1, 0, 0, 0, 0, 0}), probeRequest});
    session.append(all);
    Bytes atOnce;
    std::vector<std::string> eventsAtOnce;
    for (const Reaction& reaction : reactionsOf(session)) {
        atOnce = joined({atOnce, sentBytes(reaction.actions)});
        eventsAtOnce.insert(eventsAtOnce.end(), reaction.events.begin(), reaction.events.end());
    }

    BinarySession other(camera);
    Bytes byteByByte;
    std::vector<std::string> eventsByteByByte;
    for (const std::uint8_t byte : all) {
        other.append({&byte, 1});
        for (const Reaction& reaction : reactionsOf(other)) {
            byteByByte = joined({byteByByte, sentBytes(reaction.actions)});
            eventsByteByByte.insert(eventsByteByByte.end(), reaction.events.begin(), reaction.events.end());
        }
    }
    EXPECT_EQ(eventsAtOnce.size(), 7U);
    EXPECT_EQ(byteByByte, atOnce);
    EXPECT_EQ(eventsByteByByte, eventsAtOnce);
}

TEST_F(BinarySessionTest, TwoSessionsDoNotDisturbEachOther) {
    BinarySession other(camera);
    answerTo(session, configureRequest);
    answerTo(session, takeRequest);
    EXPECT_EQ(answerTo(other, takeRequest), errorAnswer(ErrorCode::notConfigured));
    answerTo(other, configureRequest);
    EXPECT_EQ(answerTo(session, getRequest).at(6), 6);
}

TEST(BinarySession, SurvivesGarbageBehindAnyHeader) {
    Camera camera(smallCamera());
    for (std::uint64_t round = 0; round < 2000; ++round) {
        Bytes garbage;
        const std::uint64_t size = 8 + randomBits(round, 0) % 120;
        for (std::uint64_t index = 0; index < size; ++index)
            garbage.push_back(
                static_cast<std::uint8_t>(randomBits(round, index + 1) % (round % 3 == 0 ? 256 : 10)));
        garbage[0] = 1;
        garbage[1] = garbage[2] = garbage[3] = 0;
        garbage[4] = static_cast<std::uint8_t>(size);
        seal(garbage);
        BinarySession session(camera);
        session.append(garbage);
        for (const Reaction& reaction : reactionsOf(session))
            EXPECT_FALSE(reaction.events.empty());
        EXPECT_LT(session.waitingBytes(), largestRequestBytes);
    }
}

TEST(BinarySession, SurvivesPureGarbage) {
    Camera camera(smallCamera());
    BinarySession session(camera);
    Bytes garbage;
    for (std::uint64_t index = 0; index < 100'000; ++index)
        garbage.push_back(static_cast<std::uint8_t>(randomBits(99, index)));
    session.append(garbage);
    EXPECT_EQ(reactionsOf(session).size(), 1U);
}

TEST(BinarySession, WaitsTheExposureWhenTold) {
    CameraSettings settings = smallCamera();
    settings.waitExposure = true;
    Camera camera(settings);
    BinarySession session(camera);
    EXPECT_EQ(reactionTo(session, configureWith(15, 2, 1)).actions.size(), 1U);
    const Reaction taken = reactionTo(session, takeRequest);
    ASSERT_EQ(taken.actions.size(), 2U);
    EXPECT_EQ(std::get<Pause>(taken.actions[0]).length.count(), 1500);
    EXPECT_EQ(sentBytes(taken.actions), doneAnswer);
}

TEST(BinarySession, DoesNotWaitTheExposureByDefault) {
    Camera camera(smallCamera());
    BinarySession session(camera);
    answerTo(session, configureWith(3600, 2, 1));
    EXPECT_EQ(reactionTo(session, takeRequest).actions.size(), 1U);
}

TEST(BinarySession, NamesTheFaultItApplied) {
    FaultySession faulty("probe:checksum*1");
    BinarySession& session = faulty.session;
    EXPECT_THAT(reactionTo(session, probeRequest).events,
                ElementsAre("probe: format 0 -> Done", "fault probe:checksum*1"));
    EXPECT_THAT(reactionTo(session, probeRequest).events, ElementsAre("probe: format 0 -> Done"));
}

TEST(BinarySession, FaultErrorCarriesNothingOut) {
    FaultySession faulty("take:error=7*1");
    BinarySession& session = faulty.session;
    answerTo(session, configureRequest);
    EXPECT_EQ(answerTo(session, takeRequest), encodeErrorAnswer(7));
    EXPECT_EQ(answerTo(session, getRequest), errorAnswer(ErrorCode::noPicture));
}

TEST(BinarySession, OtherFaultsSpoilOnlyTheAnswer) {
    FaultySession faulty("take:silent*1");
    BinarySession& session = faulty.session;
    answerTo(session, configureRequest);
    EXPECT_TRUE(answerTo(session, takeRequest).empty());
    EXPECT_EQ(answerTo(session, getRequest).at(6), 6);
}

TEST(BinarySession, FaultHitsNoRequestThatIsRefused) {
    FaultySession faulty("take:close*1");
    BinarySession& session = faulty.session;
    EXPECT_EQ(answerTo(session, takeRequest), errorAnswer(ErrorCode::notConfigured));
    answerTo(session, configureRequest);
    EXPECT_TRUE(answerTo(session, takeRequest).empty());
}

TEST(BinarySession, ListensToNothingAfterAFaultClosedIt) {
    FaultySession faulty("probe:close");
    BinarySession& session = faulty.session;
    session.append(joined({probeRequest, probeRequest}));
    EXPECT_EQ(reactionsOf(session).size(), 1U);
    EXPECT_EQ(session.waitingBytes(), 0U);
}

} // namespace Simulator
