#pragma once
// This computer's own adapters while cameras are watched: what they lose, and when they have it again. Pure.

#include "Facts.h"
#include "Verdict.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Diagnosis {

/// Tells once of an adapter that it cannot reach its network any more, whatever its cameras are said to do
/// meanwhile. One thread.
class AdapterChanges {
public:
    struct Change {
        std::string adapter;
        std::optional<Verdict> verdict; ///< why it does not work; unset: it works again
    };

    /// What is new in `facts.adapters` since the last call. An adapter is known once it was seen with an
    /// address that somebody gave it, also if it does not work from the beginning.
    std::vector<Change> take(const Facts& facts);

    /// Why nothing can come from an address, by the last call: the adapter in whose network it is has lost
    /// it, and no other one is there; of an address in no known network the one that led to the router. Null
    /// if it may answer, or is no IPv4 address.
    const Verdict* whyOutOfReach(const std::string& address) const;

private:
    struct Known {
        std::vector<OwnAddress> addresses; ///< while it had them
        std::optional<Verdict> verdict{};
    };

    void learn(const Adapter& adapter);

    std::map<std::string, Known> known_; ///< by name
    std::vector<OwnAddress> present_;    ///< of all adapters that work at the moment
    std::string gateway_;                ///< the last one that there was
};

} // namespace Diagnosis
