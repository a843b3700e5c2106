#pragma once
// What of a camera a fault can strike.

namespace Simulator {

/// The requests and queries that a camera answers, and three groups of them.
enum class Place {
    configure,
    take,
    get,
    probe,
    anyBinary, ///< the four before
    version,
    serial,
    network,
    anyText, ///< the three before
    discovery,
};

} // namespace Simulator
