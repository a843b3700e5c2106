#include "Platform/PortQuestions.h"
#include "Platform/QuerySocket.h"
#include "Platform/Terminal.h"

#include "Support/LoopbackPeer.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;
using Platform::askPorts;
using Platform::Clock;
using Platform::PortAnswer;
using Platform::PortQuestion;
using Platform::QuerySocket;
using TestSupport::DatagramPeer;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;
using TestSupport::Stopwatch;
using Outcome = PortAnswer::Outcome;

namespace {

const std::uint32_t loopback = htonl(INADDR_LOOPBACK);

PortQuestion question(int port, std::string text = "[Version]") {
    return {loopback, static_cast<std::uint16_t>(port), std::move(text), ']'};
}

/// A port at which nobody listens.
int freePort() {
    LoopbackPeer peer([](PeerConnection&) {});
    askPorts({question(peer.port(), "")}, Clock::now() + 5s); // or it would wait for its connection
    return peer.port();
}

/// What a port answers to "[Version]" within a short time.
PortAnswer answerTo(LoopbackPeer::Script script, std::chrono::milliseconds time = 5s) {
    LoopbackPeer peer(std::move(script));
    return askPorts({question(peer.port())}, Clock::now() + time).at(0);
}

} // namespace

TEST(PortQuestions, AreAnsweredUpToTheLastCharacterTheEndOrTheBoundOrTheDeadline) {
    const PortAnswer complete = answerTo([](PeerConnection& peer) {
        EXPECT_EQ(peer.receive(9), "[Version]");
        peer.drip("[--SW ", 1, 20ms);
        peer.drip("3]", 1, 0ms);
    });
    EXPECT_EQ(complete.outcome, Outcome::open);
    EXPECT_EQ(complete.text, "[--SW 3]");
    EXPECT_FALSE(complete.ended);

    const PortAnswer ended = answerTo([](PeerConnection& peer) {
        peer.receive(9);
        peer.drip("half", 1, 0ms);
        peer.close();
    });
    EXPECT_EQ(ended.outcome, Outcome::open);
    EXPECT_EQ(ended.text, "half");
    EXPECT_TRUE(ended.ended);

    const PortAnswer endless = answerTo([](PeerConnection& peer) { peer.drip("garbage", 100, 0ms); });
    EXPECT_EQ(endless.text.size(), Platform::portAnswerBytes);

    const Stopwatch watch;
    const PortAnswer silent = answerTo([](PeerConnection& peer) { peer.drip("x", 1, 0ms); }, 150ms);
    EXPECT_GE(watch.elapsed(), 150ms);
    EXPECT_EQ(silent.outcome, Outcome::open);
    EXPECT_EQ(silent.text, "x");
    EXPECT_FALSE(silent.ended);
}

TEST(PortQuestions, AreAskedSideBySideAndAnsweredInTheirOrder) {
    const int closed = freePort();
    const auto answer = [](const std::string& text) {
        return [text](PeerConnection& peer) {
            peer.receive(9);
            peer.drip(text, 1, 0ms);
        };
    };
    LoopbackPeer first(answer("[1]"));
    LoopbackPeer quiet([](PeerConnection&) {});
    LoopbackPeer last(answer("[3]"));
    std::vector<PortQuestion> questions{question(first.port()), question(closed), question(quiet.port(), ""),
                                        question(last.port())};
    const Stopwatch watch;
    const std::vector<PortAnswer> answers = askPorts(questions, Clock::now() + 5s);
    EXPECT_LT(watch.elapsed(), 2s) << "as soon as all have answered";
    ASSERT_EQ(answers.size(), 4u);
    EXPECT_EQ(answers[0].text, "[1]");
    EXPECT_EQ(answers[1].outcome, Outcome::refused);
    EXPECT_EQ(answers[1].reason, "Connection refused");
    EXPECT_EQ(answers[2].outcome, Outcome::open);
    EXPECT_EQ(answers[2].text, "");
    EXPECT_EQ(answers[3].text, "[3]");
    EXPECT_TRUE(askPorts({}, Clock::now() + 5s).empty());
    EXPECT_EQ(askPorts(questions, Clock::now())[0].outcome, Outcome::notAsked);
}

TEST(PortQuestions, MoreThanAreAskedAtATimeTakeTheirTurn) {
    const std::vector<PortQuestion> many(2 * Platform::portsAtATime + 1, question(freePort()));
    for (const PortAnswer& answer : askPorts(many, Clock::now() + 20s))
        EXPECT_EQ(answer.outcome, Outcome::refused);
}

TEST(PortQuestions, LeaveNothingOpenAndSayWhatTheSystemLacks) {
    const int closed = freePort();
    const std::size_t before = TestSupport::openDescriptors();
    {
        LoopbackPeer quiet([](PeerConnection&) {});
        askPorts({question(closed), question(quiet.port())}, Clock::now() + 100ms);
    }
    EXPECT_EQ(TestSupport::openDescriptors(), before);
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit none{0, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const PortAnswer answer = askPorts({question(closed)}, Clock::now() + 5s).at(0);
    QuerySocket socket;
    setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(answer.outcome, Outcome::failed);
    EXPECT_EQ(answer.reason, "Too many open files");
    EXPECT_EQ(socket.failure(), "Too many open files");
    EXPECT_EQ(socket.send("x", loopback, 9), "Too many open files");
    EXPECT_FALSE(socket.receive(Clock::now() + 5s));
}

TEST(PortQuestions, AndDatagramsAreNotWaitedForAfterAnInterrupt) {
    // Without a thread, which a child of this process would lack.
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int quiet = TestSupport::bindToFreePort(listener);
    ASSERT_EQ(listen(listener, 1), 0);
    const auto waitInterrupted = [quiet] {
        Platform::catchInterrupts();
        std::jthread interrupt([] {
            std::this_thread::sleep_for(50ms); // has them wait by then; sooner is an end, too
            kill(getpid(), SIGINT);
        });
        const Stopwatch watch;
        askPorts({question(quiet)}, Clock::now() + 20s);
        const bool wasInterrupted = Platform::interrupted();
        QuerySocket().receive(Clock::now() + 20s);
        std::_Exit(wasInterrupted && watch.elapsed() < 1s ? 0 : 1);
    };
    EXPECT_EXIT(waitInterrupted(), testing::ExitedWithCode(0), "");
    close(listener);
}

TEST(QuerySockets, TellWhoAnsweredAndNoMoreThanTheFirstBytes) {
    DatagramPeer peer;
    QuerySocket socket;
    EXPECT_EQ(socket.failure(), "");
    EXPECT_EQ(socket.send("AreYouThere?", loopback, static_cast<std::uint16_t>(peer.port())), "");
    EXPECT_EQ(peer.receive(), "AreYouThere?");
    peer.answer("");
    peer.answer(std::string(300, 'x'));
    const auto empty = socket.receive(Clock::now() + 5s);
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->text, "");
    EXPECT_EQ(empty->source, loopback);
    EXPECT_EQ(empty->adapterIndex, 1u);
    const auto longer = socket.receive(Clock::now());
    ASSERT_TRUE(longer) << "also if the deadline is past";
    EXPECT_EQ(longer->text, std::string(QuerySocket::datagramBytes, 'x'));
    const Stopwatch watch;
    EXPECT_FALSE(socket.receive(Clock::now() + 150ms));
    EXPECT_GE(watch.elapsed(), 150ms);
}
