#include "World/Stage.h"

#include <gmock/gmock.h>

namespace World {

using ::testing::IsEmpty;

Stage::Stage() {
    reset();
    imaging.forget();
    Host::current().communicators.clear(); // what another test left is its own failure
}

Stage::~Stage() {
    EXPECT_THAT(network.openConnections(), IsEmpty());
    EXPECT_THAT(network.openSockets, IsEmpty());
    EXPECT_EQ(system.openFiles, 0);
    EXPECT_THAT(communicators, IsEmpty());
    EXPECT_THAT(calls.of("release of a dead image"), IsEmpty());
    for (Image* const image : imaging.alive)
        ADD_FAILURE() << "an image of " << image->getWidth() << " x " << image->getHeight() << " is alive";
    reset();
    imaging.forget();
}

void answerCapture(Peer& camera, const Bytes& file) {
    camera.answer(done()).answer(done()).answer(image(file));
}

void answerIdentification(Peer& camera, const Identity& identity) {
    camera.say("[Version --HW " + identity.hardware + " --SW " + identity.software + " --API 7]");
    camera.say("[SerialNumber --Camera " + identity.serial + "]");
    camera.say("[--Settings --NetworkProtocol DHCP --NetMask 255.255.255.0 --NetGateway 10.0.0.1]");
}

} // namespace World
