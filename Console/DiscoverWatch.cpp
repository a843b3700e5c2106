#include "DiscoverWatch.h"

#include "CommandFailure.h"
#include "Watching.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>

namespace Console {

namespace {

constexpr int mostMissed = 2;
constexpr std::chrono::seconds pauseBetween{2};

nlohmann::ordered_json objectOf(const CameraChanges::Change& change) {
    nlohmann::ordered_json object;
    object["event"] = change.what;
    object["address"] = change.row.address;
    object["room"] = change.row.room;
    object["serialNumber"] = change.row.identity ? change.row.identity->serialNumber : "";
    object["ready"] = change.row.isReady;
    object["code"] = change.row.verdict ? change.row.verdict->code : "";
    object["text"] = change.row.status();
    object["try"] = change.row.verdict ? change.row.verdict->remedy : "";
    return object;
}

std::string wordsOf(const CameraChanges::Change& change) {
    const std::string room = change.row.room.empty() ? "" : " (" + change.row.room + ")";
    const std::string status = change.what == "gone" ? "no longer answers" : change.row.status();
    return change.what + "  " + change.row.address + room + ": " + status;
}

} // namespace

std::vector<CameraChanges::Change> CameraChanges::take(const std::vector<DiscoverReport::Row>& rows) {
    std::vector<Change> changes;
    for (auto& [key, known] : known_)
        ++known.missed;
    for (const DiscoverReport::Row& row : rows) {
        if (!row.isPresent)
            continue;
        const auto [place, isNew] = known_.try_emplace({row.address, row.room});
        const bool isOther = !isNew && place->second.row.status() != row.status();
        place->second = {row, 0};
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

void watchCameras(bool json, const std::function<DiscoverReport()>& search,
                  const std::function<bool()>& mayGoOn) {
    CameraChanges changes;
    std::string trouble;
    watchUntilInterrupt(pauseBetween, [&] {
        const DiscoverReport report = search();
        for (const CameraChanges::Change& change : changes.take(report.rows()))
            tellNews(json, wordsOf(change), objectOf(change));
        const bool isAnyThere = std::any_of(report.rows().begin(), report.rows().end(),
                                            [](const DiscoverReport::Row& row) { return row.isPresent; });
        const auto failure = isAnyThere ? std::nullopt : report.failure();
        const std::string text = failure ? failure->text : "";
        if (failure && text != trouble)
            tellNews(
                json, text + "; try: " + failure->remedy,
                {{"event", "trouble"}, {"code", failure->code}, {"text", text}, {"try", failure->remedy}});
        trouble = text;
        if (!mayGoOn())
            throw CommandFailure(report.cut());
    });
}

} // namespace Console
