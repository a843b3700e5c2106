#pragma once
// What a search has told, as facts.

#include "SearchProgress.h"

#include "Diagnosis/Facts.h"
#include "VantrelCommon/CameraInfo.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Console {

/// Who a camera says it is.
Diagnosis::Identity identityOf(const CameraInfo& camera);

/// The camera with that address in `facts`, added if it is not there.
Diagnosis::Camera& cameraIn(Diagnosis::Facts& facts, const std::string& address);

/// The search, and each that answered it, once, with its identity if it is one of `found`, else with the
/// failed attempt.
Diagnosis::Facts factsOf(const SearchProgress& progress, const std::vector<CameraInfo>& found);

/// Adds to the cameras of `facts` those that were identified.
void addFound(const std::vector<CameraInfo>& found, Diagnosis::Facts& facts);

/// Whether a look of our own may tell more than the search: nobody has answered, somebody twice, or somebody
/// who was not identified. `facts` has a search.
bool tellsTooLittle(const Diagnosis::Facts& facts);

/// Takes for answers to the search, which `facts` has, those to a limited broadcast over an adapter that
/// refused the search.
void takeFromRefused(Diagnosis::Facts& facts);

/// Adds to a search, which `facts` has, what a look of our own has told: who is on the cables besides, and
/// where the answers came from. Where the search has no answers it gets those of the look, and of those that
/// answered on a network which refused the search; the addresses of these are returned, each once.
std::vector<std::string> absorbLook(Diagnosis::Facts& facts, const Diagnosis::Facts& look);

/// Names the adapters of the networks that were searched, and adds those that were not and why, by
/// `facts.adapters`.
void completeNetworks(Diagnosis::Facts& facts);

/// Which adapter each answer came by, from where and from which hardware, as a look of our own has it.
void completeAnswers(std::vector<Diagnosis::Answer>& answers, const std::vector<Diagnosis::Answer>& looked);

/// The addresses whose answer was passed over, since ARP found none of them: a search takes all these for one
/// camera.
std::vector<std::string> passedWithoutHardwareAddress(const SearchProgress& progress);

/// Of the cameras the first `most` whose address is one, in their order. Any other text that an answer tells
/// is not to be looked up.
std::vector<std::string> addressesIn(const Diagnosis::Facts& facts, std::size_t most);

/// Adds to `all` what a further search has told that is new, up to SearchProgress::mostAnswers answers and
/// cameras in all; of the computer the last search's look holds.
void absorb(Diagnosis::Facts& all, const Diagnosis::Facts& further);

} // namespace Console
