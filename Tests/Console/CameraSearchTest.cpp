#include "Console/CameraSearch.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "Console/SearchProgress.h"
#include "Console/ToolLog.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "FakeCamera.h"
#include "Support/LoopbackPeer.h"

#include <gtest/gtest.h>
#include <log4cxx/logger.h>

#include <future>
#include <memory>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using namespace std::chrono_literals;
using Console::CameraSearch;
using Console::CameraTemplatePointer;
using Console::TimeLimits;
using Console::ToolLog;
using End = CameraSearch::End;

namespace {

/// Searches as its test says.
struct PlayedLocator : Tests::FakeLocator {
    void broadcastObserverSearch(BroadcastWorkerObserver* observer, unsigned int) override {
        play(*observer);
        ended.set_value();
    }

    std::function<void(BroadcastWorkerObserver&)> play;
    std::promise<void> ended;
};

/// A search and what it found. A thread that it leaves to itself ends before this.
class CameraSearchTest : public testing::Test {
protected:
    CameraSearchTest() = default;
    ~CameraSearchTest() override {
        release.set_value();
        if (wasLeft)
            locator.ended.get_future().wait();
    }

    End run(TimeLimits::Time time) {
        TimeLimits limits;
        limits.ofEachStep = time;
        CameraSearch search(locator, log, limits);
        const End end = search.await([this](const CameraTemplatePointer& camera) {
            found.push_back(camera->getCameraInfo().getModel());
            if (found.size() == 1 && isSlowToTake)
                locator.ended.get_future().wait();
        });
        elapsed = search.elapsed();
        unasked = search.unasked();
        addresses = search.addresses();
        wasLeft = end != End::over;
        return end;
    }

    void find(BroadcastWorkerObserver& observer, const wchar_t* model) {
        CameraInfo info;
        info.setModel(model);
        observer.deviceFound(new NativeCameraTemplate(type, info, CommunicatorTemplate(&communicator)), 0);
    }

    static void say(const std::string& line) {
        const auto logger = log4cxx::Logger::getLogger(Console::SearchProgress::loggerName);
        if (logger->isInfoEnabled())
            logger->forcedLog(log4cxx::Level::getInfo(), line);
    }

    static void hear(const std::string& address) { say("Message from Korva device: Lab " + address); }

    Tests::FakeType type;
    Tests::FakeCommunicator communicator;
    ToolLog log{{}, nullptr};
    PlayedLocator locator;
    std::promise<void> release;
    std::future<void> released = release.get_future();
    bool wasLeft = false;
    bool isSlowToTake = false; ///< what was found first: the search ends meanwhile
    std::vector<std::wstring> found;
    std::chrono::milliseconds elapsed{0};
    std::size_t unasked = 0;
    std::vector<std::string> addresses;
};

} // namespace

TEST_F(CameraSearchTest, HandsOverWhatIsFoundInItsOrder) {
    isSlowToTake = true;
    locator.play = [this](auto& observer) {
        for (const wchar_t* model : {L"one", L"two", L"three"})
            find(observer, model);
    };
    EXPECT_EQ(run(10min), End::over);
    EXPECT_EQ(found, (std::vector<std::wstring>{L"one", L"two", L"three"}));
    EXPECT_FALSE(Console::isThreadLeftBehind());
}

TEST_F(CameraSearchTest, PassesOnWhatItThrew) {
    locator.play = [](auto&) { throw std::runtime_error("no search"); };
    EXPECT_THROW(run(10min), std::runtime_error);
}

TEST_F(CameraSearchTest, RunsWhereNoSignalReachesItThatWaitsForAFileToBeWhole) {
    bool takesHangUps = true;
    locator.play = [&](auto&) {
        sigset_t held{};
        pthread_sigmask(SIG_BLOCK, nullptr, &held);
        takesHangUps = sigismember(&held, SIGHUP) == 0;
    };
    EXPECT_EQ(run(10min), End::over);
    EXPECT_FALSE(takesHangUps);
}

TEST_F(CameraSearchTest, IsLeftToItselfWhereCamerasHoldItBeyondItsTime) {
    locator.play = [this](auto& observer) {
        say("broadcastObserverSearch..");
        hear("10.0.0.5");
        hear("10.0.0.6");
        say("Last recv returned: -1 WSAError: 10060");
        find(observer, L"one");
        released.wait();
        hear("10.0.0.7");
        find(observer, L"late");
    };
    EXPECT_EQ(run(40ms), End::stillAsking);
    EXPECT_GE(elapsed, 40ms);
    EXPECT_EQ(found, std::vector<std::wstring>{L"one"});
    EXPECT_EQ(unasked, 2u);
    EXPECT_TRUE(Console::isThreadLeftBehind());
}

TEST_F(CameraSearchTest, SaysThatItIsNotFollowedWhereItsLinesAreOff) {
    locator.play = [this](auto&) { released.wait(); };
    EXPECT_EQ(run(40ms), End::unfollowed);
}

TEST_F(CameraSearchTest, LastsAsLongAsItLikesWhereItsTimeHasNoLimit) {
    // Longer than any is waited for beyond its time.
    locator.play = [this](auto&) { released.wait_for(700ms); };
    EXPECT_EQ(run(0ms), End::over);
}

/// The time of a search, when it no longer listens, and what that is called.
using Listening = std::tuple<TimeLimits::Time, TimeLimits::Time, End>;

class AListeningSearch : public CameraSearchTest, public testing::WithParamInterface<Listening> {};

TEST_P(AListeningSearch, IsLeftToItselfOnceItsTimeToListenIsOver) {
    const auto& [time, listened, end] = GetParam();
    locator.play = [this](auto&) {
        say("broadcastObserverSearch..");
        hear("10.0.0.5");
        released.wait();
    };
    EXPECT_EQ(run(time), end);
    EXPECT_GE(elapsed, listened);
    EXPECT_LT(elapsed, time);
    EXPECT_EQ(addresses, std::vector<std::string>{"10.0.0.5"});
}

INSTANTIATE_TEST_SUITE_P(CameraSearchTest, AListeningSearch,
                         testing::Values(Listening{1900ms, 950ms, End::tooShort},
                                         Listening{2000ms, 1500ms, End::stillListening}));

TEST_F(CameraSearchTest, EndsTheConnectionsOfACameraThatHoldsIt) {
    const TestSupport::LoopbackPeer peer(
        [](TestSupport::PeerConnection& client) { client.drip("x", 500, 10ms); });
    std::string reason;
    locator.play = [&](auto&) {
        const std::unique_ptr<EthernetCommunicator> camera(
            ClientFactory::createEthernetCommunicator(L"127.0.0.1", peer.port(), -1));
        try {
            const Connector hold(*camera);
            char byte = 0;
            while (camera->readBytes(&byte, 1, 1, 10'000) > 0) {
            }
        } catch (const DeviceException& exception) {
            reason = exception.what();
        }
    };
    EXPECT_EQ(run(300ms), End::over);
    EXPECT_NE(reason.find(", the connection may be held 0.1 s"), std::string::npos) << reason;
}
