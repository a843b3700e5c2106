#include "Print.h"

#include "Json.h"
#include "Printable.h"

#include <nlohmann/json.hpp>

namespace Diagnosis {

namespace {

using Json = nlohmann::ordered_json;

/// Empty if it is about the computer or a network.
std::string placeOf(const Verdict& verdict) {
    if (verdict.address.empty())
        return {};
    const std::string room = verdict.room.empty() ? "" : " (" + printable(verdict.room) + ")";
    return printable(verdict.address) + room + ": ";
}

} // namespace

std::string lineOf(const Verdict& verdict) {
    return placeOf(verdict) + wordsOf(verdict);
}

std::string wordsOf(const Verdict& verdict) {
    return printable(verdict.text) + "; try: " + printable(verdict.remedy);
}

std::string remarkOf(const Verdict& verdict) {
    const char* const joint = verdict.remedy.starts_with("--") ? "; try " : "; try: ";
    return verdict.text + joint + verdict.remedy;
}

Json errorOf(const Verdict& verdict) {
    return {{"code", verdict.code}, {"text", verdict.text}, {"try", verdict.remedy}};
}

Json problemOf(const Verdict& verdict) {
    Json problem = {{"address", verdict.address}, {"room", verdict.room}};
    problem.update(errorOf(verdict));
    return problem;
}

Json causeOf(const Verdict& verdict) {
    return {{"code", verdict.code},
            {"severity", verdict.severity == Severity::failure ? "failure" : "note"},
            {"text", verdict.text},
            {"try", verdict.remedy},
            {"address", verdict.address}};
}

Json listOf(const std::vector<Verdict>& verdicts, Json (*element)(const Verdict&)) {
    Json list = Json::array();
    for (const Verdict& verdict : verdicts)
        list.push_back(element(verdict));
    return list;
}

std::string dumped(const Json& json) {
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace Diagnosis
