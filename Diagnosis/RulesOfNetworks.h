#pragma once
// What is wrong with this computer: its adapters, its networks, and the search of them.

#include "Facts.h"
#include "FactsIndex.h"
#include "Verdict.h"

#include <string>
#include <vector>

namespace Diagnosis {

/// A cause outside the cameras.
struct NetworkCause {
    Verdict verdict;
    std::string adapter{};     ///< that it is about; empty: the whole computer
    std::string camera{};      ///< by whose address it was seen; empty: by none
    bool stopsAdapter = false; ///< nothing gets through, to whatever lies in the adapter's networks
    bool isElsewhere = false;  ///< it puts cameras and computer into different networks
};

using NetworkCauses = std::vector<NetworkCause>;

/// The likeliest first.
NetworkCauses causesInNetworks(const FactsIndex& index);

// Parts of it, each for one file of rules.
NetworkCauses causesInAdapters(const FactsIndex& index);
NetworkCauses causesInSubnets(const FactsIndex& index);
NetworkCauses causesInSearch(const FactsIndex& index);

/// That a search was made, and nobody answered.
NetworkCause nobodyAnswered(const FactsIndex& index);

/// Whether a camera is out of reach because of the cause.
bool explains(const NetworkCause& cause, const Camera& camera, const FactsIndex& index);

/// Whether it could be, were the cause more than a note.
bool mayExplain(const NetworkCause& cause, const Camera& camera, const FactsIndex& index);

/// Those of the record with what a search says of them, and those that only the search knows; without the
/// loopback.
std::vector<Adapter> adaptersIn(const Facts& facts);

/// The one whose network holds an address, whether it works or not; null if none does.
const Adapter* adapterFor(const std::vector<Adapter>& adapters, const std::string& address);

/// Where a packet goes first: to the address itself if one of these networks holds it, else to the router.
const std::string& firstStopTo(const std::string& address, const std::vector<OwnAddress>& networks,
                               const std::string& router);

/// Whether a packet to the place does not leave this computer.
bool isOfThisComputer(const std::string& place, const Facts& facts);

/// Whether all that was asked for is on this computer itself, which takes no adapter.
bool isAboutItself(const Facts& facts);

/// What has become of an adapter that has lost an own address, or all that goes by it; `now` is null if it is
/// gone.
Verdict verdictOnLoss(const std::string& adapter, const Adapter* now, const OwnAddress& lost,
                      const Facts& facts);

/// Whether it is, by its name, of containers or virtual machines.
bool belongsToOthers(const Adapter& adapter);

/// Whether cameras may be behind it: it is not of others, and no part of another adapter without an address
/// of its own.
bool mayLeadToCameras(const Adapter& adapter);

/// Whether one of its addresses was given to it, rather than made up by itself.
bool isConfigured(const Adapter& adapter);

/// "10.77.1.1/24, 10.78.0.1/16", printable.
std::string addressesOf(const Adapter& adapter);

/// Where an answer came from, as far as that is known.
const std::string& placeOf(const Answer& answer);

/// Whether somebody answered at the address, since the search or instead of it.
bool isThere(const Camera& camera);

/// The mask that an answer tells, or the usual one.
std::string maskOf(const Answer& answer);

/// The command that gives an adapter a further address in the camera's network, one that nobody is known to
/// have.
std::string commandToJoin(const FactsIndex& index, const std::string& adapter, const OwnAddress& camera);

/// Where a camera is, as a number if it was asked for by name and that was looked up.
const std::string& placeOf(const Camera& camera);

} // namespace Diagnosis
