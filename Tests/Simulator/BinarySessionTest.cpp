#include "Camera/BinarySession.h"

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

/// A conversation with a camera of its own.
struct Client {
    explicit Client(CameraSettings settings = smallCamera()) : camera(std::move(settings)) {}

    Reaction ask(const Bytes& request) { return reactionTo(session, request); }
    std::vector<Reaction> send(const Bytes& requests) {
        session.append(requests);
        return reactionsOf(session);
    }

    Camera camera;
    BinarySession session{camera};
};

/// Pictures that are rendered in four pieces.
CameraSettings largerCamera() {
    CameraSettings settings = smallCamera();
    settings.size = PictureSize{64, 256};
    return settings;
}

/// "done", "error 8" or "picture".
std::string kindOf(const Bytes& answer) {
    const std::uint8_t code = answer.at(6);
    return code == 1 ? "error " + std::to_string(read32(answer, 11)) : code == 6 ? "picture" : "done";
}

Bytes wrongChecksum(Bytes request) {
    request.back() = 0;
    return request;
}

} // namespace

TEST(BinarySession, AnswersAsItsStateIs) {
    const std::map<std::string, Bytes> requests{{"probe", probeRequest},
                                                {"configure", configureRequest},
                                                {"wrong", configureWith(0, 3, 1)},
                                                {"take", takeRequest},
                                                {"get", getRequest},
                                                {"unsummed", wrongChecksum(probeRequest)},
                                                {"garbage", bytesOf({'G', 'E', 'T', ' ', '/', ' '})}};
    for (const auto& [what, fault, asked, answered] : {
             std::tuple("a probe in any state", "", "probe configure probe take", "done done done done"),
             std::tuple("a probe configures nothing", "", "probe take", "done error 8"),
             std::tuple("a probe drops nothing", "", "configure take probe get", "done done done picture"),
             std::tuple("no picture before a take", "", "get configure get", "error 9 done error 9"),
             std::tuple("a configuration drops it", "", "configure take configure get",
                        "done done done error 9"),
             std::tuple("a wrong one does not", "", "configure take wrong get", "done done error 7 picture"),
             std::tuple("it goes on after a wrong checksum", "", "unsummed probe", "error 1 done"),
             std::tuple("it ends where no next message is found", "", "garbage probe", "error 2, close "),
             std::tuple("an error", "take:error=7*1", "configure take get", "done error 7 error 9"),
             std::tuple("another fault", "take:silent*1", "configure take get", "done  picture"),
             std::tuple("so many faults and then the next", "take:silent*2", "configure take take take",
                        "done   done"),
             std::tuple("a fault after a refusal", "take:close*1", "take configure take",
                        "error 8 done close"),
             std::tuple("the answer before, of any kind", "configure:stale", "configure take get configure",
                        " done picture picture"),
         }) {
        Client client(*fault == '\0' ? smallCamera() : smallCameraWith({fault}));
        std::string all;
        std::istringstream words(asked);
        for (std::string word; words >> word;)
            all += " " + told(client.ask(requests.at(word)).actions, kindOf);
        EXPECT_EQ(all.substr(1), answered) << what;
    }
}

TEST(BinarySession, GivesThePictureOfTheConfigurationAtItsTake) {
    Client client;
    for (const Configuration& taken : {Configuration{15, 2, PictureFormat::sgi},
                                       {15, 3, PictureFormat::png},
                                       {16, 3, PictureFormat::sgi},
                                       {15, 1, PictureFormat::sgi}}) {
        client.send(joined({configureWith(taken.exposureUnits, taken.mode, static_cast<int>(taken.format)),
                            takeRequest, configureWith(0, 3, 1)}));
        EXPECT_EQ(sentBytes(client.ask(getRequest).actions), *client.camera.pictureAnswer(taken));
    }
}

TEST(BinarySession, RendersWhereAPictureIsFetchedAndNotWhereItIsTaken) {
    Client client(largerCamera());
    for (int exposure = 1; exposure <= 1000; ++exposure)
        EXPECT_EQ(client.send(joined({configureWith(exposure, 2, 1), takeRequest})).size(), 2U);
    const SharedOrder last = client.camera.orderPicture({1000, 2, PictureFormat::sgi});
    EXPECT_FALSE(last->isDone());

    client.session.append(getRequest);
    for (int pieces = 1; pieces < 4; ++pieces) {
        EXPECT_FALSE(client.session.next());
        EXPECT_TRUE(client.session.isWorking());
    }
    const Reaction reaction = client.session.next().value_or(Reaction());
    EXPECT_EQ(sentBytes(reaction.actions), *last->answer);
    EXPECT_FALSE(client.session.isWorking());
}

TEST(BinarySession, DrawsAFaultOnceHoweverLongThePictureTakes) {
    CameraSettings settings = largerCamera();
    settings.faults = {parseFault("get:black-picture*1")};
    Client client(settings);
    const std::vector<Reaction> reactions =
        client.send(joined({configureRequest, takeRequest, getRequest, getRequest}));
    ASSERT_EQ(reactions.size(), 4U);
    const Configuration configured{100, 2, PictureFormat::sgi};
    EXPECT_EQ(sentBytes(reactions[2].actions), *client.camera.blackPictureAnswer(configured));
    EXPECT_EQ(sentBytes(reactions[3].actions), *client.camera.pictureAnswer(configured));
}

TEST(BinarySession, SaysEachRequestInWordsAndTheFaultThatItApplied) {
    Client client(smallCameraWith({"probe:checksum*1"}));
    EXPECT_THAT(client.ask(probeRequest).events,
                ElementsAre("probe: format 0 -> Done", "fault probe:checksum*1"));
    for (const auto& [request, words] : {
             std::pair(probeRequest, "probe: format 0 -> Done"),
             std::pair(takeRequest, "take -> Error 8 (not configured)"),
             std::pair(configureWith(15, 2, 1),
                       "configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4 -> Done"),
             std::pair(takeRequest, "take -> Done"),
             std::pair(getRequest, "get -> GetImage, 669 bytes in all"),
             std::pair(configureWith(15, 9, 1), "request of 39 bytes -> Error 7 (value out of range)"),
             std::pair(Bytes(6, 'x'), "message of 2021161080 bytes announced -> Error 2 (wrong length)"),
         })
        EXPECT_THAT(client.ask(request).events, ElementsAre(words));
}

TEST(BinarySession, ListensToNothingBehindTheEndOfItsConnection) {
    for (const auto& [fault, requests] : {std::pair("probe:close", repeated(probeRequest, 2)),
                                          std::pair("take:close", Bytes(100'000, 'x'))}) {
        Client client(smallCameraWith({fault}));
        EXPECT_EQ(client.send(requests).size(), 1U);
        EXPECT_EQ(client.send(probeRequest).size(), 0U);
        EXPECT_EQ(client.session.waitingBytes(), 0U);
    }
}

TEST(BinarySession, FedByteByByteAnswersAsFedAtOnce) {
    const Bytes all = joined({probeRequest, getRequest, wrongChecksum(takeRequest), configureRequest,
                              takeRequest, getRequest, bytesOf({1, 0, 0, 0, 0, 0}), probeRequest});
    const auto fed = [&](std::size_t pieceBytes) {
        Client client;
        std::vector<std::string> heard;
        for (ByteView rest(all); !rest.empty(); rest = rest.subspan(pieceBytes)) {
            const std::size_t waiting = client.session.waitingBytes();
            client.session.append(rest.first(pieceBytes));
            EXPECT_TRUE(heard.size() == 14 || client.session.waitingBytes() == waiting + pieceBytes);
            for (const Reaction& reaction : reactionsOf(client.session)) {
                heard.push_back(told(reaction.actions, hex));
                heard.insert(heard.end(), reaction.events.begin(), reaction.events.end());
            }
        }
        return heard;
    };
    EXPECT_EQ(fed(all.size()).size(), 2U * 7);
    EXPECT_EQ(fed(1), fed(all.size()));
}

TEST(BinarySession, SurvivesGarbageBehindAnyHeader) {
    for (std::uint64_t round = 0; round < 2000; ++round) {
        const std::uint64_t size = 8 + randomBits(round, 0) % 120;
        Bytes request = bytesOf({1, 0, 0, 0, static_cast<int>(size)});
        while (request.size() < size)
            request.push_back(
                static_cast<std::uint8_t>(randomBits(round, request.size()) % (round % 3 == 0 ? 256 : 10)));
        seal(request);
        Client client;
        for (const Reaction& reaction : client.send(request))
            EXPECT_FALSE(reaction.events.empty());
        EXPECT_LT(client.session.waitingBytes(), largestRequestBytes);
    }
}

TEST(BinarySession, WaitsTheExposureIfTold) {
    CameraSettings settings = smallCamera();
    settings.waitExposure = true;
    Client client(settings);
    EXPECT_EQ(told(client.ask(configureWith(15, 2, 1)).actions, hex), hex(doneAnswer));
    EXPECT_EQ(told(client.ask(takeRequest).actions, hex), "pause 1500, " + hex(doneAnswer));
}

} // namespace Simulator
