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
