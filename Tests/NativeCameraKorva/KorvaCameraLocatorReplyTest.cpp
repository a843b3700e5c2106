// The replies: what is read, what counts as a camera, what the log says.

#include "LocatorFixture.h"

using namespace LocatorTests;

namespace {

using namespace std::string_literals;
using Datagrams = std::vector<std::string>;

/// The datagrams of a search, and what the log has of each: room and address, or the text of no reply.
struct Replies {
    const char* what;
    Datagrams datagrams;
    Texts lines;
};

LogText recognised(const std::string& roomAndAddress) {
    return info("Message from Korva device: " + roomAndAddress);
}
LogText other(const std::string& text) {
    return info("Got message that wasn't parsed as a Korva response: " + text);
}
LogText last(const std::string& end) {
    return info("Last recv returned: " + end);
}

using LocatorReplies = LocatorSearch;

TEST_F(LocatorReplies, AreReadByTheirOwnBytesIntoABufferThatIsNotCleared) {
    const std::string lab = replyOf("Lab", "10.0.0.5");
    const std::string closing = " --IP 10.0.0.5]";
    const std::string longRoom(256 - std::string("[Korva --Room ").size() - closing.size(), 'L');
    const std::string full = "[Korva --Room " + longRoom + closing;
    ASSERT_EQ(full.size(), 256u);
    const std::string noRoom = "[Korva --IP 10.0.0.5]";
    const std::string noEnd = "[Korva --Room Lab --IP 10.0.0.5";
    const std::string noMark = "[korva --Room Lab --IP 10.0.0.50]";
    const std::string xs(256, 'x');
    const LogText labLine = recognised("Lab 10.0.0.5");
    const LogText fullLine = recognised(longRoom + " 10.0.0.5");
    const Replies rows[] = {
        {"until none comes",
         {lab, "hello hello hello hello hello hello", lab},
         {labLine, other("hello hello hello hello hello hello"), labLine}},
        {"without room, end or mark", {noRoom, noEnd, noMark}, {other(noRoom), other(noEnd), other(noMark)}},
        {"the tail of the one before shows",
         {"a long one", "short"},
         {other("a long one"), other("shortg one")}},
        // Together with what is left of the first, the second and the third would be replies.
        {"and does not count", {lab, "[Korv", "[Korva --Room Lab --I"}, {labLine, other(lab), other(lab)}},
        {"up to the first zero", {"one\0two"s, lab + "\0tail"s}, {other("one"), labLine}},
        {"as many as the buffer holds", {full, xs}, {fullLine, other(xs)}},
        {"of larger ones the first bytes", {lab + " " + xs + xs, xs + lab}, {labLine, other(xs)}},
    };
    for (const Replies& row : rows) {
        SCOPED_TRACE(row.what);
        beginAnew();
        network.datagrams.assign(row.datagrams.begin(), row.datagrams.end());
        const PluginLog own(loggerName, "KorvaCameraLocator");
        search();
        Texts lines = own.texts(); // of the datagrams
        std::erase_if(lines,
                      [](const LogText& line) { return line.message.find("essage") == std::string::npos; });
        EXPECT_EQ(lines, row.lines);
        EXPECT_THAT(calls.of("recvfrom"), SizeIs(row.datagrams.size() + 1));
        EXPECT_EQ(own.linesOf("Last recv"), Texts{last("-1 WSAError: 10060")});
    }
}

TEST_F(LocatorReplies, EndWithAnyFailureOfTheSocket) {
    network.datagrams = {replyOf("Lab", "10.0.0.5"), replyOf("Roof", "10.0.0.6")};
    calls.fail("recvfrom", WSAECONNRESET, 2);
    search();
    EXPECT_THAT(log.linesOf("Message"), ElementsAre(recognised("Lab 10.0.0.5")));
    EXPECT_THAT(log.linesOf("Last"), ElementsAre(last("-1 WSAError: 10054")));
    EXPECT_THAT(calls.of("SendARP"), SizeIs(1)) << "what was gathered is worked on";
}

TEST_F(LocatorReplies, EndWithAnEmptyDatagram) {
    SetLastError(0);
    network.datagrams = {"", replyOf("Roof", "10.0.0.6")};
    search();
    EXPECT_THAT(log.linesOf("Message"), ::testing::IsEmpty());
    EXPECT_THAT(log.linesOf("Last"), ElementsAre(last("0 WSAError: 0")));
    EXPECT_EQ(network.startups, 0);
}

TEST(DiscoveryReply, BearsTheMarkAnywhereAndNamesRoomAndAddress) {
    const struct {
        const char* text;
        bool isReply;
        std::string room = {};
        std::string ip = {};
    } rows[] = {
        {"[Korva --Room Lab 2 --IP 192.168.10.27]", true, "Lab 2", "192.168.10.27"},
        {"junk [KorvaMeridian --IP 10.0.0.5 --Serial 7 --Room Lab]", true, "Lab", "10.0.0.5"},
        {"--Room Lab --IP 10.0.0.5] [Korva", true, "Lab", "10.0.0.5"},
        {"[Korva --Room --IP 10.0.0.5]", true, "--IP", "10.0.0.5"}, // the next key for a missing value
        {"", false},
        {"[Korv", false},
        {"[korva --Room Lab --IP 10.0.0.5]", false},
        {"Korva --Room Lab --IP 10.0.0.5]", false},
        {"[Other --Room Lab --IP 10.0.0.5]", false},
        {"[Korva --IP 10.0.0.5]", false, "", "10.0.0.5"},
        {"[Korva --IP 10.0.0.5 --Room ]", false, "", "10.0.0.5"},
        {"[Korva --IP 10.0.0.5 --room Lab]", false, "", "10.0.0.5"},
        {"[Korva --Room Lab]", false, "Lab", ""},
        {"[Korva --Room Lab --Ip 10.0.0.5]", false, "Lab", ""},
        {"[Korva --Room Lab --IP 10.0.0.5", false, "Lab", ""}, // no bracket closes it
    };
    for (const auto& row : rows) {
        std::string room;
        std::string ip;
        EXPECT_EQ(KorvaCameraLocator::parseDiscoveryReply(row.text, room, ip), row.isReply) << row.text;
        EXPECT_EQ(room, row.room) << row.text;
        EXPECT_EQ(ip, row.ip) << row.text;
    }
}

} // namespace
