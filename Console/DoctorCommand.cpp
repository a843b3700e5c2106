#include "DoctorCommand.h"

#include "CommandRun.h"
#include "Examination.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "ToolLog.h"

#include "Diagnosis/Findings.h"
#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace Console {

namespace {

using Diagnosis::Finding;
using Diagnosis::Severity;
using Diagnosis::Verdict;
using Json = nlohmann::ordered_json;

bool isFailure(const Verdict& cause) {
    return cause.severity == Severity::failure;
}

/// In a column as wide as usual words need.
std::string column(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size() + 1), ' ');
    return text;
}

std::string causeLine(const Verdict& cause) {
    return column(isFailure(cause) ? "FAIL" : "note", 6) + Diagnosis::lineOf(cause) + "\n";
}

std::string findingLine(const Finding& finding) {
    return column(nameOf(finding.status), 6) + column(finding.look, 16) + wordsOf(finding) + "\n";
}

} // namespace

void addDoctorOptions(const CommandLine::Options& command, DoctorOptions& options) {
    addAddresses(command, options.camera);
    addJson(command, options.json);
    addPluginOption(command, options.camera);
    command.footer(
        "Looks at adapters, addresses and routes, searches, asks the cameras at the addresses, or without "
        "any those that answer the search, and takes a picture with each. What is wrong with others than "
        "the addresses is told in notes. Changes nothing. With root's rights it also asks who else has an "
        "address.\n\nExit status: 0 nothing is broken; 1 something "
        "is; 2 wrong usage; 130 interrupted.");
}

std::string doctorText(const Diagnosis::Facts& facts, const std::vector<Verdict>& causes) {
    std::string text = causes.empty() ? "ok    Nothing is wrong.\n" : "";
    for (const Verdict& cause : causes)
        text += causeLine(cause);
    text += "\n";
    for (const Finding& finding : findingsOf(facts, causes))
        text += findingLine(finding);
    return text;
}

Json doctorJson(const Diagnosis::Facts& facts, const std::vector<Verdict>& causes) {
    Json object{{"causes", listOf(causes, Diagnosis::causeOf)}, {"looks", Json::array()}};
    for (const Finding& finding : findingsOf(facts, causes))
        object["looks"].push_back({{"code", finding.look},
                                   {"status", nameOf(finding.status)},
                                   {"seen", finding.seen},
                                   {"address", finding.address}});
    const auto failure = std::find_if(causes.begin(), causes.end(), isFailure);
    if (failure != causes.end())
        object["error"] = Diagnosis::errorOf(*failure);
    return object;
}

ExitStatus runDoctor(const DoctorOptions& options, const CommonOptions& common) {
    const Json nothing{{"causes", Json::array()}, {"looks", Json::array()}};
    return runJson(options.json, nothing, common, [&](Json& object) {
        warnOfNoDump(common);
        ProgressBar status(streamOfStatus(common));
        ToolLog log(common.log, &status);
        const Examination seen = examine(options.camera, log, status);
        const std::vector<Verdict> causes = causesOf(seen);
        if (options.json)
            object = doctorJson(seen.facts, causes);
        else
            std::fputs(doctorText(seen.facts, causes).c_str(), stdout);
        return std::any_of(causes.begin(), causes.end(), isFailure) ? ExitStatus::failed : ExitStatus::done;
    });
}

} // namespace Console
