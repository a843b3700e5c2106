#include "Camera/Discovery.h"

#include "Camera/Delivery.h"
#include "Camera/FaultedReply.h"
#include "Camera/QuotedText.h"

#include <algorithm>

namespace Simulator {

Reaction answerDiscovery(Camera& camera, ByteView datagram, const std::string& servedAddress) {
    if (!std::ranges::equal(datagram, discoveryQuery))
        return {{}, {quotedText(datagram) + " -> not answered: this is not the discovery query"}};
    CameraSettings settings = camera.settings();
    if (settings.announcedAddress.empty())
        settings.announcedAddress = servedAddress;
    const TextReply reply = replyTo(queries.back(), {}, settings);
    Reaction reaction{{}, {quotedText(datagram) + " -> " + quotedText(reply.text())}};
    const std::optional<Fault> fault = camera.nextFault(Place::discovery);
    if (!fault) {
        reaction.actions.push_back(sendWhole(bytesOf(reply)));
        return reaction;
    }
    reaction.events.push_back("fault " + fault->describe());
    reaction.actions = faultedReply(*fault, reply, settings.seed);
    return reaction;
}

} // namespace Simulator
