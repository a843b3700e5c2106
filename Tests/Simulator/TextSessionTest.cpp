// The text language: its texts, a conversation in it, and discovery.

#include "Camera/TextSession.h"

#include "Camera/Discovery.h"
#include "Camera/Ipv4.h"
#include "Camera/QuotedText.h"
#include "Camera/Random.h"
#include "Camera/TextLanguage.h"
#include "Conversation.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <utility>

namespace Simulator {

using namespace Testing;
using ::testing::AnyOf;
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

/// A camera and one conversation with it.
struct TextConversation {
    explicit TextConversation(std::initializer_list<std::string_view> faults = {})
        : camera([&] {
              CameraSettings settings = smallCameraWith(faults);
              settings.announcedAddress = "192.168.10.27";
              return settings;
          }()) {}

    /// What is answered to all queries in the text, joined by " | ".
    std::string ask(std::string_view text) {
        session.append(bytesOfText(text));
        std::string answers;
        for (const Reaction& reaction : reactionsOf(session))
            answers += (answers.empty() ? "" : " | ") + told(reaction.actions, textOfBytes);
        return answers;
    }
    std::vector<std::string> eventsOf(std::string_view text) {
        return reactionTo(session, bytesOfText(text)).events;
    }
    Reaction discover(std::string_view datagram = discoveryQuery) {
        return answerDiscovery(camera, bytesOfText(datagram), "10.0.0.1");
    }

    Camera camera;
    TextSession session{camera};
};

/// What comes of one fault: of a query to everybody for a fault of discovery.
std::string askWithFault(const std::string& fault, std::string_view query = serialQuery) {
    TextConversation client({fault});
    return fault.starts_with("discovery:") ? told(client.discover().actions, textOfBytes) : client.ask(query);
}

const Query& queryFor(Place place) {
    return *std::ranges::find(queries, place, &Query::place);
}

std::string replyText(Place place, const CameraSettings& camera = {}) {
    return replyTo(queryFor(place), {}, camera).text();
}

/// The query that asks for all keys, in their order.
std::string queryText(Place place) {
    std::string text = "[" + std::string(queryFor(place).word);
    for (const std::string_view key : queryFor(place).keys)
        text.append(" ").append(key);
    return text + "]";
}

} // namespace

TEST(TextSession, AnswersQueriesByTheirWordAndKeys) {
    TextConversation client;
    for (const auto& [query, reply] : {
             std::pair(versionQuery, versionReply),
             std::pair(serialQuery, serialReply),
             std::pair(networkQuery, networkReply),
             std::pair<std::string, std::string>("[Version]", versionReply), // no key: all of them
             {"[SerialNumber ]", serialReply},
             {"[ --Settings]", networkReply},
             {"[Version --Lens --API --sw --Camera --HW]", "[Version --API 1.4 --HW M61]"}, // known keys only
             {"[SerialNumber --Spectro]", "[SerialNumber]"},
             {"[\tVersion \r\n --SW\v--HW\f]", "[Version --SW 3.2.15 --HW M61]"}, // any blanks
             {"[Reboot --Now]", "[Unknown]"},
             {"[version --HW]", "[Unknown]"},
             {"[]", "[Unknown]"},
             {"[ ]", "[Unknown]"},
             {"[Korva --Room]", "[Unknown]"},
             {"[--HW]", "[Unknown]"},
         })
        EXPECT_EQ(client.ask(query), reply) << query;
}

TEST(TextSession, AnswersQueriesSentInPiecesAndTogetherOneByOne) {
    TextConversation client;
    for (const char letter : versionQuery.substr(0, versionQuery.size() - 1))
        EXPECT_EQ(client.ask(std::string(1, letter)), "");
    EXPECT_EQ(client.session.waitingBytes(), versionQuery.size() - 1);
    EXPECT_EQ(client.ask("]" + serialQuery + "\r\n" + networkQuery + "[Ver"),
              versionReply + " | " + serialReply + " | " + networkReply);
    EXPECT_EQ(client.ask("sion --SW]"), "[Version --SW 3.2.15]");
    EXPECT_EQ(client.session.waitingBytes(), 0U);
}

TEST(TextSession, DropsWhatStandsBeforeTheBracket) {
    TextConversation client;
    EXPECT_THAT(client.eventsOf("\x1b[0mhello\xff[Vers" + serialQuery),
                ElementsAre("dropped \\x1b[0mhello\\xff[Vers",
                            "[SerialNumber --Camera] -> [SerialNumber --Camera 1234]"));
    EXPECT_EQ(client.ask("]"), "");
    EXPECT_EQ(client.ask("[0mhello\xff[Vers" + serialQuery), serialReply);
}

TEST(TextSession, AnswersTheLongestQueryAndGivesUpALongerOne) {
    for (const auto& [length, answer] :
         {std::pair(1024U, "[Version --SW 3.2.15]"), std::pair(1025U, "close")})
        EXPECT_EQ(TextConversation().ask("[Version --SW " + std::string(length - 15, 'x') + "]"), answer);
    TextConversation client;
    EXPECT_EQ(client.ask("[" + std::string(1022, 'x')), "");
    EXPECT_THAT(client.eventsOf("x"), ElementsAre(HasSubstr("... (1024 bytes) -> closed")));
    EXPECT_EQ(client.ask(versionQuery), "");
    EXPECT_EQ(client.session.waitingBytes(), 0U);
}

TEST(TextSession, OutlivesGarbage) {
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        TextConversation client({"text:length=300"});
        std::string garbage;
        for (std::size_t index = 0; index < 900; ++index) {
            // Many brackets, so that much of it looks like a query.
            const std::uint64_t bits = randomBits(seed, index);
            garbage += bits % 8 == 0 ? '[' : bits % 8 == 1 ? ']' : static_cast<char>(bits >> 8);
        }
        client.ask(garbage + "]");
        EXPECT_EQ(client.ask(serialQuery).size(), 300U) << seed;
    }
}

TEST(TextFault, HitsItsQueryAsOftenAsItSaysAndIsTold) {
    EXPECT_THAT(TextConversation({"version:hostile"}).eventsOf("[Version --SW \x07]"),
                ElementsAre("[Version --SW \\x07] -> [Version --SW 3.2.15]", "fault version:hostile"));
    TextConversation client({"serial:silent*2", "text:close*1"});
    EXPECT_EQ(client.ask("[Foo]" + serialQuery + serialQuery), "[Unknown] |  | ");
    EXPECT_EQ(client.ask(serialQuery + versionQuery), "close") << "nothing is heard behind it";
    EXPECT_EQ(client.ask(versionQuery), "");
    TextSession next(client.camera);
    EXPECT_EQ(told(reactionTo(next, bytesOfText(serialQuery)).actions, textOfBytes), serialReply);
}

TEST(TextFault, IsToTheByteAndTheStepWhatItSays) {
    const std::string hostile("\x01\x07\x08\x1B[2J\x1B[31m\x1B[8mA\x7F\xC2\x9B\xE2\x80\xAE\xFF\"'`$(id);%n%s"
                              "<b>&amp;</room><!--\\");
    const std::string paddedDiscovery = discoveryReply.substr(0, discoveryReply.size() - 1) + " --Padding " +
                                        std::string(256 - discoveryReply.size() - 11, 'x') + "]";
    struct Row {
        const char* fault;
        std::string query;
        std::string answer;
    };
    for (const auto& [fault, query, answer] : {
             Row{"version:missing-key=--SW", versionQuery, "[Version --HW M61 --API 1.4]"},
             Row{"version:missing-key=--API", versionQuery, "[Version --HW M61 --SW 3.2.15]"},
             Row{"serial:missing-key=--Camera", serialQuery, "[SerialNumber]"},
             Row{"text:missing-key=--NetMask", networkQuery,
                 "[--Settings --NetworkProtocol static --NetGateway 0.0.0.0]"},
             Row{"discovery:missing-key=--Room", "", "[Korva --IP 192.168.10.27 --NetMask 255.255.255.0]"},
             Row{"version:empty-value=--SW", versionQuery, "[Version --HW M61 --SW  --API 1.4]"},
             Row{"version:empty-value=--SW", "[Version --HW]", "[Version --HW M61]"},
             Row{"discovery:empty-value=--Room", "",
                 "[Korva --Room  --IP 192.168.10.27 --NetMask 255.255.255.0]"},
             Row{"version:not-closed", versionQuery, "[Version --HW M61 --SW 3.2.15 --API 1.4"},
             Row{"discovery:not-closed", "", "[Korva --Room Lab --IP 192.168.10.27 --NetMask 255.255.255.0"},
             Row{"serial:length=65507", serialQuery,
                 "[SerialNumber --Camera 1234 --Padding " + std::string(65468, 'x') + "]"},
             Row{"serial:length=40", serialQuery, "[SerialNumber --Camera 1234 --Padding x]"},
             Row{"serial:length=39", serialQuery,
                 "[SerialNumber            --Camera 1234]"}, // blanks for a few
             Row{"serial:length=28", serialQuery, serialReply},
             Row{"discovery:length=256", "", paddedDiscovery},
             Row{"serial:length=17", "[SerialNumber --None]", "[SerialNumber   ]"},
             Row{"serial:length=10", serialQuery, "[SerialNum"}, // cut off
             Row{"serial:twice", serialQuery, serialReply + serialReply},
             Row{"discovery:twice", "", discoveryReply + ", " + discoveryReply}, // a datagram each
             Row{"version:stale", versionQuery, ""},
             Row{"serial:stale", versionQuery + serialQuery + networkQuery + serialQuery,
                 versionReply + " | " + versionReply + " | " + networkReply + " | " + networkReply},
             Row{"text:empty", versionQuery, "[]"},
             Row{"discovery:empty", "", "nothing"}, // in a datagram
             Row{"serial:other-marker", serialQuery, "[serialnumber --Camera 1234]"},
             Row{"discovery:other-marker", "",
                 "[korva --Room Lab --IP 192.168.10.27 --NetMask 255.255.255.0]"},
             Row{"version:hostile", versionQuery,
                 "[Version --HW " + hostile + " --SW " + hostile + " --API " + hostile + "]"},
             Row{"network:hostile", networkQuery, // but its addresses
                 "[--Settings --NetworkProtocol " + hostile +
                     " --NetMask 255.255.255.0 --NetGateway 0.0.0.0]"},
             Row{"discovery:hostile", "",
                 "[Korva --Room " + hostile + " --IP 192.168.10.27 --NetMask 255.255.255.0]"},
             Row{"discovery:wrong-address=10.9.9.9", "",
                 "[Korva --Room Lab --IP 10.9.9.9 --NetMask 255.255.255.0]"},
             Row{"serial:truncate-close=5", serialQuery, "[Seri, close"},
             Row{"serial:truncate-silent", serialQuery, serialReply.substr(0, 14)},
             Row{"serial:reset", serialQuery, "reset"},
             Row{"serial:silent", serialQuery, ""},
             Row{"serial:delay=250", serialQuery, "pause 250, " + serialReply},
             Row{"serial:flip=0", serialQuery, "Z" + serialReply.substr(1)},
             Row{"serial:drip=10/3", serialQuery, "10 bytes each 3 ms of " + serialReply},
             Row{"serial:garbage", serialQuery, textOfBytes(garbage(64))},
             Row{"discovery:garbage", "", textOfBytes(garbage(64))},
         })
        EXPECT_EQ(askWithFault(fault, query), answer) << fault;
}

TEST(Discovery, AnswersNothingElse) {
    TextConversation client({"discovery:twice*1"});
    const std::string query(discoveryQuery);
    for (const std::string& other :
         {std::string(), query.substr(0, 22), query + "\n", std::string("arethereanykorvaaround?"),
          " " + query, versionQuery, query + '\0'}) {
        const Reaction reaction = client.discover(other);
        EXPECT_THAT(reaction.actions, IsEmpty()) << other;
        EXPECT_THAT(reaction.events, ElementsAre(HasSubstr("not answered"))) << other;
    }
    EXPECT_THAT(client.discover().actions, SizeIs(2)); // the fault was not used up
    EXPECT_THAT(client.discover("\x1b]").events, ElementsAre(StartsWith("\\x1b] -> not answered")));
}

TEST(Camera, RefusesTextsOfMoreThan1024Bytes) {
    for (std::string CameraSettings::*text : {&CameraSettings::room, &CameraSettings::hardware}) {
        CameraSettings settings = smallCamera();
        settings.*text = std::string(1024, 'x');
        EXPECT_NO_THROW(Camera{settings});
        settings.*text += 'x';
        EXPECT_THROW(Camera{settings}, std::invalid_argument);
    }
}

TEST(TextLanguage, KeepsTheBlankBehindTheKeyOfAnEmptyTextAndTakesTheModelForHardware) {
    CameraSettings camera;
    camera.model = "M615";
    camera.api = camera.room = "";
    EXPECT_EQ(replyText(Place::version, camera), "[Version --HW M615 --SW 3.2.15 --API ]");
    EXPECT_EQ(replyText(Place::discovery, camera), "[Korva --Room  --IP  --NetMask 255.255.255.0]");
}

TEST(TextLanguage, SaysWhatTheProtocolDocumentShowsByteForByte) {
    std::ifstream document(KORVA_SOURCE_DIR "/Docs/Protocol.md");
    std::string words;
    for (std::string word; document >> word;)
        words += " " + word;
    CameraSettings camera;
    camera.room = "Lab 2";
    camera.announcedAddress = "192.168.10.27";
    for (const std::string& text :
         {std::string(discoveryQuery), replyText(Place::discovery, camera), replyText(Place::version),
          replyText(Place::serial), replyText(Place::network), queryText(Place::version),
          queryText(Place::serial), queryText(Place::network)}) {
        std::string bytes = hex(bytesOfText(text));
        for (char& digit : bytes)
            digit = static_cast<char>(std::toupper(digit));
        const std::string shown = " " + text + " " + bytes;
        EXPECT_THAT(words, AnyOf(HasSubstr(shown + " ["), HasSubstr(shown + " `")));
    }
}

TEST(Ipv4, ReadsFourNumbersAndANetMaskThatIsOnesAndThenZeros) {
    EXPECT_EQ(ipv4Text(0x0A4D01FFU), "10.77.1.255");
    for (const auto& [text, number] :
         {std::pair("10.77.1.11", 0x0A4D010BU), std::pair("0.0.0.0", 0U), std::pair("255.255.255.255", ~0U)})
        EXPECT_EQ(ipv4FromText(text), number);
    for (const char* text : {"", "1", "1.2.3", "1.2.3.4.5", "1.2.3.", ".1.2.3", "1..2.3", "256.1.1.1",
                             "-1.1.1.1", "1.2.3.4 ", " 1.2.3.4", "1.2.3.a", "1.2.3.0004", "1.2.3.4."})
        EXPECT_EQ(ipv4FromText(text), std::nullopt) << text;
    for (const auto& [text, mask] :
         {std::pair("255.255.255.0", ~0xFFU), std::pair("0.0.0.0", 0U), std::pair("255.255.255.255", ~0U)})
        EXPECT_EQ(netMaskFromText(text), mask);
    for (const char* text : {"255.0.255.0", "0.255.255.255", "255.255.255.1", "10.0.0.1", "mask"})
        EXPECT_EQ(netMaskFromText(text), std::nullopt) << text;
}

TEST(QuotedText, EscapesWhatIsNoPrintableAsciiAndShowsNoMoreThanTheBeginning) {
    EXPECT_EQ(quotedText("a \"b\"\x1b[2J\n\\~\x7f\xc3\xa4"), "a \"b\"\\x1b[2J\\x0a\\x5c~\\x7f\\xc3\\xa4");
    EXPECT_EQ(quotedText(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(quotedText(std::string(300, 'a')), std::string(300, 'a'));
    EXPECT_EQ(quotedText(std::string(301, 'a')), std::string(300, 'a') + "... (301 bytes)");
}

} // namespace Simulator
