// How many pictures `korva capture` fetches at a time, as their cameras see it.

#include "Console/FetchGate.h"
#include "Network/Socket.h"
#include "ServedSet.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <list>
#include <netinet/in.h>
#include <poll.h>
#include <regex>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

using namespace Integration;
using namespace std::chrono_literals;
using Simulator::Socket;

namespace {

constexpr std::size_t pictureBytes = 512 + std::size_t{2748} * 1836 * 3 * 2;

/// One connection of the tool's to a camera, whose answers pass through here.
struct Passage {
    Socket tool;
    Socket camera;
    std::vector<char> waiting{}; ///< for the tool
    std::size_t passed = 0;      ///< to the tool
};

/// Stands at the usual ports for pictures of cameras that have others, as their greeting says, and sees how
/// far each picture has come.
class Passages {
public:
    explicit Passages(const std::string& greeting) {
        static const std::regex place(R"(binary protocol on TCP ([0-9.]+):(\d+))");
        for (std::sregex_iterator at(greeting.begin(), greeting.end(), place), end; at != end; ++at) {
            listeners_.push_back(Simulator::listenTcp((*at)[1], 32769));
            cameras_.push_back({.sin_family = AF_INET,
                                .sin_port = htons(static_cast<std::uint16_t>(std::stoi((*at)[2]))),
                                .sin_addr = {inet_addr((*at)[1].str().c_str())},
                                .sin_zero = {}});
        }
        thread_ = std::jthread([this](const std::stop_token& end) {
            while (!end.stop_requested())
                passOn();
        });
    }

    void stop() {
        thread_.request_stop();
        thread_.join();
    }

    std::size_t mostAtATime = 0; ///< pictures in their second half, into which only a place lets them come
    std::size_t begunBeforeTheFirst = 0; ///< pictures that were coming when the first was there
    std::size_t ended = 0;               ///< pictures that are there

private:
    void passOn() {
        std::vector<pollfd> watched;
        for (const Socket& listener : listeners_)
            watched.push_back({listener.descriptor(), POLLIN, 0});
        for (const Passage& each : passages_) {
            watched.push_back({each.tool.descriptor(), POLLIN, 0});
            watched.push_back({each.camera.descriptor(), POLLIN, 0});
        }
        poll(watched.data(), watched.size(), 2);
        for (Passage& each : passages_) {
            std::array<char, 4096> buffer{};
            const ssize_t asked = recv(each.tool.descriptor(), buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (asked > 0)
                send(each.camera.descriptor(), buffer.data(), static_cast<std::size_t>(asked), MSG_NOSIGNAL);
            passTo(each);
        }
        count();
        for (std::size_t at = 0; at < listeners_.size(); ++at)
            if (auto client = Simulator::acceptClient(listeners_[at]).first; client.isOpen())
                open(std::move(client), cameras_[at]);
    }

    void open(Socket client, const sockaddr_in& there) {
        const int little = 1 << 20;
        setsockopt(client.descriptor(), SOL_SOCKET, SO_SNDBUF, &little, sizeof little);
        Socket camera(socket(AF_INET, SOCK_STREAM, 0));
        EXPECT_EQ(connect(camera.descriptor(), reinterpret_cast<const sockaddr*>(&there), sizeof there), 0);
        passages_.push_back({std::move(client), std::move(camera)});
    }

    static void passTo(Passage& each) {
        if (each.waiting.empty()) {
            each.waiting.resize(std::size_t{1} << 19);
            const ssize_t came =
                recv(each.camera.descriptor(), each.waiting.data(), each.waiting.size(), MSG_DONTWAIT);
            each.waiting.resize(static_cast<std::size_t>(std::max<ssize_t>(came, 0)));
        }
        const ssize_t taken = send(each.tool.descriptor(), each.waiting.data(), each.waiting.size(),
                                   MSG_DONTWAIT | MSG_NOSIGNAL);
        if (taken <= 0)
            return;
        each.passed += static_cast<std::size_t>(taken);
        each.waiting.erase(each.waiting.begin(), each.waiting.begin() + taken);
    }

    void count() {
        const auto number = [this](std::size_t from, std::size_t to) {
            return static_cast<std::size_t>(std::ranges::count_if(
                passages_, [&](const Passage& each) { return each.passed > from && each.passed < to; }));
        };
        constexpr std::size_t otherAnswers = 4096;
        // What is fetched without a place, and what the system takes for a program that does not read.
        constexpr std::size_t halfOfIt = pictureBytes / 2;
        mostAtATime = std::max(mostAtATime, number(halfOfIt, pictureBytes));
        ended = number(pictureBytes, pictureBytes + otherAnswers);
        if (ended == 0)
            begunBeforeTheFirst = number(otherAnswers, pictureBytes);
    }

    std::vector<Socket> listeners_;
    std::vector<sockaddr_in> cameras_;
    std::list<Passage> passages_;
    std::jthread thread_;
};

} // namespace

TEST(FetchedPictures, AreNoMoreAtATimeThanThereAreCoresThoughAllAreExposedAtOnce) {
    const nlohmann::json camera = {{"port", 0},
                                   {"hardware", "M62"},
                                   {"size", "2748x1836"},
                                   {"wait-exposure", true},
                                   {"faults", {"get:drip=300000/5"}}};
    const std::size_t places = Console::FetchGate::placesOfThisComputer();
    const std::size_t cameras = places + 2;
    ServedSet set(Cameras(cameras, camera));
    EXPECT_TRUE(set.served->process.waitForOutput(set.addresses.back() + ":32768\n"));
    Passages passages(set.served->process.output());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(runTool(set.captureArguments()), ended(0, lines(cameras + 1), ""));
    const bool hasOneWaitedTooLong =
        std::chrono::steady_clock::now() - begin > Console::FetchGate::longestWait;
    passages.stop();
    EXPECT_GE(passages.mostAtATime, 1u);
    EXPECT_LE(passages.mostAtATime, hasOneWaitedTooLong ? 2 * places : places);
    EXPECT_GT(passages.begunBeforeTheFirst, places) << "more than could expose if it took a place";
    EXPECT_EQ(passages.ended, cameras);
}
