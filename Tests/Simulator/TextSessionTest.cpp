#include "Camera/TextSession.h"

#include "Camera/Discovery.h"
#include "Camera/Random.h"
#include "Conversation.h"

#include <gmock/gmock.h>

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

const std::string versionQuery = "[Version --HW --SW --API]";
const std::string serialQuery = "[SerialNumber --Camera]";
const std::string networkQuery = "[--Settings --NetworkProtocol --NetMask --NetGateway]";
const std::string versionReply = "[Version --HW M61 --SW 3.2.15 --API 1.4]";
const std::string serialReply = "[SerialNumber --Camera 1234]";
const std::string networkReply =
    "[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 0.0.0.0]";
const std::string discoveryReply = "[Korva --Room Lab --IP 192.168.10.27 --NetMask 255.255.255.0]";

CameraSettings withFaults(std::initializer_list<std::string_view> faults) {
    CameraSettings settings = smallCamera();
    settings.announcedAddress = "192.168.10.27";
    for (const std::string_view fault : faults)
        settings.faults.push_back(parseFault(fault));
    return settings;
}

/// A camera and one conversation with it.
class TextConversation {
public:
    explicit TextConversation(std::initializer_list<std::string_view> faults = {})
        : camera_(withFaults(faults)), session_(camera_) {}

    void send(std::string_view text) { session_.append(bytesOfText(text)); }
    std::vector<Reaction> reactions() { return reactionsOf(session_); }
    TextSession& session() { return session_; }
    Camera& camera() { return camera_; }

    Reaction reaction(std::string_view text) { return reactionTo(session_, bytesOfText(text)); }
    std::string ask(std::string_view text) { return textOfBytes(sentBytes(reaction(text).actions)); }

private:
    Camera camera_;
    TextSession session_;
};

std::string askWithFault(std::string_view fault, std::string_view query) {
    return TextConversation({fault}).ask(query);
}

Reaction discover(Camera& camera, std::string_view datagram = "AreThereAnyKorvaAround?") {
    return answerDiscovery(camera, bytesOfText(datagram), "10.0.0.1");
}

std::string discoverWithFault(std::string_view fault) {
    Camera camera(withFaults({fault}));
    return textOfBytes(sentBytes(discover(camera).actions));
}

template <typename Kind>
bool endsWith(const std::vector<Action>& actions) {
    return !actions.empty() && std::holds_alternative<Kind>(actions.back());
}

} // namespace

TEST(TextSession, AnswersTheThreeQueries) {
    TextConversation client;
    EXPECT_EQ(client.ask(versionQuery), versionReply);
    EXPECT_EQ(client.ask(serialQuery), serialReply);
    EXPECT_EQ(client.ask(networkQuery), networkReply);
}

TEST(TextSession, AnswersWithAllKeysWhereNoneIsAsked) {
    TextConversation client;
    EXPECT_EQ(client.ask("[Version]"), versionReply);
    EXPECT_EQ(client.ask("[SerialNumber ]"), serialReply);
    EXPECT_EQ(client.ask("[ --Settings]"), networkReply);
}

TEST(TextSession, AnswersKnownKeysOnly) {
    TextConversation client;
    EXPECT_EQ(client.ask("[Version --Lens --SW]"), "[Version --SW 3.2.15]");
    EXPECT_EQ(client.ask("[SerialNumber --Spectro]"), "[SerialNumber]");
}

TEST(TextSession, AnswersUnknownWords) {
    TextConversation client;
    for (const char* query : {"[Reboot --Now]", "[version --HW]", "[]", "[ ]", "[Korva --Room]", "[--HW]"})
        EXPECT_EQ(client.ask(query), "[Unknown]") << query;
}

TEST(TextSession, PutsAQueryTogetherFromItsPieces) {
    TextConversation client;
    for (const char letter : versionQuery.substr(0, versionQuery.size() - 1)) {
        client.send(std::string(1, letter));
        EXPECT_THAT(client.reactions(), IsEmpty());
    }
    EXPECT_EQ(client.session().waitingBytes(), versionQuery.size() - 1);
    EXPECT_EQ(client.ask("]"), versionReply);
    EXPECT_EQ(client.session().waitingBytes(), 0U);
}

TEST(TextSession, AnswersQueriesSentTogetherOneByOne) {
    TextConversation client;
    client.send(versionQuery + serialQuery + "\r\n" + networkQuery + "[Ver");
    const std::vector<Reaction> reactions = client.reactions();
    ASSERT_THAT(reactions, SizeIs(3));
    EXPECT_EQ(textOfBytes(sentBytes(reactions[0].actions)), versionReply);
    EXPECT_EQ(textOfBytes(sentBytes(reactions[1].actions)), serialReply);
    EXPECT_EQ(textOfBytes(sentBytes(reactions[2].actions)), networkReply);
    EXPECT_EQ(client.ask("sion --SW]"), "[Version --SW 3.2.15]");
}

TEST(TextSession, TakesAnyBlanksBetweenWords) {
    TextConversation client;
    EXPECT_EQ(client.ask("[\tVersion \r\n --SW\v--HW\f]"), "[Version --SW 3.2.15 --HW M61]");
}

TEST(TextSession, DropsWhatStandsBeforeTheBracket) {
    TextConversation client;
    const Reaction reaction = client.reaction("\x1b[0mhello\xff[Vers" + serialQuery);
    EXPECT_EQ(textOfBytes(sentBytes(reaction.actions)), serialReply);
    EXPECT_THAT(reaction.events, ElementsAre("dropped \\x1b[0mhello\\xff[Vers",
                                             "[SerialNumber --Camera] -> [SerialNumber --Camera 1234]"));
    EXPECT_THAT(client.reaction("]").actions, IsEmpty());
    EXPECT_EQ(client.ask(serialQuery), serialReply);
}

TEST(TextSession, GivesUpAQueryThatDoesNotEnd) {
    TextConversation client;
    client.send("[" + std::string(1022, 'x'));
    EXPECT_THAT(client.reactions(), IsEmpty());
    const Reaction reaction = client.reaction("x");
    ASSERT_THAT(reaction.actions, SizeIs(1));
    EXPECT_TRUE(endsWith<CloseConnection>(reaction.actions));
    EXPECT_THAT(reaction.events, ElementsAre(HasSubstr("... (1024 bytes) -> closed")));
    EXPECT_EQ(client.ask(versionQuery), "");
    EXPECT_EQ(client.session().waitingBytes(), 0U);
}

TEST(TextSession, LongestQueryIsAnsweredAndALongerOneIsNot) {
    const auto queryOfLength = [](std::size_t length) {
        return "[Version --SW " + std::string(length - 15, 'x') + "]";
    };
    ASSERT_EQ(queryOfLength(1024).size(), 1024U);
    EXPECT_EQ(TextConversation().ask(queryOfLength(1024)), "[Version --SW 3.2.15]");
    EXPECT_TRUE(endsWith<CloseConnection>(TextConversation().reaction(queryOfLength(1025)).actions));
}

TEST(TextSession, OutlivesGarbage) {
    constexpr std::size_t length = 900;
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        TextConversation client({"text:length=300"});
        Bytes garbage;
        for (std::size_t index = 0; index < length; ++index) {
            // Many brackets, so that much of it looks like a query.
            const std::uint64_t bits = randomBits(seed, index);
            garbage.push_back(bits % 8 == 0   ? '['
                              : bits % 8 == 1 ? ']'
                                              : static_cast<std::uint8_t>(bits >> 8));
        }
        client.session().append(garbage);
        client.reactions();
        client.send("]");
        client.reactions();
        EXPECT_EQ(client.ask(serialQuery).size(), 300U) << seed;
    }
}

TEST(TextSession, TellsWhatIsAskedAndAnswered) {
    TextConversation client({"version:hostile"});
    const Reaction reaction = client.reaction("[Version --SW \x07]");
    EXPECT_THAT(reaction.events,
                ElementsAre("[Version --SW \\x07] -> [Version --SW 3.2.15]", "fault version:hostile"));
}

TEST(TextFault, HitsItsQueryAsOftenAsItSays) {
    TextConversation client({"serial:silent*2", "text:close*1"});
    EXPECT_EQ(client.ask("[Foo]"), "[Unknown]");
    EXPECT_EQ(client.ask(serialQuery), "");
    EXPECT_EQ(client.ask(serialQuery), "");
    EXPECT_TRUE(endsWith<CloseConnection>(client.reaction(serialQuery).actions));
    TextSession next(client.camera());
    EXPECT_EQ(textOfBytes(answerTo(next, bytesOfText(serialQuery))), serialReply);
}

TEST(TextFault, LeavesAKeyOut) {
    EXPECT_EQ(askWithFault("version:missing-key=--SW", versionQuery), "[Version --HW M61 --API 1.4]");
    EXPECT_EQ(askWithFault("version:missing-key=--API", versionQuery), "[Version --HW M61 --SW 3.2.15]");
    EXPECT_EQ(askWithFault("serial:missing-key=--Camera", serialQuery), "[SerialNumber]");
    EXPECT_EQ(askWithFault("text:missing-key=--NetMask", networkQuery),
              "[--Settings --NetworkProtocol static --NetGateway 0.0.0.0]");
    EXPECT_EQ(discoverWithFault("discovery:missing-key=--Room"),
              "[Korva --IP 192.168.10.27 --NetMask 255.255.255.0]");
}

TEST(TextFault, LeavesAValueOut) {
    EXPECT_EQ(askWithFault("version:empty-value=--SW", versionQuery), "[Version --HW M61 --SW  --API 1.4]");
    EXPECT_EQ(discoverWithFault("discovery:empty-value=--Room"),
              "[Korva --Room  --IP 192.168.10.27 --NetMask 255.255.255.0]");
    EXPECT_EQ(askWithFault("version:empty-value=--SW", "[Version --HW]"), "[Version --HW M61]");
}

TEST(TextFault, DoesNotCloseTheBracket) {
    EXPECT_EQ(askWithFault("version:not-closed", versionQuery), "[Version --HW M61 --SW 3.2.15 --API 1.4");
    EXPECT_EQ(discoverWithFault("discovery:not-closed"),
              "[Korva --Room Lab --IP 192.168.10.27 --NetMask 255.255.255.0");
}

TEST(TextFault, FillsUpToTheLengthAsked) {
    EXPECT_EQ(askWithFault("serial:length=256", serialQuery),
              "[SerialNumber --Camera 1234 --Padding " + std::string(217, 'x') + "]");
    for (const std::size_t length : {28U, 29U, 38U, 39U, 40U, 41U, 255U, 256U, 257U, 4000U, 65507U}) {
        const std::string reply = askWithFault("serial:length=" + std::to_string(length), serialQuery);
        EXPECT_EQ(reply.size(), length);
        EXPECT_TRUE(reply.ends_with("]")) << length;
        EXPECT_NE(reply.find(" --Camera 1234"), std::string::npos) << length;
    }
    EXPECT_EQ(discoverWithFault("discovery:length=256"),
              discoveryReply.substr(0, discoveryReply.size() - 1) + " --Padding " +
                  std::string(256 - discoveryReply.size() - 11, 'x') + "]");
}

TEST(TextFault, FillsAFewBytesWithBlanks) {
    EXPECT_EQ(askWithFault("serial:length=30", serialQuery), "[SerialNumber   --Camera 1234]");
    EXPECT_EQ(askWithFault("serial:length=17", "[SerialNumber --None]"), "[SerialNumber   ]");
}

TEST(TextFault, CutsOffAtTheLengthAsked) {
    EXPECT_EQ(askWithFault("serial:length=10", serialQuery), "[SerialNum");
}

TEST(TextFault, AnswersTwice) {
    EXPECT_EQ(askWithFault("serial:twice", serialQuery), serialReply + serialReply);
    Camera camera(withFaults({"discovery:twice"}));
    const Reaction reaction = discover(camera);
    ASSERT_THAT(reaction.actions, SizeIs(2)); // a datagram each
    EXPECT_EQ(textOfBytes(sentBytes({reaction.actions[0]})), discoveryReply);
    EXPECT_EQ(textOfBytes(sentBytes({reaction.actions[1]})), discoveryReply);
}

TEST(TextFault, AnswersGarbage) {
    const std::string garbage = askWithFault("serial:garbage", serialQuery);
    EXPECT_EQ(garbage.size(), 64U);
    EXPECT_THAT(garbage, StartsWith("\xAA"));
    EXPECT_EQ(discoverWithFault("discovery:garbage"), garbage);
}

TEST(TextFault, AnswersNothingInBracketsOrAnEmptyDatagram) {
    EXPECT_EQ(askWithFault("text:empty", versionQuery), "[]");
    Camera camera(withFaults({"discovery:empty"}));
    const Reaction reaction = discover(camera);
    ASSERT_THAT(reaction.actions, SizeIs(1));
    EXPECT_THAT(sentBytes(reaction.actions), IsEmpty());
    EXPECT_TRUE(std::holds_alternative<SendBytes>(reaction.actions[0]));
}

TEST(TextFault, WritesAnotherMarker) {
    EXPECT_EQ(discoverWithFault("discovery:other-marker"),
              "[korva --Room Lab --IP 192.168.10.27 --NetMask 255.255.255.0]");
    EXPECT_EQ(askWithFault("serial:other-marker", serialQuery), "[serialnumber --Camera 1234]");
}

TEST(TextFault, WritesHostileValuesButItsAddresses) {
    const std::string hostile("\x01\x07\x08\x1B[2J\x1B[31m\x1B[8mA\x7F\xC2\x9B\xE2\x80\xAE\xFF\"'`$(id);%n%s"
                              "<b>&amp;</room><!--\\");
    EXPECT_EQ(discoverWithFault("discovery:hostile"),
              "[Korva --Room " + hostile + " --IP 192.168.10.27 --NetMask 255.255.255.0]");
    EXPECT_EQ(askWithFault("version:hostile", versionQuery),
              "[Version --HW " + hostile + " --SW " + hostile + " --API " + hostile + "]");
    EXPECT_EQ(askWithFault("network:hostile", networkQuery),
              "[--Settings --NetworkProtocol " + hostile + " --NetMask 255.255.255.0 --NetGateway 0.0.0.0]");
}

TEST(TextFault, AnnouncesAnotherAddress) {
    EXPECT_EQ(discoverWithFault("discovery:wrong-address=10.9.9.9"),
              "[Korva --Room Lab --IP 10.9.9.9 --NetMask 255.255.255.0]");
}

TEST(TextFault, BreaksOffTheDelivery) {
    const Reaction cut = TextConversation({"serial:truncate-close=5"}).reaction(serialQuery);
    EXPECT_EQ(textOfBytes(sentBytes(cut.actions)), "[Seri");
    EXPECT_TRUE(endsWith<CloseConnection>(cut.actions));
    EXPECT_EQ(askWithFault("serial:truncate-silent", serialQuery), serialReply.substr(0, 14));
    const Reaction reset = TextConversation({"serial:reset"}).reaction(serialQuery);
    ASSERT_THAT(reset.actions, SizeIs(1));
    EXPECT_TRUE(endsWith<ResetConnection>(reset.actions));
    EXPECT_EQ(askWithFault("serial:silent", serialQuery), "");
}

TEST(TextFault, HearsNothingBehindAConnectionThatItEnded) {
    TextConversation client({"serial:close*1"});
    client.send(serialQuery + versionQuery);
    EXPECT_THAT(client.reactions(), SizeIs(1));
    EXPECT_EQ(client.ask(versionQuery), "");
}

TEST(TextFault, DelaysAndDrips) {
    const Reaction late = TextConversation({"serial:delay=250"}).reaction(serialQuery);
    ASSERT_THAT(late.actions, SizeIs(2));
    EXPECT_EQ(std::get<Pause>(late.actions[0]).length.count(), 250);
    EXPECT_EQ(textOfBytes(sentBytes(late.actions)), serialReply);
    const Reaction pieces = TextConversation({"serial:drip=10/3"}).reaction(serialQuery);
    ASSERT_THAT(pieces.actions, SizeIs(1));
    EXPECT_EQ(std::get<SendBytes>(pieces.actions[0]).pieceBytes, 10U);
    EXPECT_EQ(std::get<SendBytes>(pieces.actions[0]).pause.count(), 3);
}

TEST(Discovery, AnswersTheQuery) {
    Camera camera(withFaults({}));
    const Reaction reaction = discover(camera);
    EXPECT_EQ(textOfBytes(sentBytes(reaction.actions)), discoveryReply);
    EXPECT_THAT(reaction.events, ElementsAre("AreThereAnyKorvaAround? -> " + discoveryReply));
}

TEST(Discovery, AnnouncesTheAddressServedUnlessToldAnother) {
    Camera camera(smallCamera());
    EXPECT_EQ(textOfBytes(sentBytes(discover(camera).actions)),
              "[Korva --Room Lab --IP 10.0.0.1 --NetMask 255.255.255.0]");
}

TEST(Discovery, AnswersNothingElse) {
    Camera camera(withFaults({"discovery:twice*1"}));
    const std::string_view query = "AreThereAnyKorvaAround?";
    std::vector<std::string> others = {"",
                                       "AreThereAnyKorvaAround",
                                       "AreThereAnyKorvaAround?\n",
                                       "arethereanykorvaaround?",
                                       " AreThereAnyKorvaAround?",
                                       versionQuery};
    others.push_back(std::string(query) + '\0');
    for (const std::string& other : others) {
        const Reaction reaction = discover(camera, other);
        EXPECT_THAT(reaction.actions, IsEmpty()) << other;
        EXPECT_THAT(reaction.events, ElementsAre(HasSubstr("not answered"))) << other;
    }
    EXPECT_THAT(discover(camera).actions, SizeIs(2)); // the fault was not used up
    EXPECT_THAT(discover(camera, "\x1b]").events, ElementsAre(StartsWith("\\x1b] -> not answered")));
}

TEST(Camera, RefusesTextsOfMoreThan1024Bytes) {
    CameraSettings settings = smallCamera();
    settings.room = std::string(1024, 'r');
    EXPECT_NO_THROW(Camera{settings});
    settings.room += 'r';
    EXPECT_THROW(Camera{settings}, std::invalid_argument);
    settings = smallCamera();
    settings.hardware = std::string(1025, 'h');
    EXPECT_THROW(Camera{settings}, std::invalid_argument);
}

TEST(TextSession, StaleReplyIsThatToTheQueryBefore) {
    TextConversation conversation({"serial:stale", "version:stale"});
    EXPECT_EQ(conversation.ask(versionQuery), "");
    EXPECT_EQ(conversation.ask(serialQuery), versionReply);
    EXPECT_EQ(conversation.ask(networkQuery), networkReply);
    EXPECT_EQ(conversation.ask(versionQuery), networkReply);
}

TEST(TextSession, FlipTurnsOneBitOfAReply) {
    EXPECT_EQ(askWithFault("serial:flip=0", serialQuery), "Z" + serialReply.substr(1));
}

} // namespace Simulator
