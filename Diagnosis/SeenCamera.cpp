#include "SeenCamera.h"

#include "Ipv4.h"
#include "RulesOfCamera.h"

#include <sstream>

namespace Diagnosis {

namespace {

/// The word behind a key in an answer of the text language; empty if there is none.
std::string wordBehind(const std::string& key, const std::string& answer) {
    std::istringstream words(answer);
    for (std::string word; words >> word;)
        if (word == key && words >> word)
            return word.substr(0, word.find(']'));
    return {};
}

std::set<std::string> withoutEmpty(std::set<std::string> texts) {
    texts.erase("");
    return texts;
}

} // namespace

SeenCamera::SeenCamera(const Camera& seen, const FactsIndex& all)
    : camera(seen), index(all), answers(all.answersNaming(placeOf(seen))),
      hasAnswered(seen.answeredSearch || !answers.empty()),
      isAlive(seen.answersArp.value_or(false) || seen.answersQuery.value_or(false) ||
              isOpenOrRefused(seen.text) || isOpenOrRefused(seen.picture)) {}

std::set<std::string> SeenCamera::rooms() const {
    std::set<std::string> all;
    for (const Answer* const answer : answers)
        all.insert(answer->room);
    return all;
}

std::set<std::string> SeenCamera::adapters() const {
    std::set<std::string> all;
    for (const Answer* const answer : answers)
        all.insert(answer->adapter);
    return withoutEmpty(all);
}

std::set<std::string> SeenCamera::macs() const {
    std::set<std::string> all(camera.macAddresses.begin(), camera.macAddresses.end());
    for (const Answer* const answer : answers)
        all.insert(answer->macAddress);
    all.erase("00-00-00-00-00-00");
    std::erase_if(all, [this](const std::string& mac) { return index.isOwnMac(mac); });
    return withoutEmpty(all);
}

bool SeenCamera::sharesItsAddress() const {
    // One camera with two adapters has two MAC addresses, and its answers come by two of ours.
    return rooms().size() > 1 || (macs().size() > 1 && adapters().size() < 2);
}

std::string SeenCamera::oneMac() const {
    const std::set<std::string> all = macs();
    return all.size() == 1 ? *all.begin() : std::string();
}

const Answer* SeenCamera::firstWithItsMac() const {
    const std::string mac = oneMac();
    const Answer* const first = mac.empty() || answers.empty() ? nullptr : index.firstAnswerOf(mac);
    return first != nullptr && first->address != placeOf(camera) ? first : nullptr;
}

std::optional<FactsIndex::Holder> SeenCamera::otherWithItsMac() const {
    const std::string mac = oneMac();
    if (mac.empty() || (answers.empty() && camera.answersQuery != true))
        return std::nullopt;
    const std::string& room = answers.empty() ? camera.room : answers.front()->room;
    return index.otherHolderOf(mac, {placeOf(camera), room});
}

bool SeenCamera::isBesideUs() const {
    const std::vector<Adapter>& own = index.facts.adapters;
    const bool isAnywhere = own.empty() || !ipv4Number(placeOf(camera));
    return camera.isOnOwnNetwork && (isAnywhere || adapterFor(own, placeOf(camera)) != nullptr);
}

bool SeenCamera::isSilent() const {
    const bool wasTried = isShut(camera.text) || isShut(camera.picture) || camera.answersArp == false;
    return wasTried && !isAlive && !isThere(camera);
}

std::string SeenCamera::model() const {
    if (camera.identity)
        return modelIn(camera.identity->model);
    return camera.toldModel.empty() ? wordBehind("--HW", camera.textAnswer) : camera.toldModel;
}

std::string SeenCamera::firmware() const {
    return camera.toldFirmware.empty() ? wordBehind("--SW", camera.textAnswer) : camera.toldFirmware;
}

bool SeenCamera::isBlank() const {
    return camera.identity && modelIn(camera.identity->model).empty() &&
           camera.identity->serialNumber.empty();
}

bool SeenCamera::hasUnknownModel() const {
    const bool isTold = camera.identity || !model().empty() || !firmware().empty();
    return isTold && !isBlank() && !isKnownModel(model());
}

} // namespace Diagnosis
