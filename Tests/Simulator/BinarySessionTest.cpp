#include "Camera/BinarySession.h"

#include "Camera/Random.h"
#include "Conversation.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <tuple>
#include <utility>

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;

namespace {

class BinarySessionTest : public ::testing::Test {
protected:
    Bytes ask(const Bytes& request) { return answerTo(session, request); }
    /// The answer to the last of these.
    Bytes ask(std::initializer_list<Bytes> requests) {
        Bytes answer;
        for (const Bytes& request : requests)
            answer = ask(request);
        return answer;
    }

    Camera camera{smallCamera()};
    BinarySession session{camera};
};

/// "done", "error 8" or "picture".
std::string kindOf(const Bytes& answer) {
    if (answer.empty())
        return "nothing";
    const std::uint8_t code = answer.at(6);
    return code == 1 ? "error " + std::to_string(read32(answer, 11)) : code == 6 ? "picture" : "done";
}

} // namespace

TEST(BinarySession, AnswersAsItsStateIs) {
    const std::map<std::string, Bytes> requests{{"probe", probeRequest},
                                                {"configure", configureRequest},
                                                {"wrong", configureWith(0, 3, 1)},
                                                {"take", takeRequest},
                                                {"get", getRequest}};
    for (const auto& [what, fault, asked, answered] : {
             std::tuple("a probe in any state", "", "probe configure probe take", "done done done done"),
             std::tuple("a probe configures nothing", "", "probe take", "done error 8"),
             std::tuple("a probe drops nothing", "", "configure take probe get", "done done done picture"),
             std::tuple("no picture before a take", "", "get configure get", "error 9 done error 9"),
             std::tuple("a configuration drops it", "", "configure take configure get",
                        "done done done error 9"),
             std::tuple("a wrong one does not", "", "configure take wrong get", "done done error 7 picture"),
             std::tuple("an error", "take:error=7*1", "configure take get", "done error 7 error 9"),
             std::tuple("another fault", "take:silent*1", "configure take get", "done  picture"),
             std::tuple("a fault after a refusal", "take:close*1", "take configure take",
                        "error 8 done close"),
         }) {
        Camera camera(*fault == '\0' ? smallCamera() : smallCameraWith({fault}));
        BinarySession session(camera);
        std::string all;
        std::istringstream words(asked);
        for (std::string word; words >> word;)
            all += (all.empty() ? "" : " ") + told(reactionTo(session, requests.at(word)).actions, kindOf);
        EXPECT_EQ(all, answered) << what;
    }
}

TEST_F(BinarySessionTest, GivesThePictureOfTheConfigurationAtItsTake) {
    ask({configureWith(15, 2, 1), takeRequest, configureWith(0, 3, 1)});
    EXPECT_EQ(ask(getRequest), *camera.pictureAnswer({15, 2, PictureFormat::sgi}));
}

TEST_F(BinarySessionTest, GivesThePictureAsConfigured) {
    const Bytes png = ask({configureWith(15, 3, 2), takeRequest, getRequest});
    EXPECT_EQ(Bytes(png.begin() + 12, png.begin() + 15), bytesOf({'P', 'N', 'G'}));
    EXPECT_EQ(ask({configureWith(15, 3, 1), takeRequest, getRequest}).size(), 13U + 512 + 8 * 3 * 2);
    EXPECT_EQ(ask({configureWith(15, 1, 1), takeRequest, getRequest}).size(), 13U + 512 + 8 * 3 * 3 * 2);
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
    for (const auto& [request, words] : {
             std::pair(probeRequest, "probe: format 0 -> Done"),
             std::pair(takeRequest, "take -> Error 8 (not configured)"),
             std::pair(configureWith(15, 2, 1),
                       "configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4 -> Done"),
             std::pair(takeRequest, "take -> Done"),
             std::pair(getRequest, "get -> GetImage, 669 bytes in all"),
             std::pair(configureWith(15, 9, 1), "request of 39 bytes -> Error 7 (value out of range)"),
         })
        EXPECT_THAT(reactionTo(session, request).events, ElementsAre(words));
}

TEST_F(BinarySessionTest, StaysOpenAfterAWrongChecksum) {
    Bytes wrong = probeRequest;
    wrong.back() = 0;
    EXPECT_EQ(ask(wrong), errorAnswer(ErrorCode::badChecksum));
    EXPECT_EQ(ask(probeRequest), doneAnswer);
}

TEST_F(BinarySessionTest, ClosesWhenItCannotTellWhereTheNextMessageBegins) {
    const Reaction reaction = reactionTo(session, bytesOf({'G', 'E', 'T', ' ', '/', ' '}));
    EXPECT_EQ(told(reaction.actions, hex), hex(errorAnswer(ErrorCode::badLength)) + ", close");
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
    const auto fed = [&](std::size_t pieceBytes) {
        BinarySession fresh(camera);
        std::vector<std::string> heard;
        for (ByteView rest(all); !rest.empty(); rest = rest.subspan(pieceBytes)) {
            fresh.append(rest.first(pieceBytes));
            for (const Reaction& reaction : reactionsOf(fresh)) {
                heard.push_back(told(reaction.actions, hex));
                heard.insert(heard.end(), reaction.events.begin(), reaction.events.end());
            }
        }
        return heard;
    };
    EXPECT_EQ(fed(all.size()).size(), 2U * 7);
    EXPECT_EQ(fed(1), fed(all.size()));
}

TEST_F(BinarySessionTest, TwoSessionsDoNotDisturbEachOther) {
    BinarySession other(camera);
    ask({configureRequest, takeRequest});
    EXPECT_EQ(answerTo(other, takeRequest), errorAnswer(ErrorCode::notConfigured));
    answerTo(other, configureRequest);
    EXPECT_EQ(kindOf(ask(getRequest)), "picture");
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

TEST(BinarySession, WaitsTheExposureIfTold) {
    const std::string done = hex(doneAnswer);
    for (const bool waits : {false, true}) {
        CameraSettings settings = smallCamera();
        settings.waitExposure = waits;
        Camera camera(settings);
        BinarySession session(camera);
        EXPECT_EQ(told(reactionTo(session, configureWith(15, 2, 1)).actions, hex), done);
        EXPECT_EQ(told(reactionTo(session, takeRequest).actions, hex), waits ? "pause 1500, " + done : done);
    }
}

TEST(BinarySession, NamesTheFaultItAppliedAndListensToNothingIfThatClosedIt) {
    Camera camera(smallCameraWith({"probe:checksum*1", "probe:close"}));
    BinarySession session(camera);
    EXPECT_THAT(reactionTo(session, probeRequest).events,
                ElementsAre("probe: format 0 -> Done", "fault probe:checksum*1"));
    session.append(joined({probeRequest, probeRequest}));
    const std::vector<Reaction> reactions = reactionsOf(session);
    ASSERT_EQ(reactions.size(), 1U);
    EXPECT_THAT(reactions[0].events, ElementsAre("probe: format 0 -> Done", "fault probe:close"));
    EXPECT_EQ(session.waitingBytes(), 0U);
}

} // namespace Simulator
