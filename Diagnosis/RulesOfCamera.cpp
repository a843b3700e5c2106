#include "RulesOfCamera.h"

#include "PictureRules.h"
#include "Printable.h"
#include "Rules.h"
#include "SeenCamera.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace Diagnosis {

namespace {

/// Of those that were not made up for by a later one, what the last one came to.
std::optional<Verdict> failedAttempt(const Camera& camera) {
    std::set<Attempt::What> done;
    for (auto attempt = camera.attempts.rbegin(); attempt != camera.attempts.rend(); ++attempt) {
        if (!done.insert(attempt->what).second)
            continue;
        std::optional<Verdict> verdict = verdictOn(*attempt, camera);
        if (verdict && verdict->severity == Severity::failure)
            return verdict;
    }
    return std::nullopt;
}

Verdict unknownModel(const SeenCamera& seen) {
    const Camera& camera = seen.camera;
    const std::string told = seen.model();
    const bool isGuess = !guessedSize(told).empty();
    std::string size;
    if (camera.identity && camera.identity->width > 0)
        size = ": that its pictures are " + std::to_string(camera.identity->width) + " x " +
               std::to_string(camera.identity->height) +
               (isGuess ? " is a guess" : " is what a sample of them showed");
    const std::string model = told.empty() ? "(none)" : printable(told);
    return verdictWith(camera, "unknown-model", Severity::note, "model " + model + " is unknown" + size,
                       std::string(isGuess ? "check the size of its pictures; " : "") +
                           "ask for a release that knows this model");
}

constexpr int unitsPerSecond = 10;

std::optional<Verdict> verdictOnPhoto(const Camera& camera) {
    if (!camera.photo)
        return std::nullopt;
    const auto isPicture = [](const Attempt& attempt) { return attempt.what == Attempt::What::picture; };
    const auto last = std::find_if(camera.attempts.rbegin(), camera.attempts.rend(), isPicture);
    const auto exposure = last == camera.attempts.rend() ? Milliseconds(0) : last->exposure;
    std::optional<Verdict> verdict =
        verdictOn(*camera.photo, std::max(1, static_cast<int>(exposure.count() * unitsPerSecond / 1000)));
    if (verdict) {
        verdict->address = camera.address;
        verdict->room = camera.room;
        if (verdict->remedy.starts_with("--"))
            verdict->remedy = "korva capture with " + verdict->remedy;
    }
    return verdict;
}

std::string over(const std::string& adapter) {
    return adapter.empty() ? "" : ", over " + printable(adapter);
}

/// "second answer of 10.77.1.11, over net2".
std::optional<std::string> secondAnswer(const SeenCamera& seen) {
    const Answer* const before = seen.firstWithItsMac();
    if (seen.sharesItsAddress() || seen.sharesItsMac() || (before == nullptr && seen.answers.size() < 2))
        return std::nullopt;
    const std::string& first = before == nullptr ? seen.camera.address : before->address;
    const std::string& adapter = before == nullptr ? seen.answers[1]->adapter : seen.answers.front()->adapter;
    return "second answer of " + printable(first) + over(adapter);
}

/// Of a camera whose answer names another address: it has both, or has been told a wrong one.
Verdict noteOnName(const SeenCamera& seen, const Answer& misnamed) {
    const auto& named = seen.index.answersNaming(misnamed.address);
    const bool hasBoth = std::any_of(named.begin(), named.end(), [](const Answer* answer) {
        return answer->source.empty() || answer->source == answer->address;
    });
    if (hasBoth)
        return verdictWith(seen.camera, "second-answer", Severity::note,
                           "second answer of " + printable(misnamed.address) + over(misnamed.adapter),
                           "nothing; or take one of the two cables out");
    return verdictWith(
        seen.camera, "wrong-address", Severity::note,
        "answers here, but says that its address is " + printable(misnamed.address),
        "correct the address in the camera's settings; until then give this one to the command");
}

/// The same of one that was asked by itself, which tells less.
Verdict noteOnAnnounced(const SeenCamera& seen) {
    Answer told;
    told.address = seen.camera.announces;
    told.source = placeOf(seen.camera);
    Verdict verdict = noteOnName(seen, told);
    if (verdict.code == "wrong-address")
        verdict.remedy =
            "if that is wrong, correct it in the camera's settings; give this one to the command";
    return verdict;
}

void addSearchNotes(const SeenCamera& seen, std::vector<Verdict>& notes) {
    const Camera& camera = seen.camera;
    if (const auto text = secondAnswer(seen))
        notes.push_back(verdictWith(camera, "second-answer", Severity::note, *text,
                                    "nothing; or take one of the two cables out"));
    if (seen.hasAnswered || camera.text != PortState::open)
        return;
    if (const Answer* const misnamed = seen.index.misnamedAnswerFrom(placeOf(camera)))
        return notes.push_back(noteOnName(seen, *misnamed));
    if (!camera.announces.empty())
        return notes.push_back(noteOnAnnounced(seen));
    if (!seen.isBesideUs())
        notes.push_back(verdictWith(camera, "behind-router", Severity::note,
                                    "is behind a router, which a search does not cross",
                                    "give the camera's address to the command"));
    else if (camera.answersQuery == false)
        notes.push_back(verdictWith(
            camera, "discovery-blocked", Severity::note, "answers on TCP, but no search: a firewall?",
            "allow UDP from port 32768 in the firewall; or give the camera's address"));
    else if (camera.answersQuery == true && seen.index.facts.search &&
             !isOfThisComputer(placeOf(camera), seen.index.facts))
        notes.push_back(verdictWith(camera, "broadcast-lost", Severity::note,
                                    "answers if it is asked by itself, but did not answer the search",
                                    "check its mask; or give the camera's address to the command"));
}

} // namespace

Verdict verdictWith(const Camera& camera, const char* code, Severity severity, std::string text,
                    std::string remedy) {
    return {code, severity, std::move(text), std::move(remedy), camera.address, camera.room};
}

std::string withAddress(std::string remedy, const std::string& address) {
    constexpr std::string_view sign = "ADDRESS";
    const std::size_t at = remedy.find(sign);
    // What cannot be one may be a camera's words, and may do anything to whoever runs it as a command.
    if (at != std::string::npos && !verdictOnAddress(address))
        remedy.replace(at, sign.size(), printable(address));
    return remedy;
}

std::string modelIn(const std::string& text) {
    constexpr std::string_view family = "Korva Meridian ";
    return text.starts_with(family) ? text.substr(family.size()) : text;
}

bool isNameServiceSilent(const std::string& reason) {
    return reason.find("ame resolution") != std::string::npos; // "timed out", "Temporary failure in"
}

bool isKnownModel(const std::string& model) {
    return model.ends_with("M61") || model.ends_with("M615") || model.ends_with("M62");
}

std::string guessedSize(const std::string& model) {
    if (isKnownModel(model))
        return "";
    return model.size() == 2 ? "1676 x 1266" : model.size() == 3 ? "2748 x 1836" : "";
}

std::optional<Verdict> verdictOnCamera(const Camera& camera, const FactsIndex& index,
                                       const NetworkCauses& causes) {
    if (std::optional<Verdict> verdict = verdictOnAddress(camera.address))
        return verdict;
    const auto cause = std::find_if(causes.begin(), causes.end(),
                                    [&](const NetworkCause& some) { return explains(some, camera, index); });
    if (cause != causes.end()) {
        const Verdict& verdict = cause->verdict;
        return verdictWith(camera, verdict.code.c_str(), Severity::failure, verdict.text, verdict.remedy);
    }
    const SeenCamera seen(camera, index);
    if (std::optional<Verdict> verdict = verdictOnLook(seen))
        return verdict;
    if (std::optional<Verdict> verdict = failedAttempt(camera))
        return verdict;
    const std::vector<Verdict> notes = notesOn(camera, index);
    std::optional<Verdict> photo = verdictOnPhoto(camera);
    if (photo && (photo->severity == Severity::failure || notes.empty()))
        return photo;
    return notes.empty() ? std::nullopt : std::optional(notes.front());
}

std::vector<Verdict> notesOn(const Camera& camera, const FactsIndex& index) {
    std::vector<Verdict> notes;
    const SeenCamera seen(camera, index);
    if (seen.hasUnknownModel())
        notes.push_back(unknownModel(seen));
    addSearchNotes(seen, notes);
    for (const Attempt& attempt : camera.attempts) {
        const std::optional<Verdict> verdict = verdictOn(attempt, camera);
        if (verdict && verdict->severity == Severity::note &&
            std::find(notes.begin(), notes.end(), *verdict) == notes.end())
            notes.push_back(*verdict);
    }
    if (!camera.lookFailure.empty())
        notes.push_back(verdictWith(camera, "look-failed", Severity::note,
                                    "could not be looked at: " + printable(camera.lookFailure),
                                    "again; as administrator, if it is not permitted"));
    return notes;
}

} // namespace Diagnosis
