#include "CameraChanges.h"

#include "Diagnosis/Figures.h"
#include "Diagnosis/RulesOfAnswer.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace Console {

namespace {

using Json = nlohmann::ordered_json;

constexpr int mostMissed = 2;

/// Without what is measured anew each time.
std::string stateOf(const DiscoverReport::Row& row) {
    return Diagnosis::withoutFigures(row.status());
}

} // namespace

std::vector<CameraChanges::Change> CameraChanges::take(const std::vector<DiscoverReport::Row>& rows) {
    std::vector<Change> changes;
    for (auto& [key, known] : known_)
        ++known.missed;
    const auto counts = [](const DiscoverReport::Row& row) { return row.isPresent && !row.isFurther; };
    for (const DiscoverReport::Row& row : rows)
        if (const auto place = known_.find({row.address, row.room}); counts(row) && place != known_.end())
            place->second.missed = 0;
    for (const DiscoverReport::Row& row : rows) {
        if (!counts(row))
            continue;
        const auto [place, isNew] = known_.try_emplace({row.address, row.room});
        const bool isOther = !isNew && stateOf(place->second.row) != stateOf(row);
        if (isOther && isAnyMissedAt(row.address))
            continue;
        place->second.row = row;
        if (isNew || isOther)
            changes.push_back({isNew ? "came" : "changed", row});
    }
    std::erase_if(known_, [&changes](const auto& entry) {
        const bool isGone = entry.second.missed >= mostMissed;
        if (isGone)
            changes.push_back({"gone", entry.second.row});
        return isGone;
    });
    return changes;
}

bool CameraChanges::isAnyMissedAt(const std::string& address) const {
    return std::any_of(known_.begin(), known_.end(), [&address](const auto& entry) {
        const int missed = entry.second.missed;
        return entry.first.first == address && missed > 0 && missed < mostMissed;
    });
}

std::vector<DiscoverReport::Row> CameraChanges::rows() const {
    std::vector<DiscoverReport::Row> all;
    for (const auto& [key, known] : known_)
        all.push_back(known.row);
    return all;
}

Json changeObject(const CameraChanges::Change& change) {
    const bool isGone = change.what == "gone";
    const auto verdict = isGone ? std::nullopt : change.row.verdict;
    Json object;
    object["event"] = change.what;
    object["address"] = change.row.address;
    object["room"] = change.row.room;
    object["serialNumber"] = change.row.identity ? change.row.identity->serialNumber : "";
    object["ready"] = change.row.isReady && !isGone;
    object["code"] = verdict ? verdict->code : "";
    object["text"] = isGone ? Diagnosis::goneText : change.row.status();
    object["try"] = verdict ? verdict->remedy : "";
    return object;
}

std::string changeLine(const CameraChanges::Change& change) {
    const std::string room = change.row.room.empty() ? "" : " (" + change.row.room + ")";
    const std::string status = change.what == "gone" ? Diagnosis::goneText : change.row.status();
    return change.what + "  " + change.row.address + room + ": " + status;
}

} // namespace Console
