#include "Rules.h"

#include "FactsIndex.h"
#include "RulesOfCamera.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Diagnosis {

namespace {

bool isFailure(const Verdict& verdict) {
    return verdict.severity == Severity::failure;
}

/// Causes, each once.
class Causes {
public:
    /// Leaves out what is said already, of the same camera or of the network that the camera is in. That a
    /// search does not find a camera follows from a wrong mask.
    void add(const Verdict& verdict) {
        const bool follows = verdict.code == "broadcast-lost" && codes_.contains("wrong-mask");
        const bool isOfNetwork = verdict.address.empty();
        const bool isSaid = !isOfNetwork && said_.contains({verdict.code, ""});
        const std::string& what = isOfNetwork ? verdict.text : verdict.address;
        if (follows || isSaid || !said_.emplace(verdict.code, what).second)
            return;
        if (isOfNetwork)
            said_.emplace(verdict.code, "");
        codes_.insert(verdict.code);
        causes_.push_back(verdict);
    }

    /// Failures first. That nobody is found follows from what keeps the one from answering who was asked for.
    std::vector<Verdict> take() {
        const bool hasMore = std::any_of(causes_.begin(), causes_.end(), [](const Verdict& verdict) {
            return isFailure(verdict) && verdict.code != "no-camera";
        });
        if (hasMore)
            std::erase_if(causes_, [](const Verdict& verdict) { return verdict.code == "no-camera"; });
        std::stable_partition(causes_.begin(), causes_.end(), isFailure);
        return std::move(causes_);
    }

private:
    std::vector<Verdict> causes_;
    std::set<std::string> codes_;
    std::set<std::pair<std::string, std::string>> said_; ///< code, and address or text or nothing
};

} // namespace

std::vector<Verdict> causesOf(const Facts& facts) {
    const FactsIndex index(facts);
    const NetworkCauses networks = causesInNetworks(index);
    Causes causes;
    for (const NetworkCause& cause : networks)
        causes.add(cause.verdict);
    for (const Camera& camera : facts.cameras) {
        const bool isExplained =
            std::any_of(networks.begin(), networks.end(),
                        [&](const NetworkCause& cause) { return explains(cause, camera, index); });
        if (isExplained)
            continue;
        if (const std::optional<Verdict> verdict = verdictOnCamera(camera, index, networks))
            causes.add(*verdict);
        for (const Verdict& note : notesOn(camera, index))
            causes.add(note);
    }
    return causes.take();
}

std::optional<Verdict> verdictOn(const Camera& camera, const Facts& facts) {
    const FactsIndex index(facts);
    return verdictOnCamera(camera, index, causesInNetworks(index));
}

std::vector<std::optional<Verdict>> verdictsOn(const Facts& facts) {
    const FactsIndex index(facts);
    const NetworkCauses networks = causesInNetworks(index);
    std::vector<std::optional<Verdict>> verdicts;
    for (const Camera& camera : facts.cameras)
        verdicts.push_back(verdictOnCamera(camera, index, networks));
    return verdicts;
}

} // namespace Diagnosis
