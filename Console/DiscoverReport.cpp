#include "DiscoverReport.h"

#include "CameraText.h"
#include "DescribedCamera.h"
#include "Printable.h"
#include "SearchFacts.h"

#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"
#include "Diagnosis/Rules.h"
#include "Diagnosis/RulesOfAnswer.h"
#include "Diagnosis/RulesOfSearch.h"
#include "Platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace Console {

namespace {

using Diagnosis::Severity;
using Diagnosis::Verdict;
using Outcome = Diagnosis::SearchedNetwork::Outcome;

std::string networkLine(const Diagnosis::SearchedNetwork& network) {
    const bool isKnown = !network.own.address.empty();
    const bool isSent = network.outcome == Outcome::searched || network.outcome == Outcome::linkLocal;
    const bool isSearched = !network.broadcast.empty() && isSent;
    std::string line = isSearched ? "  searched      " : "  not searched  ";
    line += network.adapter.empty() ? "an adapter" : network.adapter;
    if (isKnown)
        line += "  " + network.own.address +
                (network.own.mask.empty() ? std::string() : ", mask " + network.own.mask);
    if (!network.broadcast.empty())
        line += ", broadcast " + network.broadcast;
    const std::string reason = Diagnosis::whyNotSearched(network);
    return printable(line + (reason.empty() ? "" : ": " + reason));
}

std::string causeLines(const std::vector<Verdict>& causes) {
    std::string lines;
    for (const Verdict& cause : causes)
        lines += (lines.empty() ? "Likely causes, the likeliest first:\n  " : "\n  ") +
                 (cause.address.empty() ? "" : printable(cause.address) + ": ") + Diagnosis::wordsOf(cause);
    return lines;
}

std::string asideLines(const std::vector<Verdict>& causes) {
    std::string lines;
    for (const Verdict& cause : causes)
        lines += "\nNote: " + Diagnosis::wordsOf(cause);
    return lines;
}

} // namespace

std::string DiscoverReport::Row::status() const {
    if (!verdict)
        return "ready";
    return isReady && !isFurther ? "ready (" + verdict->text + ")" : verdict->text;
}

DiscoverReport::DiscoverReport(Diagnosis::Facts facts, std::vector<CameraInfo> cameras)
    : facts_(std::move(facts)), cameras_(std::move(cameras)) {
    std::map<std::string, std::vector<std::string>> roomsOfAnswers;
    for (const Diagnosis::Answer& answer :
         facts_.search ? facts_.search->answers : std::vector<Diagnosis::Answer>())
        roomsOfAnswers[answer.address].push_back(answer.room);
    completeCameras();
    const auto verdicts = Diagnosis::verdictsOn(facts_);
    for (std::size_t at = 0; at < verdicts.size(); ++at) {
        const Diagnosis::Camera& camera = facts_.cameras[at];
        if (camera.answeredSearch || camera.wasAskedFor)
            addRows(camera, verdicts[at], roomsOfAnswers[camera.address]);
    }
    std::stable_sort(rows_.begin(), rows_.end(), [](const Row& one, const Row& other) {
        return addressKey(one.address) < addressKey(other.address);
    });
    std::stable_sort(cameras_.begin(), cameras_.end(), [](const CameraInfo& one, const CameraInfo& other) {
        return addressKey(identityOf(one).address) < addressKey(identityOf(other).address);
    });
    const bool isSearchAFailure = facts_.search && !facts_.search->failure.empty();
    if (rows_.empty() || isSearchAFailure)
        causes_ = Diagnosis::causesOf(facts_);
    else if (facts_.search && !(facts_.search->strange.empty() && facts_.search->lines.empty())) {
        asides_ = Diagnosis::causesOf(facts_);
        std::erase_if(asides_, [](const Verdict& cause) {
            return cause.code != "strange-answer" && cause.code != "too-many-answers";
        });
    }
    if (rows_.empty() && causes_.empty())
        causes_.push_back(Diagnosis::nobodyThere());
}

/// With the hardware addresses that only a look of our own has told.
void DiscoverReport::completeCameras() {
    std::map<std::string, std::string> macAddresses;
    for (Diagnosis::Camera& camera : facts_.cameras) {
        if (!camera.identity)
            continue;
        if (camera.identity->macAddress.empty() && camera.macAddresses.size() == 1)
            camera.identity->macAddress = camera.macAddresses.front();
        macAddresses.emplace(camera.identity->address, camera.identity->macAddress);
    }
    for (CameraInfo& camera : cameras_)
        if (camera.getMacAddress().empty())
            camera.setMacAddress(Platform::wideFromUtf8(macAddresses[identityOf(camera).address]));
}

/// A row for the camera, and one for each further answer from its address.
void DiscoverReport::addRows(const Diagnosis::Camera& camera, const std::optional<Verdict>& verdict,
                             const std::vector<std::string>& roomsOfAnswers) {
    Row row;
    row.address = camera.address;
    row.room = camera.room;
    row.identity = camera.identity;
    row.verdict = verdict;
    const bool isFailure = row.verdict && row.verdict->severity == Severity::failure;
    const bool isSecond = row.verdict && row.verdict->code == "second-answer";
    if (!camera.identity && !row.verdict)
        row.verdict = Diagnosis::notIdentified(camera, facts_);
    row.isUnasked = row.verdict && row.verdict->code == "search-cut";
    row.isReady = camera.identity && !isFailure;
    row.isPresent = camera.identity || camera.answeredSearch || camera.answersQuery == true ||
                    camera.text == Diagnosis::PortState::open;
    // A camera that is known by another address as well has its row there.
    row.isFurther = !camera.identity && isSecond;
    if (row.verdict && row.verdict->code == "duplicate-address")
        row.identity.reset(); // it is of one of them, and nobody knows of which
    Row further = row;
    if (row.isReady && isSecond)
        row.verdict.reset(); // it is told of the second one
    rows_.push_back(row);
    // What else is wrong is said once of a camera, however many answers of it came.
    const bool isShared = row.verdict && row.verdict->code == "duplicate-address";
    for (std::size_t at = 1; at < roomsOfAnswers.size() && (isShared || isSecond); ++at) {
        further.room = roomsOfAnswers[at];
        further.isFurther = isSecond;
        rows_.push_back(further);
    }
}

std::size_t DiscoverReport::count(bool isReady) const {
    return static_cast<std::size_t>(std::count_if(rows_.begin(), rows_.end(), [isReady](const Row& row) {
        return !row.isFurther && !row.isUnasked && row.isReady == isReady;
    }));
}

std::size_t DiscoverReport::countUnasked() const {
    return static_cast<std::size_t>(
        std::count_if(rows_.begin(), rows_.end(), [](const Row& row) { return row.isUnasked; }));
}

std::string DiscoverReport::table(bool isColoured) const {
    if (rows_.empty())
        return "";
    std::vector<CameraLine> cameras;
    cameras.reserve(rows_.size());
    for (const Row& row : rows_)
        cameras.push_back({row.address, row.room, row.identity});
    const std::vector<std::string> begins = cameraTable(cameras);
    std::string lines = begins.front() + "\n";
    for (std::size_t at = 0; at < rows_.size(); ++at) {
        const std::string status = printable(rows_[at].status());
        const char* const colour = rows_[at].isReady ? "\x1b[32m" : "\x1b[31m";
        lines += begins[at + 1] + (isColoured ? colour + status + "\x1b[0m" : status) + "\n";
    }
    return lines;
}

std::string DiscoverReport::summary() const {
    const std::string unasked =
        countUnasked() == 0 ? "" : ", " + std::to_string(countUnasked()) + " not asked";
    if (!rows_.empty())
        return std::to_string(count(true)) + " ready, " + std::to_string(count(false)) + " unusable" +
               unasked + "." + asideLines(asides_);
    std::string lines = Diagnosis::headlineOfNobody(facts_);
    if (facts_.search)
        lines += networkLines(*facts_.search);
    return lines + "\n" + causeLines(causes_);
}

std::vector<Verdict> DiscoverReport::problems() const {
    std::vector<Verdict> all = causes_;
    for (const Row& row : rows_) {
        if (!row.verdict)
            continue;
        all.push_back(*row.verdict);
        all.back().address = row.address;
        all.back().room = row.room;
    }
    all.insert(all.end(), asides_.begin(), asides_.end());
    return all;
}

nlohmann::ordered_json DiscoverReport::json() const {
    nlohmann::ordered_json object;
    object["cameras"] = nlohmann::ordered_json::array();
    for (const CameraInfo& camera : cameras_) {
        object["cameras"].push_back(cameraObject(camera));
        const auto row = std::find_if(rows_.begin(), rows_.end(), [&camera](const Row& each) {
            return each.address == identityOf(camera).address;
        });
        if (row != rows_.end() && row->verdict && isAboutIdentity(*row->verdict))
            object["cameras"].back()["note"] = Diagnosis::errorOf(*row->verdict);
    }
    object["problems"] = Diagnosis::listOf(problems(), Diagnosis::problemOf);
    if (facts_.search && !facts_.search->cut.empty())
        object["cut"] = Diagnosis::lineOf(Diagnosis::verdictOnCut(*facts_.search));
    if (const auto verdict = failure())
        object["error"] = Diagnosis::errorOf(*verdict);
    return object;
}

ExitStatus DiscoverReport::status() const {
    const bool isFailed = facts_.search && !facts_.search->failure.empty();
    if (rows_.empty() && !isFailed)
        return ExitStatus::nothingFound;
    if (count(true) == 0)
        return ExitStatus::failed;
    const bool isCut = facts_.search && !facts_.search->cut.empty();
    return isFailed || isCut || count(false) > 0 ? ExitStatus::partlyFailed : ExitStatus::done;
}

std::optional<Verdict> DiscoverReport::failure() const {
    if (status() == ExitStatus::done)
        return std::nullopt;
    const std::vector<Verdict> all = problems();
    for (const Verdict& problem : all)
        if (problem.severity == Severity::failure)
            return problem;
    const bool isCut = facts_.search && !facts_.search->cut.empty();
    if (isCut)
        return Diagnosis::verdictOnCut(*facts_.search);
    return all.empty() ? Diagnosis::nobodyThere() : all.front();
}

std::string networkLines(const Diagnosis::Search& search) {
    std::string lines;
    for (const Diagnosis::SearchedNetwork& network : search.networks)
        lines += "\n" + networkLine(network);
    return lines;
}

std::string addressKey(const std::string& address) {
    constexpr std::size_t digits = 3;
    std::string key;
    std::istringstream parts(address);
    for (std::string part; std::getline(parts, part, '.');)
        key += (part.size() < digits ? std::string(digits - part.size(), '0') : "") + part + ".";
    return key;
}

} // namespace Console
