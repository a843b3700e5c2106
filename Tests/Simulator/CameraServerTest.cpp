#include "Network/CameraServer.h"

#include "Camera/TextLanguage.h"
#include "Conversation.h"
#include "Events.h"
#include "LoopbackClient.h"
#include "Support/Thrown.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/tcp.h>

#include <algorithm>
#include <atomic>
#include <tuple>

namespace {

/// So many clients find no descriptor from now on.
std::atomic<int> acceptsToFail = 0;

} // namespace

/// In place of the system's, for the whole program.
extern "C" int accept(int listener, sockaddr* address, socklen_t* length) {
    if (acceptsToFail == 0)
        return accept4(listener, address, length, 0);
    --acceptsToFail;
    errno = EMFILE;
    return -1;
}

namespace Simulator {

using namespace Testing;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

namespace {

using std::chrono::milliseconds;
constexpr milliseconds none{0};
using Texts = std::vector<std::string>;

ServerOptions anyPorts(const EventLog& log = {}) {
    return {.binaryTcpPort = 0, .textTcpPort = 0, .discoveryUdpPort = 0, .log = log};
}

class CameraServerTest : public ::testing::Test {
protected:
    void serve(const CameraSettings& settings = smallCamera()) {
        server.emplace(settings, anyPorts(events.log()));
        server->start();
    }
    void serveWith(std::string_view fault) { serve(smallCameraWith({fault})); }

    // Clients of its three languages.
    LoopbackClient binary() const { return LoopbackClient(server->binaryTcpPort()); }
    LoopbackClient text() const { return LoopbackClient(server->textTcpPort()); }
    LoopbackClient discoverer() const { return LoopbackClient(server->discoveryUdpPort(), SOCK_DGRAM); }

    void expectThatOthersAreServed() const { EXPECT_EQ(binary().ask(probeRequest), doneAnswer); }

    Events events;
    std::optional<CameraServer> server;
};

const std::string discoveryReply = "[Korva --Room Lab --IP 127.0.0.1 --NetMask 255.255.255.0]";

std::string refusalOf(const ServerOptions& options) {
    return TestSupport::thrownBy<ServerError>([&] { const CameraServer server(smallCamera(), options); });
}

} // namespace

TEST_F(CameraServerTest, AnswersEachClientByItselfAlsoOneThatHasEndedItsSideAndClosesWithoutAReset) {
    serve();
    const Bytes picture = *Camera(smallCamera()).pictureAnswer({100, 2, PictureFormat::sgi});
    const Bytes notConfigured = errorAnswer(ErrorCode::notConfigured);
    struct Row {
        const char* what;
        LoopbackClient client;
        Bytes says;
        Bytes hears;
    };
    Row rows[] = {
        {"a whole capture", binary(), joined({configureRequest, takeRequest, getRequest}),
         joined({doneAnswer, doneAnswer, picture})},
        {"more than fits into a turn", binary(), joined({repeated(probeRequest, 300), takeRequest}),
         joined({repeated(doneAnswer, 300), notConfigured})},
        {"more garbage than is read", binary(), Bytes(60000, 'x'), errorAnswer(ErrorCode::badLength)},
        {"queries", text(), bytesOfText("[SerialNumber --Camera][Version --SW]"),
         bytesOfText("[SerialNumber --Camera 1234][Version --SW 3.2.15]")},
    };
    for (auto& [what, client, says, hears] : rows) {
        client.send(says);
        shutdown(client.descriptor(), SHUT_WR);
        EXPECT_EQ(client.read(hears.size() + 1), hears) << what;
        EXPECT_EQ(client.end(), End::closed) << what;
    }
    EXPECT_TRUE(events.saw("(text) [Version --SW] -> [Version --SW 3.2.15]"));
}

TEST_F(CameraServerTest, DeliversAnAnswerAsItsFaultSaysWhileOthersAreServed) {
    for (const auto& [fault, arrives, end, least] : {
             std::tuple("probe:reset*1", Bytes(), End::reset, none),
             std::tuple("probe:close*1", Bytes(), End::closed, none),
             std::tuple("probe:truncate-close=5*1", bytesOf({1, 0, 0, 0, 0x0D}), End::closed, none),
             std::tuple("probe:scatter=3*1", doneAnswer, End::gotAll, none),
             std::tuple("probe:drip=4/3*1", doneAnswer, End::gotAll, milliseconds(3 * 3)), // four pieces
             std::tuple("probe:delay=60*1", doneAnswer, End::gotAll, milliseconds(60)),
             std::tuple("probe:endless*1", Bytes(8 << 20, 'U'), End::gotAll, none),
         }) {
        SCOPED_TRACE(fault);
        serveWith(fault);
        LoopbackClient client = binary();
        const auto before = Clock::now();
        client.send(probeRequest);
        EXPECT_TRUE(events.saw(std::string("fault ") + fault));
        expectThatOthersAreServed();
        EXPECT_EQ(client.read(std::max(arrives.size(), doneAnswer.size())), arrives);
        EXPECT_EQ(client.end(), end);
        EXPECT_GE(Clock::now() - before, least);
    }
}

TEST_F(CameraServerTest, ReadsNoMoreFromAClientThatTakesNoAnswersAndOutlivesItsLeavingAmidstAPicture) {
    CameraSettings large;
    large.scene.kind = SceneKind::black;
    serve(large);
    {
        LoopbackClient greedy = binary();
        greedy.giveUpSendingAfter(300);
        const Bytes many = joined({configureRequest, takeRequest, repeated(getRequest, (64 << 20) / 13)});
        EXPECT_LT(greedy.send(many), many.size());
        EXPECT_EQ(greedy.read(26), repeated(doneAnswer, 2));
        expectThatOthersAreServed();
    }
    EXPECT_TRUE(events.saw("connection lost"));
    expectThatOthersAreServed();
}

TEST_F(CameraServerTest, AnswersAnotherClientAmidstManyRequestsAndWhileAPictureIsRendered) {
    CameraSettings rendering;
    rendering.scene.kind = SceneKind::noise;
    Bytes captures;
    for (int exposure = 1; exposure <= 250; ++exposure)
        captures = joined({captures, configureWith(exposure, 2, 2), takeRequest, getRequest});
    // Not all of one client's before the other's turn, which comes with the one after its connection.
    constexpr int someTurns = 3 * Connection::mostStepsPerTurn;
    for (const auto& [settings, requests, part, most] :
         {std::tuple(smallCamera(), repeated(probeRequest, 1000), "probe", someTurns),
          std::tuple(rendering, captures, "GetImage", 1)}) {
        Events said;
        server.emplace(settings, anyPorts(said.log()));
        LoopbackClient busy = binary();
        busy.send(requests);
        LoopbackClient other = binary();
        other.send(getRequest);
        server->start();
        EXPECT_EQ(other.read(17), errorAnswer(ErrorCode::noPicture));
        EXPECT_LT(said.countBefore(part, "get -> Error"), most);
        server.reset();
    }
}

TEST_F(CameraServerTest, TakesAClientForWhomThereIsNoDescriptorAfterAWhileOrAsSoonAsAnotherOneGoes) {
    acceptsToFail = 3;
    serve();
    const auto before = Clock::now();
    std::list<LoopbackClient> leaving;
    for (int count = 0; count < 20; ++count)
        EXPECT_EQ(leaving.emplace_back(server->binaryTcpPort()).ask(probeRequest), doneAnswer);
    EXPECT_GE(Clock::now() - before, milliseconds(3 * 100));
    EXPECT_EQ(acceptsToFail, 0);
    EXPECT_EQ(events.countBefore("a client waits: Too many open files", "connected"), 1);
    acceptsToFail = 1'000'000;
    LoopbackClient waiting = binary();
    EXPECT_TRUE(events.saw("a client waits", 2));
    const int left = acceptsToFail;
    for (int gone = 1; gone <= 20; ++gone) {
        leaving.pop_back();
        EXPECT_TRUE(events.saw("disconnected", gone));
    }
    // Two that go at once are one reason to try again; by the clock it would be once in 100 ms.
    EXPECT_GT(left - acceptsToFail, 20 / 3);
    acceptsToFail = 0;
    EXPECT_EQ(waiting.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, TurnsTheSixtyFifthClientAway) {
    serve();
    std::list<LoopbackClient> clients;
    for (int count = 0; count < 64; ++count)
        EXPECT_EQ(clients.emplace_back(server->binaryTcpPort()).ask(probeRequest), doneAnswer);
    LoopbackClient last = binary();
    last.read(1);
    EXPECT_NE(last.end(), End::gotAll);
    EXPECT_NE(last.end(), End::timedOut);
    EXPECT_TRUE(events.saw("turned away: 64 clients are connected"));
    clients.pop_back();
    EXPECT_TRUE(events.saw("disconnected"));
    expectThatOthersAreServed();
}

TEST_F(CameraServerTest, AnswersEveryDiscoveryQueryWithTheAddressThatItServesAndNothingElse) {
    serve();
    LoopbackClient client = discoverer();
    ::send(client.descriptor(), nullptr, 0, 0);
    client.send(Bytes(65507, '?'));
    EXPECT_TRUE(events.saw("... (65507 bytes) -> not answered"));
    for (const std::string_view datagram : {std::string_view("AreThereAnyKorvaAround"), discoveryQuery,
                                            std::string_view("hello"), discoveryQuery})
        client.say(datagram);
    EXPECT_EQ(client.datagram(), discoveryReply);
    EXPECT_EQ(client.datagram(), discoveryReply);
    EXPECT_TRUE(events.saw("(discovery) AreThereAnyKorvaAround? -> [Korva --Room Lab --IP 127.0.0.1 "));
    EXPECT_TRUE(events.saw("hello -> not answered"));
    client.giveUpReadingAfter(100);
    EXPECT_EQ(client.datagram(), "nothing came");
}

TEST_F(CameraServerTest, SendsTheDatagramsOfAFaultyReplyWhileOthersAreAnswered) {
    for (const auto& [fault, datagrams, least] : {
             std::tuple("discovery:twice*1", Texts{discoveryReply, discoveryReply}, none),
             std::tuple("discovery:empty*1", Texts{""}, none),
             std::tuple("discovery:drip=30/5*1",
                        Texts{"[Korva --Room Lab --IP 127.0.0", ".1 --NetMask 255.255.255.0]"},
                        milliseconds(5)),
             std::tuple("discovery:delay=60*1", Texts{discoveryReply}, milliseconds(60)),
         }) {
        SCOPED_TRACE(fault);
        serveWith(fault);
        LoopbackClient client = discoverer();
        LoopbackClient other = discoverer();
        const auto before = Clock::now();
        client.say(discoveryQuery);
        EXPECT_TRUE(events.saw(std::string("fault ") + fault));
        other.say(discoveryQuery);
        EXPECT_EQ(other.datagram(), discoveryReply);
        for (const std::string& datagram : datagrams)
            EXPECT_EQ(client.datagram(), datagram);
        EXPECT_GE(Clock::now() - before, least);
    }
}

TEST_F(CameraServerTest, BoundsTheRepliesThatWait) {
    serveWith("discovery:delay=3600000");
    LoopbackClient client = discoverer();
    for (int sent = 0; sent < 1025; ++sent) {
        client.say(discoveryQuery);
        if (sent % 100 == 99) { // lest the socket's own queue overflow
            EXPECT_TRUE(events.saw("fault discovery:delay", sent + 1));
        }
    }
    EXPECT_TRUE(events.saw("too many replies wait"));
}

TEST_F(CameraServerTest, SilentLanguagesAreHeardAndNotAnswered) {
    CameraSettings settings = smallCamera();
    settings.discovery = settings.text = settings.binary = Service::silent;
    serve(settings);
    LoopbackClient clients[] = {text(), binary(), discoverer()};
    clients[0].say("[Version]");
    clients[1].send(probeRequest);
    clients[2].say(discoveryQuery);
    for (const char* line : {"(text) connected", "(binary) connected", "AreThereAnyKorvaAround? -> silent"})
        EXPECT_TRUE(events.saw(line));
    for (LoopbackClient& client : clients) {
        client.giveUpReadingAfter(100);
        EXPECT_TRUE(client.read(1).empty());
        EXPECT_EQ(client.end(), End::timedOut);
    }
}

TEST_F(CameraServerTest, RefusedLanguagesHaveNoPortAndTheOthersAreServed) {
    CameraSettings settings = smallCamera();
    settings.discovery = settings.text = Service::refused;
    serve(settings);
    EXPECT_EQ(server->textTcpPort() + server->discoveryUdpPort(), 0);
    expectThatOthersAreServed();
    settings.discovery = Service::answered;
    settings.binary = Service::refused;
    serve(settings);
    EXPECT_EQ(server->binaryTcpPort(), 0);
    LoopbackClient client = discoverer();
    client.say(discoveryQuery);
    EXPECT_EQ(client.datagram(), discoveryReply);
}

TEST_F(CameraServerTest, TellsWhatHappensLineByLine) {
    serveWith("probe:checksum*1");
    binary().ask(probeRequest);
    EXPECT_TRUE(events.saw("disconnected"));
    EXPECT_THAT(events.lines(), ::testing::Each(StartsWith("127.0.0.1:")));
    EXPECT_THAT(events.lines(),
                ElementsAre(EndsWith(" (binary) connected"), EndsWith(" (binary) probe: format 0 -> Done"),
                            EndsWith(" (binary) fault probe:checksum*1"),
                            EndsWith(" (binary) disconnected")));
}

TEST_F(CameraServerTest, StoppingClosesTheConnectionsAndFreesThePort) {
    ServerOptions options = anyPorts();
    server.emplace(smallCamera(), options);
    server->start();
    LoopbackClient client = binary();
    EXPECT_EQ(client.ask(probeRequest), doneAnswer);
    options.binaryTcpPort = server->binaryTcpPort();
    server->stop();
    server->stop();
    server->run(); // returns, since it is stopped
    client.read(1);
    EXPECT_EQ(client.end(), End::closed);
    server.reset();
    EXPECT_EQ(refusalOf(options), "");
}

TEST(Socket, AcceptedClientSendsSmallMessagesAtOnceAndNeverBlocks) {
    const Socket listener = listenTcp("127.0.0.1", 0);
    EXPECT_FALSE(acceptClient(listener).first.isOpen());
    const LoopbackClient client(portOf(listener));
    const auto [accepted, name] = acceptClient(listener);
    ASSERT_TRUE(accepted.isOpen());
    EXPECT_THAT(name, StartsWith("127.0.0.1:"));
    int noDelay = 0;
    socklen_t size = sizeof noDelay;
    getsockopt(accepted.descriptor(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
    EXPECT_NE(noDelay, 0);
    EXPECT_NE(fcntl(accepted.descriptor(), F_GETFL) & O_NONBLOCK, 0);
}

TEST(CameraServer, NamesAnAddressAndAPortThatItCannotServe) {
    const CameraServer server(smallCamera(), anyPorts());
    const std::uint16_t binary = server.binaryTcpPort();
    const std::uint16_t text = server.textTcpPort();
    const std::uint16_t discovery = server.discoveryUdpPort();
    const std::string taken = " of 127.0.0.1: Address already in use";
    EXPECT_EQ(refusalOf({"127.0.0.1", binary, 0, 0, {}}),
              "Cannot serve TCP port " + std::to_string(binary) + taken);
    EXPECT_EQ(refusalOf({"127.0.0.1", 0, text, 0, {}}),
              "Cannot serve TCP port " + std::to_string(text) + taken);
    EXPECT_EQ(refusalOf({"127.0.0.1", 0, 0, discovery, {}}),
              "Cannot serve UDP port " + std::to_string(discovery) + taken);
    EXPECT_EQ(refusalOf({"192.0.2.1", 0, 0, 0, {}}),
              "Cannot serve TCP port 0 of 192.0.2.1: Cannot assign requested address");
    EXPECT_EQ(refusalOf({"camera.example", 0, 0, 0, {}}),
              "Cannot serve TCP port 0 of camera.example: this is not an IPv4 address such as 127.0.0.1");
}

} // namespace Simulator
