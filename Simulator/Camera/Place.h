#pragma once
// What of a camera a fault can strike.

namespace Simulator {

/// The requests and queries that a camera answers, and three groups of them.
enum class Place {
    Configure,
    Take,
    Get,
    Probe,
    AnyBinary, ///< the four before
    Version,
    Serial,
    Network,
    AnyText, ///< the three before
    Discovery,
};

} // namespace Simulator
