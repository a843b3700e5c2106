#include "Network/Connection.h"

#include "Conversation.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <tuple>

namespace Simulator {

using namespace Testing;

namespace {

using Answer = std::optional<Reaction>;

/// Gives the same answer, or works on it, as often as it is asked, and counts that.
class CountingSession : public Session {
public:
    CountingSession(int& asked, Answer answer) : asked_(asked), answer_(std::move(answer)) {}

    void append(ByteView) override {}
    Answer next() override {
        ++asked_;
        return answer_;
    }
    bool isWorking() const override { return !answer_; }
    std::size_t waitingBytes() const override { return 0; }

private:
    int& asked_;
    Answer answer_;
};

/// A connection whose other end reads nothing.
struct Turns : ::testing::Test {
    Connection& connect(const Answer& answer) {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()), 0);
        other = Socket(ends[1]);
        asked = 0;
        return connection.emplace(Socket(ends[0]), "client", std::make_unique<CountingSession>(asked, answer),
                                  log);
    }
    Connection& connectSending(std::size_t count, std::size_t pieceBytes) {
        return connect(
            Reaction{{SendBytes{std::make_shared<const Bytes>(count), count, pieceBytes, {}}}, {}});
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

} // namespace

TEST_F(Turns, AnswerSoManyRequestsOrMakeAPieceOfAPictureAndGoOnInTheNextWithoutAnEvent) {
    for (const auto& [answer, askedEachTurn] :
         {std::tuple(Answer(Reaction()), Connection::mostStepsPerTurn), std::tuple(Answer(), 1)}) {
        Connection& client = connect(answer);
        for (int turn = 1; turn <= 3; ++turn) {
            client.advance(0, now);
            EXPECT_EQ(asked, turn * askedEachTurn);
            ASSERT_TRUE(client.wakeTime());
            EXPECT_LT(*client.wakeTime(), now);
        }
    }
}

TEST_F(Turns, SendSoManyPieces) {
    Connection& client = connectSending(1000, 1);
    client.advance(0, now);
    // One step goes to the request, one in each turn to its answer as a whole.
    EXPECT_EQ(arrivedBytes(), Connection::mostStepsPerTurn - 2U);
    EXPECT_EQ(client.wantedEvents() & POLLOUT, POLLOUT);
    client.advance(POLLOUT, now);
    EXPECT_EQ(arrivedBytes(), 2U * Connection::mostStepsPerTurn - 3);
}

TEST_F(Turns, SendSoManyBytesOfHoweverManyAnswers) {
    Connection& client = connectSending(Connection::mostBytesPerTurn / 4 + 1, 0);
    int room = 8 << 20;
    setsockopt(client.descriptor(), SOL_SOCKET, SO_SNDBUFFORCE, &room, sizeof room);
    client.advance(0, now);
    EXPECT_EQ(asked, 4);
    EXPECT_LE(arrivedBytes(), Connection::mostBytesPerTurn);
    EXPECT_EQ(client.wantedEvents() & POLLOUT, POLLOUT);
}

TEST_F(Turns, AskForNothingBeforeTheirAnswerIsSent) {
    Connection& client = connectSending(std::size_t{16} << 20, 0);
    for (int turn = 0; turn < 3; ++turn)
        client.advance(POLLOUT, now);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(client.wakeTime(), std::nullopt); // it waits for the client to read
}

} // namespace Simulator
