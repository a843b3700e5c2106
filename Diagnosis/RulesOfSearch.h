#pragma once
// What is said of a search: of the networks that it went to, and of its end.

#include "Facts.h"
#include "Verdict.h"

#include <cstddef>
#include <string>

namespace Diagnosis {

/// What ended a search before its time.
enum class CutBy {
    ownLength, ///< the user gave it less time than it listens
    datagrams, ///< which kept coming
    cameras,   ///< that it waited for
    nothing    ///< that is known: it did not end
};

/// For Search::cut: "after 3.0 s: cameras kept it waiting; 2 answers were not asked any more".
std::string cutReason(Milliseconds after, CutBy by, std::size_t unasked);

/// Of a search that was cut.
Verdict verdictOnCut(const Search& search);

/// Why the network was not searched, or in vain; empty if it was.
std::string whyNotSearched(const SearchedNetwork& network);

/// Whether a line of the plug-in's search belongs into Search::lines: rules read it.
bool isOfInterest(const std::string& line);

/// For Search::failure, of such a line; empty if there was a search nevertheless.
std::string searchFailureIn(const std::string& line);

/// For Search::failure where the system refused the query to that address.
std::string searchRefused(const std::string& broadcast);

/// For SearchedNetwork::reason, of the plug-in's line on that.
std::string refusalIn(const std::string& line);

} // namespace Diagnosis
