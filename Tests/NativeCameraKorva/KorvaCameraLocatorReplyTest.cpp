// The replies: what is read, what counts as a camera, what the log says.

#include "LocatorFixture.h"

using namespace LocatorTests;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char notParsed[] = "Got message that wasn't parsed as a Korva response: ";

struct LocatorReplies : LocatorSearch {
    /// Room and address of every reply that was recognised.
    std::vector<std::string> recognised() const {
        const std::string prefix = "Message from Korva device: ";
        std::vector<std::string> texts;
        for (const LogText& line : linesOf(prefix)) {
            EXPECT_EQ(line.level, "INFO");
            texts.push_back(line.message.substr(prefix.size()));
        }
        return texts;
    }

    /// What was not recognised, as the log has it.
    std::vector<std::string> others() const {
        std::vector<std::string> texts;
        for (const LogText& line : linesOf(notParsed)) {
            EXPECT_EQ(line.level, "INFO");
            texts.push_back(line.message.substr(sizeof notParsed - 1));
        }
        return texts;
    }
};

TEST_F(LocatorReplies, AreReadUntilNoneComes) {
    network.datagrams = {replyOf("Lab 2", "10.0.0.5"), "hello", replyOf("Roof", "10.0.0.6")};
    search();
    EXPECT_THAT(calls.of("recvfrom"), SizeIs(4));
    EXPECT_THAT(recognised(), ElementsAre("Lab 2 10.0.0.5", "Roof 10.0.0.6"));
    EXPECT_THAT(linesOf("Last"), ElementsAre(LogText{"INFO", "Last recv returned: -1 WSAError: 10060"}));
}

TEST_F(LocatorReplies, EndWithAnyFailureOfTheSocket) {
    network.datagrams = {replyOf("Lab", "10.0.0.5"), replyOf("Roof", "10.0.0.6")};
    calls.fail("recvfrom", WSAECONNRESET, 2);
    search();
    EXPECT_THAT(recognised(), ElementsAre("Lab 10.0.0.5"));
    EXPECT_THAT(linesOf("Last"), ElementsAre(LogText{"INFO", "Last recv returned: -1 WSAError: 10054"}));
    EXPECT_THAT(calls.of("SendARP"), SizeIs(1)) << "what was gathered is worked on";
}

TEST_F(LocatorReplies, EndWithAnEmptyDatagram) {
    SetLastError(0);
    network.datagrams = {"", replyOf("Roof", "10.0.0.6")};
    search();
    EXPECT_THAT(recognised(), IsEmpty());
    EXPECT_THAT(linesOf("Last"), ElementsAre(LogText{"INFO", "Last recv returned: 0 WSAError: 0"}));
    EXPECT_EQ(network.startups, 0);
}

TEST_F(LocatorReplies, ThatAreShortenedShowTheTailOfTheOneBefore) {
    network.datagrams = {"a long message of no camera", "short"};
    search();
    EXPECT_THAT(others(), ElementsAre("a long message of no camera", "shortg message of no camera"));
}

TEST_F(LocatorReplies, WithoutRoomAddressOrMarkAreLoggedAsNotParsed) {
    const std::vector<std::string> texts{"[Korva --IP 10.0.0.5]", "[Korva --Room Lab --IP 10.0.0.5",
                                         "[korva --Room Lab --IP 10.0.0.50]"};
    network.datagrams.assign(texts.begin(), texts.end());
    search();
    EXPECT_THAT(recognised(), IsEmpty());
    EXPECT_THAT(others(), ElementsAreArray(texts));
}

TEST_F(LocatorReplies, AreReadByTheirOwnBytesAlone) {
    const std::string reply = replyOf("Lab", "10.0.0.5");
    // Together with what is left of the first, the second and the third would be replies.
    network.datagrams = {reply, "[Korv", "[Korva --Room Lab --I"};
    search();
    EXPECT_THAT(recognised(), ElementsAre("Lab 10.0.0.5"));
    EXPECT_THAT(others(), ElementsAre(reply, reply));
}

TEST_F(LocatorReplies, EndInTheLogAtTheFirstZero) {
    network.datagrams = {std::string("one\0two", 7), replyOf("Lab", "10.0.0.5") + std::string("\0tail", 5)};
    search();
    EXPECT_THAT(others(), ElementsAre("one"));
    EXPECT_THAT(recognised(), ElementsAre("Lab 10.0.0.5"));
}

TEST_F(LocatorReplies, MayFillTheBuffer) {
    const std::string closing = " --IP 10.0.0.5]";
    std::string reply = "[Korva --Room ";
    reply += std::string(256 - reply.size() - closing.size(), 'L') + closing;
    ASSERT_EQ(reply.size(), 256u);
    network.datagrams = {reply, std::string(256, 'x')};
    search();
    EXPECT_THAT(recognised(), ElementsAre(reply.substr(14, 227) + " 10.0.0.5"));
    EXPECT_THAT(others(), ElementsAre(std::string(256, 'x')));
}

TEST_F(LocatorReplies, LargerThanTheBufferCountByTheirFirstBytes) {
    const std::string reply = replyOf("Lab", "10.0.0.5");
    network.datagrams = {reply + " " + std::string(300, 'x'), std::string(256, 'y') + reply};
    search();
    EXPECT_THAT(recognised(), ElementsAre("Lab 10.0.0.5"));
    EXPECT_THAT(others(), ElementsAre(std::string(256, 'y')));
}

TEST_F(LocatorReplies, OfOneCameraMakeTwoEntries) {
    network.datagrams = {replyOf("Lab", "10.0.0.5"), replyOf("Lab", "10.0.0.5")};
    search();
    EXPECT_THAT(recognised(), ElementsAre("Lab 10.0.0.5", "Lab 10.0.0.5"));
    EXPECT_THAT(calls.of("SendARP"), SizeIs(2));
}

struct Parsed {
    bool isReply = false;
    std::string room;
    std::string ip;
};

Parsed parsed(const char* text) {
    Parsed result;
    result.isReply = KorvaCameraLocator::parseDiscoveryReply(text, result.room, result.ip);
    return result;
}

TEST(DiscoveryReply, TellsRoomAndAddress) {
    const Parsed reply = parsed("[Korva --Room Lab 2 --IP 192.168.10.27]");
    EXPECT_TRUE(reply.isReply);
    EXPECT_EQ(reply.room, "Lab 2");
    EXPECT_EQ(reply.ip, "192.168.10.27");
}

TEST(DiscoveryReply, MayHoldMoreKeysInAnyOrder) {
    const Parsed reply = parsed("junk [KorvaMeridian --IP 10.0.0.5 --Serial 7 --Room Lab]");
    EXPECT_TRUE(reply.isReply);
    EXPECT_EQ(reply.room, "Lab");
    EXPECT_EQ(reply.ip, "10.0.0.5");
}

TEST(DiscoveryReply, MustBearTheMark) {
    EXPECT_FALSE(parsed("").isReply);
    EXPECT_FALSE(parsed("[Korv").isReply);
    EXPECT_FALSE(parsed("[korva --Room Lab --IP 10.0.0.5]").isReply);
    EXPECT_FALSE(parsed("Korva --Room Lab --IP 10.0.0.5]").isReply);
    EXPECT_FALSE(parsed("[Other --Room Lab --IP 10.0.0.5]").isReply);
}

TEST(DiscoveryReply, MayBearTheMarkAnywhere) {
    EXPECT_TRUE(parsed("--Room Lab --IP 10.0.0.5] [Korva").isReply);
}

TEST(DiscoveryReply, MustNameARoom) {
    EXPECT_FALSE(parsed("[Korva --IP 10.0.0.5]").isReply);
    EXPECT_FALSE(parsed("[Korva --IP 10.0.0.5 --Room ]").isReply);
    EXPECT_FALSE(parsed("[Korva --IP 10.0.0.5 --room Lab]").isReply);
}

TEST(DiscoveryReply, MustNameAnAddress) {
    EXPECT_FALSE(parsed("[Korva --Room Lab]").isReply);
    EXPECT_FALSE(parsed("[Korva --Room Lab --Ip 10.0.0.5]").isReply);
}

TEST(DiscoveryReply, LosesAnAddressThatNoBracketCloses) {
    const Parsed reply = parsed("[Korva --Room Lab --IP 10.0.0.5");
    EXPECT_FALSE(reply.isReply);
    EXPECT_EQ(reply.room, "Lab");
    EXPECT_EQ(reply.ip, "");
}

TEST(DiscoveryReply, TakesTheNextKeyForAValueThatIsMissing) {
    const Parsed reply = parsed("[Korva --Room --IP 10.0.0.5]");
    EXPECT_TRUE(reply.isReply);
    EXPECT_EQ(reply.room, "--IP");
    EXPECT_EQ(reply.ip, "10.0.0.5");
}

} // namespace
