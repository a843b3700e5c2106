#include "Platform/TcpSocket.h"
#include "Support/LoopbackPeer.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <semaphore>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <tuple>
#include <unistd.h>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using std::chrono::milliseconds;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

static std::binary_semaphore slowNameMayEnd(0);

// In the place of the system's, for this program, so that no name server is asked.
extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found) {
    static const auto system = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string_view name = host;
    if (name == "unknown.test")
        return EAI_NONAME;
    if (name == "slow.test") {
        slowNameMayEnd.acquire();
        return EAI_AGAIN;
    }
    if (name != "two.test")
        return system(host, service, hints, found);
    const int result = system("127.0.0.2", service, hints, found);
    return result != 0 ? result : system("127.0.0.1", service, hints, &(*found)->ai_next);
}

namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20;
constexpr const char* timedOut = "timed out: Connection timed out";

/// The other end, at a port of loopback that the system chooses: one connection at a time. What takes longer
/// than 5 s fails.
struct TcpPeer {
    TcpPeer() { EXPECT_EQ(listen(listener, 0), 0); }
    TcpPeer(const TcpPeer&) = delete;
    TcpPeer& operator=(const TcpPeer&) = delete;
    ~TcpPeer() {
        close();
        ::close(listener);
    }

    void accept() {
        connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        EXPECT_GE(connection, 0);
    }
    void send(std::string_view text) const {
        EXPECT_EQ(::send(connection, text.data(), text.size(), MSG_NOSIGNAL), std::ssize(text));
    }
    std::string receive(std::size_t count) const {
        std::string text(count, '\0');
        EXPECT_EQ(recv(connection, text.data(), count, MSG_WAITALL), std::ssize(text));
        return text;
    }
    void close() {
        ::close(connection);
        connection = -1;
    }
    void reset() {
        const linger abort{1, 0};
        setsockopt(connection, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        close();
    }

    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const std::uint16_t port = static_cast<std::uint16_t>(TestSupport::bindToFreePort(listener));
    int connection = -1;
};

/// "done", or how it ended and why.
std::string told(const SocketResult& result) {
    constexpr const char* endings[] = {"done", "timed out: ", "closed: ", "failed: "};
    return endings[static_cast<int>(result.status)] + result.reason;
}

struct TcpSocket : testing::Test {
    void connect(const std::string& host = "127.0.0.1") {
        EXPECT_EQ(told(socket.open(host, peer.port, 5s)), "done");
        peer.accept();
    }
    /// From now on the port takes no connection and refuses none.
    void fillQueue() { EXPECT_EQ(told(first.open("127.0.0.1", peer.port, 5s)), "done"); }

    /// The text that comes within `time`, at most `most` bytes, or why none came.
    std::string receive(milliseconds time = 5s, std::size_t most = 64) {
        std::string text(most, '\0');
        const SocketResult result =
            socket.receive(text.data(), most, Platform::TcpSocket::Clock::now() + time);
        return result.status == SocketStatus::done ? text.substr(0, result.bytes) : told(result);
    }
    SocketResult send(const std::string& text, milliseconds stall = 5s) {
        return socket.send(text.data(), text.size(), stall);
    }

    TcpPeer peer;
    Platform::TcpSocket socket, first;
};

} // namespace

TEST_F(TcpSocket, ConnectsByAddressByNameAndToEachAddressOfAName) {
    EXPECT_FALSE(socket.isOpen());
    for (const char* const host : {"127.0.0.1", "localhost", "two.test"}) {
        connect(host);
        EXPECT_TRUE(socket.isOpen());
        peer.send("abc");
        EXPECT_EQ(receive(), "abc");
        peer.close();
    }
    socket.close();
    socket.close();
    EXPECT_FALSE(socket.isOpen());
}

TEST_F(TcpSocket, SendsWithoutDelayAndIsKeptAlive) {
    const int descriptor = dup(0); // the number of the next one that is opened
    close(descriptor);
    connect();
    for (const auto& [level, name] :
         {std::pair<int, int>(IPPROTO_TCP, TCP_NODELAY), {SOL_SOCKET, SO_KEEPALIVE}}) {
        int value = 0;
        socklen_t length = sizeof value;
        EXPECT_EQ(getsockopt(descriptor, level, name, &value, &length), 0);
        EXPECT_NE(value, 0);
    }
}

TEST_F(TcpSocket, EndsAConnectAndALookUpInTimeWithTheReasonAlsoAmidstSignals) {
    fillQueue();
    const SignalStorm storm;
    const std::uint16_t refusing = TcpPeer().port;
    for (const auto& [host, port, time, ending] : {
             std::tuple("127.0.0.1", refusing, 0ms, "failed: Connection refused"),
             std::tuple("127.0.0.1", peer.port, 40ms, timedOut),
             std::tuple("unknown.test", refusing, 0ms, "failed: Name or service not known"),
             std::tuple("slow.test", refusing, 30ms, "timed out: Name resolution timed out"),
         }) {
        const Stopwatch stopwatch;
        EXPECT_EQ(told(socket.open(host, port, time == 0ms ? 5s : time)), ending);
        EXPECT_GE(stopwatch.elapsed(), time);
        EXPECT_FALSE(socket.isOpen());
    }
    slowNameMayEnd.release();
    EXPECT_GT(storm.handled(), 0);
}

TEST_F(TcpSocket, LeavesNoDescriptorBehind) {
    fillQueue();
    const TcpPeer others[2];
    const std::uint16_t refusing = TcpPeer().port;
    const std::size_t before = TestSupport::openDescriptors();
    {
        Platform::TcpSocket other;
        for (const std::uint16_t port : {others[0].port, refusing, peer.port, others[1].port})
            other.open("127.0.0.1", port, 1ms);
    }
    EXPECT_EQ(TestSupport::openDescriptors(), before);
}

TEST_F(TcpSocket, EndsASendThatThePeerDoesNotTake) {
    connect();
    const Stopwatch stopwatch;
    const SocketResult result = send(std::string(64 * megabyte, 'x'), 30ms);
    EXPECT_EQ(told(result), timedOut);
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    EXPECT_LT(result.bytes, 64 * megabyte);
}

TEST_F(TcpSocket, RaisesNoSignalWhereThePeerIsGone) {
    connect();
    peer.reset();
    EXPECT_EQ(receive(), "failed: Connection reset by peer");
    EXPECT_EQ(told(send("x")), "failed: Broken pipe");
}

TEST_F(TcpSocket, ReceivesNoMoreThanAskedUntilTheDeadlineAndLooksEvenIfThatIsPast) {
    connect();
    peer.send("abcdef");
    EXPECT_EQ(receive(5s, 4), "abcd");
    EXPECT_EQ(receive(-1ms), "ef");
    EXPECT_EQ(receive(-1ms), timedOut);
    const Stopwatch stopwatch;
    EXPECT_EQ(receive(30ms), timedOut);
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    peer.close();
    EXPECT_EQ(receive(), "closed: Connection closed by the peer");
}

TEST_F(TcpSocket, SendsAllToAPeerThatTakesItLateAndSurvivesInterruptionsBySignals) {
    const SignalStorm storm;
    std::string sent(4 * megabyte, 'x');
    for (std::size_t at = 0; at < sent.size(); at += 1000)
        sent[at] = static_cast<char>(at / 1000);
    std::string received;
    connect();
    std::thread late([&] {
        storm.awaitMore(2);
        peer.send("abc");
        storm.awaitMore(2);
        received = peer.receive(sent.size());
    });
    EXPECT_EQ(receive(), "abc");
    const SocketResult result = send(sent);
    EXPECT_EQ(told(result), "done");
    EXPECT_EQ(result.bytes, sent.size());
    late.join();
    EXPECT_TRUE(received == sent);
}

TEST_F(TcpSocket, FailsWithAReasonWhereItIsNotOpen) {
    EXPECT_EQ(receive(), "failed: Bad file descriptor");
    EXPECT_EQ(told(send("x")), "failed: Bad file descriptor");
    EXPECT_EQ(told(socket.discardUnread(5s, {megabyte, 5s})), "failed: Bad file descriptor");
}
