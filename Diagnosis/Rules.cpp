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

/// What the user wants to know of: where he asked for cameras, these and what keeps them away.
class Focus {
public:
    explicit Focus(const FactsIndex& index) : index_(index) {
        for (const Camera& camera : index.facts.cameras)
            if (camera.wasAskedFor) {
                asked_.push_back(&camera);
                places_.insert(placeOf(camera));
            }
    }

    bool holds(const Camera& camera) const { return asked_.empty() || places_.contains(placeOf(camera)); }

    /// Whether one who was asked for says that this camera's address is its own: it is told of that one.
    bool holdsWhoNames(const Camera& camera) const {
        const auto& answers = index_.answersNaming(placeOf(camera));
        return std::any_of(answers.begin(), answers.end(),
                           [this](const Answer* answer) { return places_.contains(answer->source); });
    }

    bool holds(const NetworkCause& cause) const {
        return asked_.empty() || std::any_of(asked_.begin(), asked_.end(), [&](const Camera* camera) {
                   return explains(cause, *camera, index_) || mayExplain(cause, *camera, index_) ||
                          isAbout(cause, *camera);
               });
    }

private:
    bool isAbout(const NetworkCause& cause, const Camera& camera) const {
        if (cause.verdict.code == "no-camera")
            return !isThere(camera);
        const bool isOfAnother = !cause.verdict.address.empty() && cause.verdict.code != "own-address-taken";
        if (isOfAnother)
            return cause.verdict.address == placeOf(camera);
        const Adapter* const own = adapterFor(index_.adapters, placeOf(camera));
        const std::string& name = own == nullptr ? camera.adapter : own->name;
        return cause.adapter.empty() || name == cause.adapter;
    }

    const FactsIndex& index_;
    std::vector<const Camera*> asked_;
    std::set<std::string> places_;
};

/// Of what nobody asked for, what is broken is worth a note. That nobody else is found is not.
void addAside(Verdict verdict, std::vector<Verdict>& aside) {
    if (!isFailure(verdict) || verdict.code == "no-camera")
        return;
    verdict.severity = Severity::note;
    aside.push_back(std::move(verdict));
}

} // namespace

std::vector<Verdict> causesOf(const Facts& facts) {
    const FactsIndex index(facts);
    const NetworkCauses networks = causesInNetworks(index);
    const Focus focus(index);
    Causes causes;
    std::vector<Verdict> aside;
    for (const NetworkCause& cause : networks)
        if (focus.holds(cause))
            causes.add(cause.verdict);
        else
            addAside(cause.verdict, aside);
    for (const Camera* const camera : sortedByAddress(facts.cameras)) {
        const bool isExplained =
            std::any_of(networks.begin(), networks.end(),
                        [&](const NetworkCause& cause) { return explains(cause, *camera, index); });
        if (isExplained)
            continue;
        const std::optional<Verdict> verdict = verdictOnCamera(*camera, index, networks);
        if (!focus.holds(*camera)) {
            if (verdict && !focus.holdsWhoNames(*camera))
                addAside(*verdict, aside);
            continue;
        }
        if (verdict)
            causes.add(*verdict);
        for (const Verdict& note : notesOn(*camera, index))
            causes.add(note);
    }
    for (const Verdict& verdict : aside)
        causes.add(verdict);
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
