#include "Network/Connection.h"

#include "Conversation.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <functional>

namespace Simulator {

using namespace Testing;

namespace {

/// Answers as it is told, and counts how often it is asked.
class CountingSession : public Session {
public:
    CountingSession(int& asked, std::function<std::optional<Reaction>()> answer)
        : asked_(asked), answer_(std::move(answer)) {}

    void append(ByteView) override {}
    std::optional<Reaction> next() override {
        ++asked_;
        return answer_();
    }
    bool isWorking() const override { return !answer_(); }
    std::size_t waitingBytes() const override { return 0; }

private:
    int& asked_;
    std::function<std::optional<Reaction>()> answer_;
};

/// A connection whose other end reads nothing, and which has an answer ready whenever it is asked.
class Turns : public ::testing::Test {
protected:
    Connection& connect(const std::function<std::optional<Reaction>()>& answer) {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()), 0);
        other = Socket(ends[1]);
        return connection.emplace(Socket(ends[0]), "client", std::make_unique<CountingSession>(asked, answer),
                                  log);
    }

    Connection& connectSending(const SendBytes& sending) {
        return connect([sending] { return Reaction{{sending}, {}}; });
    }

    std::size_t arrivedBytes() const {
        int bytes = 0;
        ioctl(other.descriptor(), FIONREAD, &bytes);
        return static_cast<std::size_t>(bytes);
    }

    const EventLog log = [](const std::string&) {};
    const Clock::time_point now = Clock::now();
    int asked = 0;
    Socket other;
    std::optional<Connection> connection;
};

SendBytes bytesToSend(std::size_t count, std::size_t pieceBytes) {
    return {std::make_shared<const Bytes>(count), count, pieceBytes, {}, false};
}

} // namespace

TEST_F(Turns, AnswerSoManyRequestsAndGoOnInTheNextWithoutAnEvent) {
    Connection& client = connect([] { return Reaction(); });
    for (int turn = 1; turn <= 3; ++turn) {
        client.advance(0, now);
        EXPECT_EQ(asked, turn * Connection::mostStepsPerTurn);
        ASSERT_TRUE(client.wakeTime());
        EXPECT_LT(*client.wakeTime(), now);
    }
}

TEST_F(Turns, EndWithEachPieceOfAPictureInTheMaking) {
    Connection& client = connect([] { return std::nullopt; });
    for (int turn = 1; turn <= 3; ++turn) {
        client.advance(0, now);
        EXPECT_EQ(asked, turn);
        ASSERT_TRUE(client.wakeTime());
        EXPECT_LT(*client.wakeTime(), now);
    }
}

TEST_F(Turns, SendSoManyPieces) {
    Connection& client = connectSending(bytesToSend(1000, 1));
    client.advance(0, now);
    // One step goes to the request, one in each turn to its answer as a whole.
    EXPECT_EQ(arrivedBytes(), Connection::mostStepsPerTurn - 2U);
    EXPECT_EQ(client.wantedEvents() & POLLOUT, POLLOUT);
    client.advance(POLLOUT, now);
    EXPECT_EQ(arrivedBytes(), 2U * Connection::mostStepsPerTurn - 3);
}

TEST_F(Turns, SendSoManyBytesOfHoweverManyAnswers) {
    constexpr std::size_t each = Connection::mostBytesPerTurn / 4 + 1;
    Connection& client = connectSending(bytesToSend(each, 0));
    int room = 8 << 20;
    setsockopt(client.descriptor(), SOL_SOCKET, SO_SNDBUFFORCE, &room, sizeof room);
    client.advance(0, now);
    EXPECT_EQ(asked, 4);
    EXPECT_LE(arrivedBytes(), Connection::mostBytesPerTurn);
    EXPECT_EQ(client.wantedEvents() & POLLOUT, POLLOUT);
}

TEST_F(Turns, AskForNothingBeforeTheirAnswerIsSent) {
    Connection& client = connectSending(bytesToSend(std::size_t{16} << 20, 0));
    for (int turn = 0; turn < 3; ++turn)
        client.advance(POLLOUT, now);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(client.wakeTime(), std::nullopt); // it waits for the client to read
}

} // namespace Simulator
