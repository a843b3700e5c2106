// The binary protocol: its messages, its requests, and a conversation of them.

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
    ++request.back();
    return request;
}

/// A whole request of so many arguments, whose bytes these are.
Bytes requestOf(int count, std::initializer_list<int> arguments, int command = 1) {
    return sealed(joined(
        {bytesOf({command, 0, 0, 0, static_cast<int>(8 + arguments.size()), count}), bytesOf(arguments)}));
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
             std::pair(configureWith(1, 3, 2),
                       "configure: exposure 0.1 s, mode 3, PNG, depth 16, shift 4 -> Done"),
             std::pair(configureWith(3600, 1, 1),
                       "configure: exposure 360.0 s, mode 1, SGI, depth 16, shift 4 -> Done"),
             std::pair(takeRequest, "take -> Done"),
             std::pair(requestOf(1, {4, 0, 0, 0, 1, 200}), "probe: format 200 -> Done"),
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

TEST(MessageCodec, SumsTheBytesOfAMessageOfAtMost255Arguments) {
    EXPECT_EQ(hex(encodeAnswer(ArgumentCode::getImage, bytesOf({0xFF, 0x10}))),
              "01 00 00 00 0f 01 06 00 00 00 02 ff 10 01 28");
    EXPECT_EQ(checksumOf(Bytes(300, 255)), 10964) << "modulo 65536";
    EXPECT_EQ(encodeMessage(1, std::vector<Argument>(255)).size(), 8U + 255 * 5);
    EXPECT_THROW(encodeMessage(1, std::vector<Argument>(256)), std::length_error);
}

TEST(MessageCodec, KnowsARequestsLengthOnceItsHeaderIsThereAndBelievesNoneThatNoRequestHas) {
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0, 0x0E})), std::nullopt);
    for (const auto& [header, length] :
         {std::pair(bytesOf({1, 0, 0, 0, 0x0E, 1}), 14U), std::pair(bytesOf({1, 0, 0, 0, 7, 0}), 0U),
          std::pair(bytesOf({1, 0, 0, 0, 8, 0}), 8U), std::pair(bytesOf({1, 0, 0, 0x10, 0, 0}), 4096U),
          std::pair(bytesOf({1, 0, 0, 0x10, 1, 0}), 0U),
          std::pair(bytesOf({1, 0xFF, 0xFF, 0xFF, 0xFF, 0}), 0U)})
        EXPECT_EQ(announcedRequestLength(header), length) << hex(header);
}

TEST(Request, IsRefusedByTheFirstThingThatIsWrongWithIt) {
    using enum ErrorCode;
    const Bytes anotherOrder = requestOf(
        5, {3, 0, 0, 0, 1, 2, 2, 0, 0, 0, 2, 0, 15, 4, 0, 0, 0, 1, 1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4});
    const Bytes oneTooMany = requestOf(6, {2, 0, 0, 0, 2, 0,  15, 3, 0, 0, 0, 1, 2, 4, 0, 0, 0, 1, 1,
                                           7, 0, 0, 0, 1, 16, 8,  0, 0, 0, 1, 4, 8, 0, 0, 0, 1, 4});
    const Bytes shortExposure = requestOf(
        5, {2, 0, 0, 0, 1, 15, 3, 0, 0, 0, 1, 2, 4, 0, 0, 0, 1, 1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4});
    for (const auto& [what, request, error] : {
             std::tuple("a wrong checksum", wrongChecksum(probeRequest), badChecksum),
             std::tuple("a header runs into the checksum", requestOf(1, {5, 0, 0, 0}), badLength),
             std::tuple("a value runs into the checksum", requestOf(1, {4, 0, 0, 0, 2, 0}), badLength),
             std::tuple("a value swallows the checksum", requestOf(2, {4, 0, 0, 0, 3, 0}), badLength),
             std::tuple("a length would wrap a sum", requestOf(1, {5, 255, 255, 255, 0xF5}), badLength),
             std::tuple("a byte belongs to no argument", requestOf(1, {5, 0, 0, 0, 0, 0}), badLength),
             std::tuple("fewer than announced", requestOf(2, {5, 0, 0, 0, 0}), badLength),
             std::tuple("command 0", requestOf(1, {5, 0, 0, 0, 0}, 0), unknownCommand),
             std::tuple("command 2", requestOf(1, {5, 0, 0, 0, 0}, 2), unknownCommand),
             std::tuple("a done", requestOf(1, {0, 0, 0, 0, 0}), unknownArgument),
             std::tuple("an error", requestOf(1, {1, 0, 0, 0, 0}), unknownArgument),
             std::tuple("code 9", requestOf(1, {9, 0, 0, 0, 0}), unknownArgument),
             std::tuple("code 255", requestOf(1, {255, 0, 0, 0, 0}), unknownArgument),
             std::tuple("no argument", requestOf(0, {}), wrongArguments),
             std::tuple("two requests", requestOf(2, {5, 0, 0, 0, 0, 6, 0, 0, 0, 0}), wrongArguments),
             std::tuple("another order", anotherOrder, wrongArguments),
             std::tuple("one too many", oneTooMany, wrongArguments),
             std::tuple("an exposure alone", requestOf(1, {2, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a mode alone", requestOf(1, {3, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a depth alone", requestOf(1, {7, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a shift alone", requestOf(1, {8, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a take with a value", requestOf(1, {5, 0, 0, 0, 1, 0}), badArgumentLength),
             std::tuple("a get with a value", requestOf(1, {6, 0, 0, 0, 1, 0}), badArgumentLength),
             std::tuple("a probe without", requestOf(1, {4, 0, 0, 0, 0}), badArgumentLength),
             std::tuple("a probe with two", requestOf(1, {4, 0, 0, 0, 2, 0, 0}), badArgumentLength),
             std::tuple("an exposure of one byte", shortExposure, badArgumentLength),
             std::tuple("no exposure", configureWith(0, 2, 1), valueOutOfRange),
             std::tuple("too long an exposure", configureWith(3601, 2, 1), valueOutOfRange),
             std::tuple("mode 0", configureWith(15, 0, 1), valueOutOfRange),
             std::tuple("mode 4", configureWith(15, 4, 1), valueOutOfRange),
             std::tuple("format 0", configureWith(15, 2, 0), valueOutOfRange),
             std::tuple("format 3", configureWith(15, 2, 3), valueOutOfRange),
             std::tuple("another depth", configureWith(15, 2, 1, 8), valueOutOfRange),
             std::tuple("another shift", configureWith(15, 2, 1, 16, 3), valueOutOfRange),
         })
        EXPECT_EQ(hex(sentBytes(Client().ask(request).actions)), hex(errorAnswer(error))) << what;
}

} // namespace Simulator
