#include "Network/CameraServer.h"

#include "Conversation.h"
#include "LoopbackClient.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/tcp.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>

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
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

using std::chrono::milliseconds;

/// Collects what the server says, and lets a test wait for a line.
class Events {
public:
    EventLog log() {
        return [this](const std::string& line) {
            const std::lock_guard lock(mutex_);
            lines_.push_back(line);
            changed_.notify_all();
        };
    }

    /// Whether `count` lines that contain `part` came within ten seconds.
    bool saw(const std::string& part, int count = 1) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [&] {
            return std::ranges::count_if(lines_, [&](const std::string& line) {
                       return line.find(part) != std::string::npos;
                   }) >= count;
        });
    }

    /// How many lines with `part` came before the first one with `end`.
    int countBefore(const std::string& part, const std::string& end) {
        EXPECT_TRUE(saw(end));
        const auto contains = [](const std::string& text) {
            return [&](const std::string& line) { return line.find(text) != std::string::npos; };
        };
        const std::lock_guard lock(mutex_);
        const auto found = std::ranges::find_if(lines_, contains(end));
        return static_cast<int>(std::count_if(lines_.begin(), found, contains(part)));
    }

    std::vector<std::string> lines() {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

ServerOptions anyPorts(const EventLog& log = {}) {
    ServerOptions options;
    options.binaryTcpPort = options.textTcpPort = options.discoveryUdpPort = 0;
    options.log = log;
    return options;
}

class CameraServerTest : public ::testing::Test {
protected:
    CameraServer& serve(const CameraSettings& settings = smallCamera()) {
        server.emplace(settings, anyPorts(events.log()));
        server->start();
        return *server;
    }

    CameraServer& serveWith(std::string_view fault) {
        CameraSettings settings = smallCamera();
        settings.faults = {parseFault(fault)};
        return serve(settings);
    }

    Events events;
    std::optional<CameraServer> server;
};

std::string refusalOf(const ServerOptions& options) {
    try {
        const CameraServer server(smallCamera(), options);
    } catch (const ServerError& refusal) {
        return refusal.what();
    }
    return "accepted";
}

} // namespace

TEST_F(CameraServerTest, AnswersAWholeCapture) {
    LoopbackClient client(serve().binaryTcpPort());
    EXPECT_EQ(client.ask(probeRequest), doneAnswer);
    EXPECT_EQ(client.ask(configureRequest), doneAnswer);
    EXPECT_EQ(client.ask(takeRequest), doneAnswer);
    Camera same(smallCamera());
    EXPECT_EQ(client.ask(getRequest), *same.pictureAnswer({100, 2, PictureFormat::sgi}));
}

TEST_F(CameraServerTest, SendsLargePicturesWhole) {
    CameraSettings settings;
    settings.model = "M62";
    settings.scene.kind = SceneKind::ramp;
    LoopbackClient client(serve(settings).binaryTcpPort());
    client.ask(configureRequest);
    client.ask(takeRequest);
    const Bytes answer = client.ask(getRequest);
    ASSERT_EQ(answer.size(), 13U + 512 + 2748 * 1836 * 3 * 2);
    EXPECT_EQ(read16(answer, answer.size() - 2), checksumOf(ByteView(answer).first(answer.size() - 2)));
}

TEST_F(CameraServerTest, ServesTwoClientsAtOnce) {
    serve();
    LoopbackClient first(server->binaryTcpPort());
    LoopbackClient second(server->binaryTcpPort());
    EXPECT_EQ(first.ask(configureRequest), doneAnswer);
    EXPECT_EQ(second.ask(takeRequest), errorAnswer(ErrorCode::notConfigured));
    EXPECT_EQ(second.ask(configureRequest), doneAnswer);
    EXPECT_EQ(first.ask(takeRequest), doneAnswer);
    EXPECT_EQ(second.ask(getRequest), errorAnswer(ErrorCode::noPicture));
    EXPECT_EQ(first.ask(getRequest).at(6), 6);
}

TEST_F(CameraServerTest, AnswersRequestsSentTogetherInTheirOrder) {
    LoopbackClient client(serve().binaryTcpPort());
    client.send(joined({probeRequest, takeRequest, probeRequest}));
    EXPECT_EQ(client.read(13 + 17 + 13),
              joined({doneAnswer, errorAnswer(ErrorCode::notConfigured), doneAnswer}));
}

TEST_F(CameraServerTest, AnswersAClientThatHasAlreadyEndedItsSide) {
    LoopbackClient client(serve().binaryTcpPort());
    client.send(joined({probeRequest, probeRequest}));
    shutdown(client.descriptor(), SHUT_WR);
    EXPECT_EQ(client.read(100), joined({doneAnswer, doneAnswer}));
    EXPECT_EQ(client.end(), End::closed);
}

TEST_F(CameraServerTest, GarbageIsAnsweredAndTheConnectionClosedWithoutAReset) {
    LoopbackClient client(serve().binaryTcpPort());
    client.send(Bytes(60000, 'x')); // more than is read before the camera gives up
    EXPECT_EQ(client.read(100), errorAnswer(ErrorCode::badLength));
    EXPECT_EQ(client.end(), End::closed);
}

TEST_F(CameraServerTest, ResetsTheConnection) {
    LoopbackClient client(serveWith("probe:reset").binaryTcpPort());
    EXPECT_TRUE(client.ask(probeRequest).empty());
    EXPECT_EQ(client.end(), End::reset);
}

TEST_F(CameraServerTest, ClosesTheConnection) {
    LoopbackClient client(serveWith("probe:close*1").binaryTcpPort());
    EXPECT_TRUE(client.ask(probeRequest).empty());
    EXPECT_EQ(client.end(), End::closed);
    LoopbackClient next(server->binaryTcpPort());
    EXPECT_EQ(next.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, SendsWithoutEndAndStillServesOthers) {
    LoopbackClient flooded(serveWith("probe:endless*1").binaryTcpPort());
    flooded.send(probeRequest);
    constexpr std::size_t plenty = std::size_t{8} << 20;
    EXPECT_EQ(flooded.read(plenty), Bytes(plenty, 'U'));
    LoopbackClient next(server->binaryTcpPort());
    EXPECT_EQ(next.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, ScattersAnAnswer) {
    LoopbackClient client(serveWith("probe:scatter=3").binaryTcpPort());
    EXPECT_EQ(client.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, ClosesBehindATruncatedAnswer) {
    LoopbackClient client(serveWith("probe:truncate-close=5").binaryTcpPort());
    client.send(probeRequest);
    EXPECT_EQ(client.read(13), bytesOf({1, 0, 0, 0, 0x0D}));
    EXPECT_EQ(client.end(), End::closed);
}

TEST_F(CameraServerTest, StaysSilentAndAnswersTheNextRequest) {
    LoopbackClient client(serveWith("probe:silent*1").binaryTcpPort());
    client.send(probeRequest);
    EXPECT_TRUE(events.saw("fault probe:silent"));
    EXPECT_EQ(client.ask(takeRequest), errorAnswer(ErrorCode::notConfigured));
}

TEST_F(CameraServerTest, DripsAPictureInPieces) {
    LoopbackClient client(serveWith("get:drip=100/3").binaryTcpPort());
    client.ask(configureRequest);
    client.ask(takeRequest);
    const auto before = Clock::now();
    const Bytes answer = client.ask(getRequest);
    const auto took = Clock::now() - before;
    Camera same(smallCamera());
    EXPECT_EQ(answer, *same.pictureAnswer({100, 2, PictureFormat::sgi}));
    ASSERT_EQ(answer.size(), 669U);
    EXPECT_GE(took, milliseconds(6 * 3)); // seven pieces, six pauses
}

TEST_F(CameraServerTest, DelaysAnAnswerWhileOthersAreServed) {
    serveWith("probe:delay=60*1");
    LoopbackClient slow(server->binaryTcpPort());
    LoopbackClient other(server->binaryTcpPort());
    const auto before = Clock::now();
    slow.send(probeRequest);
    EXPECT_TRUE(events.saw("fault probe:delay=60"));
    EXPECT_EQ(other.ask(probeRequest), doneAnswer);
    EXPECT_EQ(slow.read(13), doneAnswer);
    EXPECT_GE(Clock::now() - before, milliseconds(60));
}

TEST_F(CameraServerTest, OutlivesAClientThatLeavesInTheMiddleOfAPicture) {
    CameraSettings settings;
    settings.scene.kind = SceneKind::black;
    serve(settings);
    {
        LoopbackClient client(server->binaryTcpPort());
        client.ask(configureRequest);
        client.ask(takeRequest);
        client.send(getRequest);
        EXPECT_EQ(client.read(1000).size(), 1000U);
    }
    EXPECT_TRUE(events.saw("connection lost"));
    LoopbackClient next(server->binaryTcpPort());
    EXPECT_EQ(next.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, ReadsNoMoreFromAClientThatTakesNoAnswers) {
    CameraSettings settings;
    settings.scene.kind = SceneKind::black;
    serve(settings);
    LoopbackClient greedy(server->binaryTcpPort());
    greedy.send(joined({configureRequest, takeRequest}));
    EXPECT_EQ(greedy.read(26).size(), 26U);
    greedy.giveUpSendingAfter(300);
    Bytes many;
    while (many.size() < 64U << 20)
        many.insert(many.end(), getRequest.begin(), getRequest.end());
    EXPECT_LT(greedy.send(many), many.size());
    LoopbackClient other(server->binaryTcpPort());
    EXPECT_EQ(other.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, AnswersAnotherClientAmidstManyRequestsOfOne) {
    server.emplace(smallCamera(), anyPorts(events.log()));
    LoopbackClient busy(server->binaryTcpPort());
    busy.send(repeated(probeRequest, 1000));
    LoopbackClient other(server->binaryTcpPort());
    other.send(getRequest);
    server->start();
    EXPECT_EQ(other.read(17), errorAnswer(ErrorCode::noPicture));
    // Not all of one client's before the other's turn, which comes with the one after its connection.
    EXPECT_LT(events.countBefore("probe", "get -> "), 3 * Connection::mostStepsPerTurn);
}

TEST_F(CameraServerTest, AnswersAnotherClientWhileAPictureIsRendered) {
    CameraSettings settings;
    settings.scene.kind = SceneKind::noise;
    server.emplace(settings, anyPorts(events.log()));
    LoopbackClient busy(server->binaryTcpPort());
    for (int exposure = 1; exposure <= 250; ++exposure)
        busy.send(joined({configureWith(exposure, 2, 2), takeRequest, getRequest}));
    LoopbackClient other(server->binaryTcpPort());
    other.send(probeRequest);
    server->start();
    EXPECT_EQ(other.read(13), doneAnswer);
    EXPECT_EQ(events.countBefore("GetImage", "probe"), 0);
    server->stop();
}

TEST_F(CameraServerTest, TriesAgainAfterAWhileWhereThereIsNoDescriptorForAClient) {
    acceptsToFail = 3;
    const auto before = Clock::now();
    LoopbackClient client(serve().binaryTcpPort());
    EXPECT_EQ(client.ask(probeRequest), doneAnswer);
    EXPECT_GE(Clock::now() - before, milliseconds(3 * 100));
    EXPECT_EQ(acceptsToFail, 0);
    EXPECT_EQ(events.countBefore("a client waits: Too many open files", "connected"), 1);
}

TEST_F(CameraServerTest, TakesAWaitingClientAsSoonAsAnotherOneGoes) {
    serve();
    std::optional<LoopbackClient> leaving(server->binaryTcpPort());
    EXPECT_EQ(leaving->ask(probeRequest), doneAnswer);
    acceptsToFail = 1'000'000;
    LoopbackClient waiting(server->binaryTcpPort());
    EXPECT_TRUE(events.saw("a client waits"));
    acceptsToFail = 0;
    leaving.reset();
    EXPECT_EQ(waiting.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, TurnsTheSixtyFifthClientAway) {
    serve();
    std::list<LoopbackClient> clients;
    for (int count = 0; count < 64; ++count)
        EXPECT_EQ(clients.emplace_back(server->binaryTcpPort()).ask(probeRequest), doneAnswer);
    LoopbackClient last(server->binaryTcpPort());
    last.read(1);
    EXPECT_NE(last.end(), End::gotAll);
    EXPECT_NE(last.end(), End::timedOut);
    EXPECT_TRUE(events.saw("turned away: 64 clients are connected"));
    clients.pop_back();
    EXPECT_TRUE(events.saw("disconnected"));
    LoopbackClient next(server->binaryTcpPort());
    EXPECT_EQ(next.ask(probeRequest), doneAnswer);
}

TEST_F(CameraServerTest, AnswersTextQueriesSentTogether) {
    LoopbackClient client(serve().textTcpPort());
    client.send(bytesOfText("[SerialNumber --Camera][Version --SW]"));
    EXPECT_EQ(textOfBytes(client.read(49)), "[SerialNumber --Camera 1234][Version --SW 3.2.15]");
    EXPECT_TRUE(events.saw("(text) [Version --SW] -> [Version --SW 3.2.15]"));
}

TEST_F(CameraServerTest, AnswersATextQueryThatComesInPieces) {
    LoopbackClient client(serve().textTcpPort());
    client.send(bytesOfText("[SerialNumber "));
    EXPECT_TRUE(events.saw("(text) connected"));
    LoopbackClient other(server->textTcpPort());
    other.send(bytesOfText("[SerialNumber]"));
    EXPECT_EQ(textOfBytes(other.read(28)), "[SerialNumber --Camera 1234]");
    client.send(bytesOfText("--Camera]"));
    EXPECT_EQ(textOfBytes(client.read(28)), "[SerialNumber --Camera 1234]");
}

TEST_F(CameraServerTest, ClosesATextConnectionThatBringsNoQuery) {
    LoopbackClient client(serve().textTcpPort());
    client.send(Bytes(2000, 'x'));
    EXPECT_THAT(client.read(1), IsEmpty());
    EXPECT_EQ(client.end(), End::closed);
}

TEST_F(CameraServerTest, ResetsATextConnection) {
    LoopbackClient client(serveWith("version:reset").textTcpPort());
    client.send(bytesOfText("[Version]"));
    EXPECT_THAT(client.read(1), IsEmpty());
    EXPECT_EQ(client.end(), End::reset);
}

TEST_F(CameraServerTest, DripsATextReply) {
    LoopbackClient client(serveWith("serial:drip=10/3").textTcpPort());
    const auto before = Clock::now();
    client.send(bytesOfText("[SerialNumber --Camera]"));
    EXPECT_EQ(textOfBytes(client.read(28)), "[SerialNumber --Camera 1234]");
    EXPECT_GE(Clock::now() - before, milliseconds(2 * 3)); // three pieces, two pauses
}

TEST_F(CameraServerTest, AnswersDiscoveryWithTheAddressThatItServes) {
    LoopbackClient client(serve().discoveryUdpPort(), SOCK_DGRAM);
    client.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_EQ(client.datagram(), "[Korva --Room Lab --IP 127.0.0.1 --NetMask 255.255.255.0]");
    EXPECT_TRUE(events.saw("(discovery) AreThereAnyKorvaAround? -> [Korva --Room Lab --IP 127.0.0.1 "));
    EXPECT_THAT(server->broadcasts(), IsEmpty()); // loopback has none
}

TEST_F(CameraServerTest, AnnouncesTheAddressThatItWasTold) {
    CameraSettings settings = smallCamera();
    settings.announcedAddress = "10.77.1.11";
    LoopbackClient client(serve(settings).discoveryUdpPort(), SOCK_DGRAM);
    client.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_EQ(client.datagram(), "[Korva --Room Lab --IP 10.77.1.11 --NetMask 255.255.255.0]");
}

TEST_F(CameraServerTest, AnswersEveryDiscoveryQueryAndNothingElse) {
    LoopbackClient client(serve().discoveryUdpPort(), SOCK_DGRAM);
    for (const char* datagram :
         {"AreThereAnyKorvaAround", "AreThereAnyKorvaAround?", "hello", "AreThereAnyKorvaAround?"})
        client.send(bytesOfText(datagram));
    EXPECT_THAT(client.datagram(), StartsWith("[Korva "));
    EXPECT_THAT(client.datagram(), StartsWith("[Korva "));
    EXPECT_TRUE(events.saw("hello -> not answered"));
    client.giveUpReadingAfter(100);
    EXPECT_EQ(client.datagram(), "nothing came");
}

TEST_F(CameraServerTest, OutlivesEmptyAndLargeDatagrams) {
    LoopbackClient client(serve().discoveryUdpPort(), SOCK_DGRAM);
    ::send(client.descriptor(), nullptr, 0, 0);
    client.send(Bytes(65507, '?'));
    EXPECT_TRUE(events.saw("... (65507 bytes) -> not answered"));
    client.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_THAT(client.datagram(), StartsWith("[Korva "));
}

TEST_F(CameraServerTest, SendsTwoDatagramsWhereAReplyComesTwice) {
    LoopbackClient client(serveWith("discovery:twice").discoveryUdpPort(), SOCK_DGRAM);
    client.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_THAT(client.datagram(), StartsWith("[Korva "));
    EXPECT_THAT(client.datagram(), StartsWith("[Korva "));
}

TEST_F(CameraServerTest, SendsPiecesOfADiscoveryReplyAsDatagrams) {
    LoopbackClient client(serveWith("discovery:drip=30/5").discoveryUdpPort(), SOCK_DGRAM);
    const auto before = Clock::now();
    client.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_EQ(client.datagram(), "[Korva --Room Lab --IP 127.0.0");
    EXPECT_EQ(client.datagram(), ".1 --NetMask 255.255.255.0]");
    EXPECT_GE(Clock::now() - before, milliseconds(5));
}

TEST_F(CameraServerTest, DelaysADiscoveryReplyWhileOthersAreAnswered) {
    LoopbackClient slow(serveWith("discovery:delay=60*1").discoveryUdpPort(), SOCK_DGRAM);
    LoopbackClient other(server->discoveryUdpPort(), SOCK_DGRAM);
    const auto before = Clock::now();
    slow.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_TRUE(events.saw("fault discovery:delay=60*1"));
    other.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_THAT(other.datagram(), StartsWith("[Korva "));
    EXPECT_THAT(slow.datagram(), StartsWith("[Korva "));
    EXPECT_GE(Clock::now() - before, milliseconds(60));
}

TEST_F(CameraServerTest, SendsAnEmptyDatagram) {
    LoopbackClient client(serveWith("discovery:empty").discoveryUdpPort(), SOCK_DGRAM);
    client.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_EQ(client.datagram(), "");
}

TEST_F(CameraServerTest, BoundsTheRepliesThatWait) {
    LoopbackClient client(serveWith("discovery:delay=3600000").discoveryUdpPort(), SOCK_DGRAM);
    for (int sent = 0; sent < 1025; ++sent) {
        client.send(bytesOfText("AreThereAnyKorvaAround?"));
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
    LoopbackClient text(server->textTcpPort());
    LoopbackClient binary(server->binaryTcpPort());
    LoopbackClient discovery(server->discoveryUdpPort(), SOCK_DGRAM);
    text.send(bytesOfText("[Version]"));
    binary.send(probeRequest);
    discovery.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_TRUE(events.saw("(text) connected"));
    EXPECT_TRUE(events.saw("(binary) connected"));
    EXPECT_TRUE(events.saw("AreThereAnyKorvaAround? -> silent"));
    for (LoopbackClient* client : {&text, &binary, &discovery}) {
        client->giveUpReadingAfter(100);
        EXPECT_TRUE(client->read(1).empty());
        EXPECT_EQ(client->end(), End::timedOut);
    }
}

TEST_F(CameraServerTest, RefusedLanguagesHaveNoPort) {
    CameraSettings settings = smallCamera();
    settings.discovery = settings.text = Service::refused;
    serve(settings);
    EXPECT_EQ(server->textTcpPort(), 0);
    EXPECT_EQ(server->discoveryUdpPort(), 0);
    LoopbackClient binary(server->binaryTcpPort());
    EXPECT_EQ(binary.ask(probeRequest), doneAnswer);
    settings.binary = Service::refused;
    EXPECT_EQ(CameraServer(settings, anyPorts()).binaryTcpPort(), 0);
}

TEST_F(CameraServerTest, FindsTheCameraWhoseConnectionsAreRefused) {
    CameraSettings settings = smallCamera();
    settings.text = settings.binary = Service::refused;
    LoopbackClient discovery(serve(settings).discoveryUdpPort(), SOCK_DGRAM);
    discovery.send(bytesOfText("AreThereAnyKorvaAround?"));
    EXPECT_THAT(discovery.datagram(), StartsWith("[Korva "));
}

TEST_F(CameraServerTest, TellsWhatHappensLineByLine) {
    serveWith("probe:checksum*1");
    {
        LoopbackClient client(server->binaryTcpPort());
        client.ask(probeRequest);
    }
    EXPECT_TRUE(events.saw("disconnected"));
    const std::vector<std::string> lines = events.lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines, ::testing::Each(StartsWith("127.0.0.1:")));
    EXPECT_THAT(lines[0], EndsWith(" (binary) connected"));
    EXPECT_THAT(lines[1], EndsWith(" (binary) probe: format 0 -> Done"));
    EXPECT_THAT(lines[2], EndsWith(" (binary) fault probe:checksum*1"));
    EXPECT_THAT(lines[3], EndsWith(" (binary) disconnected"));
}

TEST_F(CameraServerTest, StoppingClosesTheConnections) {
    LoopbackClient client(serve().binaryTcpPort());
    EXPECT_EQ(client.ask(probeRequest), doneAnswer);
    server->stop();
    server->stop();
    client.read(1);
    EXPECT_EQ(client.end(), End::closed);
}

TEST(CameraServer, RunReturnsWhenStoppedFromAnotherThread) {
    CameraServer server(smallCamera(), anyPorts());
    std::thread stopper([&] {
        LoopbackClient client(server.binaryTcpPort());
        EXPECT_EQ(client.ask(probeRequest), doneAnswer);
        server.requestStop();
    });
    server.run();
    stopper.join();
}

TEST(CameraServer, RunReturnsAtOnceWhenStoppedBefore) {
    CameraServer server(smallCamera(), anyPorts());
    server.requestStop();
    server.run();
}

TEST(CameraServer, TakesItsPortAgainRightAfterAnEarlierOneStopped) {
    ServerOptions options = anyPorts();
    {
        CameraServer server(smallCamera(), options);
        options.binaryTcpPort = server.binaryTcpPort();
        server.start();
        LoopbackClient client(server.binaryTcpPort());
        EXPECT_EQ(client.ask(probeRequest), doneAnswer);
        server.stop();
        client.read(1);
        EXPECT_EQ(client.end(), End::closed);
    }
    EXPECT_EQ(refusalOf(options), "accepted");
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

TEST(CameraServer, ServesTheProtocolsPortsUnlessTold) {
    const ServerOptions options;
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.binaryTcpPort, 32769);
    EXPECT_EQ(options.textTcpPort, 32768);
    EXPECT_EQ(options.discoveryUdpPort, 32768);
}

TEST(CameraServer, NamesAPortThatIsTaken) {
    const CameraServer server(smallCamera(), anyPorts());
    ServerOptions options = anyPorts();
    options.binaryTcpPort = server.binaryTcpPort();
    EXPECT_EQ(refusalOf(options), "Cannot serve TCP port " + std::to_string(server.binaryTcpPort()) +
                                      " of 127.0.0.1: Address already in use");
    options = anyPorts();
    options.textTcpPort = server.textTcpPort();
    EXPECT_THAT(refusalOf(options),
                HasSubstr("Cannot serve TCP port " + std::to_string(server.textTcpPort())));
    options = anyPorts();
    options.discoveryUdpPort = server.discoveryUdpPort();
    EXPECT_THAT(refusalOf(options), AllOf(HasSubstr("Cannot serve UDP port "), HasSubstr("already in use")));
}

TEST(CameraServer, NamesAnAddressThatThisMachineDoesNotHave) {
    ServerOptions options = anyPorts();
    options.address = "192.0.2.1";
    EXPECT_EQ(refusalOf(options), "Cannot serve TCP port 0 of 192.0.2.1: Cannot assign requested address");
}

TEST(CameraServer, SaysThatAnAddressIsNone) {
    ServerOptions options = anyPorts();
    options.address = "camera.example";
    EXPECT_EQ(refusalOf(options),
              "Cannot serve TCP port 0 of camera.example: this is not an IPv4 address such as 127.0.0.1");
}

} // namespace Simulator
