#include "RulesOfAnswer.h"

#include "Rules.h"

namespace Diagnosis {

namespace {

bool isSearchCut(const Facts& facts) {
    return facts.search && !facts.search->cut.empty();
}

Verdict verdictAt(const char* code, const char* text, const char* remedy, const std::string& address,
                  const std::string& room) {
    Verdict verdict;
    verdict.code = code;
    verdict.text = text;
    verdict.remedy = remedy;
    verdict.address = address;
    verdict.room = room;
    return verdict;
}

constexpr auto longerTimeout = "a longer --timeout, or korva doctor with its address";

} // namespace

Verdict notIdentified(const Camera& camera, const Facts& facts) {
    if (!camera.attempts.empty())
        if (const auto verdict = verdictOn(camera.attempts.back(), camera))
            return *verdict;
    if (isSearchCut(facts))
        return verdictAt("search-cut", "answered, and the search was cut before its turn",
                         "a longer --max-time, or korva identify with its address", camera.address,
                         camera.room);
    return verdictAt("silent", "answered, and nothing more",
                     "restart the camera, then korva doctor with its address", camera.address, camera.room);
}

Verdict stillAsked(const std::string& address, const std::string& room) {
    return verdictAt("search-cut", "answered the search, not asked to the end", longerTimeout, address, room);
}

Verdict notAskedToTheEnd(const std::string& address) {
    return verdictAt("search-cut", "not asked to the end", longerTimeout, address, "");
}

Verdict nobodyThere() {
    return verdictAt("no-camera", "no Korva camera answered",
                     "check power, cable and switch, or ask the camera's address: korva doctor ADDRESS", "",
                     "");
}

std::string headlineOfNobody(const Facts& facts) {
    return isSearchCut(facts) ? "No Korva camera found." : "No Korva camera answered.";
}

} // namespace Diagnosis
