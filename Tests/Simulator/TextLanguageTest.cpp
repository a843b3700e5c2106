#include "Camera/TextLanguage.h"

#include "Camera/Ipv4.h"
#include "Camera/QuotedText.h"
#include "Conversation.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <utility>

namespace Simulator {

using namespace Testing;
using ::testing::AnyOf;
using ::testing::HasSubstr;

namespace {

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

TEST(TextLanguage, EveryTextCanBeChosenAndAnEmptyOneKeepsTheBlankBehindItsKey) {
    CameraSettings camera;
    camera.model = "M615";
    camera.firmware = "4.0.1";
    camera.api = "2.0";
    camera.serialNumber = "K-77";
    camera.networkProtocol = "DHCP";
    camera.netMask = "255.255.0.0";
    camera.gateway = "10.77.0.1";
    camera.room = "Lab 2";
    camera.announcedAddress = "10.77.1.11";
    EXPECT_EQ(replyText(Place::version, camera), "[Version --HW M615 --SW 4.0.1 --API 2.0]");
    EXPECT_EQ(replyText(Place::serial, camera), "[SerialNumber --Camera K-77]");
    EXPECT_EQ(replyText(Place::network, camera),
              "[--Settings --NetworkProtocol DHCP --NetMask 255.255.0.0 --NetGateway 10.77.0.1]");
    EXPECT_EQ(replyText(Place::discovery, camera),
              "[Korva --Room Lab 2 --IP 10.77.1.11 --NetMask 255.255.0.0]");
    camera.hardware = "XM61";
    camera.api = camera.room = camera.announcedAddress = "";
    EXPECT_EQ(replyText(Place::version, camera), "[Version --HW XM61 --SW 4.0.1 --API ]");
    EXPECT_EQ(replyText(Place::discovery, camera), "[Korva --Room  --IP  --NetMask 255.255.0.0]");
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

TEST(Ipv4, ReadsFourNumbers) {
    EXPECT_EQ(ipv4FromText("10.77.1.11"), 0x0A4D010BU);
    EXPECT_EQ(ipv4FromText("0.0.0.0"), 0U);
    EXPECT_EQ(ipv4FromText("255.255.255.255"), 0xFFFFFFFFU);
    EXPECT_EQ(ipv4Text(0x0A4D01FFU), "10.77.1.255");
    for (const char* text : {"", "1", "1.2.3", "1.2.3.4.5", "1.2.3.", ".1.2.3", "1..2.3", "256.1.1.1",
                             "-1.1.1.1", "1.2.3.4 ", " 1.2.3.4", "1.2.3.a", "1.2.3.0004", "1.2.3.4."})
        EXPECT_EQ(ipv4FromText(text), std::nullopt) << text;
}

TEST(Ipv4, NetMaskIsOnesAndThenZeros) {
    EXPECT_EQ(netMaskFromText("255.255.255.0"), 0xFFFFFF00U);
    EXPECT_EQ(netMaskFromText("255.255.255.255"), 0xFFFFFFFFU);
    EXPECT_EQ(netMaskFromText("0.0.0.0"), 0U);
    for (const char* text : {"255.0.255.0", "0.255.255.255", "255.255.255.1", "10.0.0.1", "mask"})
        EXPECT_EQ(netMaskFromText(text), std::nullopt) << text;
}

TEST(QuotedText, EscapesWhatIsNoPrintableAsciiAndShowsNoMoreThanTheBeginning) {
    EXPECT_EQ(quotedText("a \"b\"\x1b[2J\n\\~\x7f\xc3\xa4"), "a \"b\"\\x1b[2J\\x0a\\x5c~\\x7f\\xc3\\xa4");
    EXPECT_EQ(quotedText(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(quotedText(std::string(300, 'a')), std::string(300, 'a'));
    EXPECT_EQ(quotedText(std::string(301, 'a')), std::string(300, 'a') + "... (301 bytes)");
}

TEST(CameraSettings, ReadsServices) {
    for (const auto& [text, service] :
         {std::pair("answered", Service::answered), std::pair("silent", Service::silent),
          std::pair("refused", Service::refused)}) {
        EXPECT_EQ(serviceFromText(text), service);
        EXPECT_EQ(describe(service), text);
    }
    EXPECT_EQ(serviceFromText("dead"), std::nullopt);
}

} // namespace Simulator
