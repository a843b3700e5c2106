// Several host threads with a camera each, over real sockets, with the plug-in loaded as a host does it.

#include "HostThreads.h"

#include <string>

using namespace Soak;

namespace {

class HostThreads : public HostThreadsFixture {
protected:
    HostThreads() : HostThreadsFixture(false) {}
};

} // namespace

TEST_F(HostThreads, GetEachThePicturesOfItsOwnCamera) {
    constexpr std::uint64_t rounds = 8;
    together(1, [this](SoakedCamera& camera, std::size_t) {
        camera.serve();
        camera.buildFromConnection(type(), true, "build");
        camera.useExposures(SoakedCamera::fewExposures); // so that all are ready at about the same time
    });
    together(rounds, [](SoakedCamera& camera, std::size_t) {
        camera.capture(Expect::picture, "beside others"); // sets a health callback of its own
        camera.probe(true, "beside others");
    });
    EXPECT_EQ(tally_.findings, 0u);
    EXPECT_EQ(tally_.good, rounds * hostThreadsCameras);
    EXPECT_EQ(tally_.probes, rounds * hostThreadsCameras);
}

TEST_F(HostThreads, AreNotTouchedByTheFaultsOfOtherCameras) {
    constexpr std::uint64_t rounds = 6;
    const char* const faults[hostThreadsCameras] = {"", "take:reset", "get:black-picture",
                                                    "get:truncate-close"};
    together(1, [this](SoakedCamera& camera, std::size_t) {
        camera.serve();
        camera.buildFromConnection(type(), true, "build");
    });
    together(rounds, [&faults](SoakedCamera& camera, std::size_t index) {
        const std::string fault = faults[index];
        camera.serve(fault);
        camera.capture(fault.empty() ? Expect::picture : Expect::nothing, fault);
    });
    EXPECT_EQ(tally_.findings, 0u);
    EXPECT_EQ(tally_.good, rounds);
    EXPECT_EQ(tally_.expectedFailures, rounds * (hostThreadsCameras - 1));
}

TEST_F(HostThreads, BuildUseAndDestroyTheirDevices) {
    constexpr std::uint64_t rounds = 4;
    together(rounds, [this](SoakedCamera& camera, std::size_t) {
        camera.serve();
        camera.buildFromConnection(type(), true, "build");
        camera.buildFromDescription(type());
        camera.capture(Expect::picture, "just built");
        camera.forgetDevice();
    });
    EXPECT_EQ(tally_.findings, 0u);
    EXPECT_EQ(tally_.builds, 2 * rounds * hostThreadsCameras);
    EXPECT_EQ(tally_.good, rounds * hostThreadsCameras);
}
