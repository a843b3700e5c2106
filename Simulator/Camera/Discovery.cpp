#include "Camera/Discovery.h"

#include "Camera/Delivery.h"
#include "Camera/FaultedReply.h"
#include "Camera/QuotedText.h"

#include <algorithm>

namespace Simulator {

Reaction answerDiscovery(Camera& camera, ByteView datagram) {
    if (!std::ranges::equal(datagram, discoveryQuery))
        return {{}, {quotedText(datagram) + " -> not answered: this is not the discovery query"}};
    const TextReply reply = replyTo(queries.back(), {}, camera.settings());
    Reaction reaction{{}, {quotedText(datagram) + " -> " + quotedText(reply.text())}};
    const std::optional<Fault> fault = camera.nextFault(Place::Discovery);
    if (!fault) {
        reaction.actions.push_back(sendWhole(bytesOf(reply)));
        return reaction;
    }
    reaction.events.push_back("fault " + fault->describe());
    reaction.actions = faultedReply(*fault, reply, camera.settings().seed);
    return reaction;
}

} // namespace Simulator
