#include "RulesOfTool.h"

#include "Printable.h"

#include <algorithm>
#include <iterator>

namespace Diagnosis {

namespace {

struct ToolRule {
    Obstacle what;
    const char* code;
    std::string (*text)(const Trouble&);
    const char* remedy; ///< the words OPTION and PLACE stand for the trouble's
    Severity severity = Severity::failure;
};

std::string placeIn(const Trouble& trouble) {
    return printable(trouble.place);
}

std::string reasonIn(const Trouble& trouble) {
    return printable(trouble.reason);
}

/// Why something did not go into a folder, as far as that can be told.
std::string shortfall(const Trouble& trouble) {
    return trouble.reason.empty() ? "the system took no more" : reasonIn(trouble);
}

std::string numberText(std::uint64_t number) {
    return std::to_string(number);
}

constexpr auto seeWhatHappens = "again with --log debug to see what happens";
constexpr auto anotherOption = "another OPTION";
constexpr auto moreRoom = "more room or rights there, or another --diagnostics";
constexpr auto nameThePlugin = "--plugin FILE with the plug-in's file";

const ToolRule toolRules[] = {
    {Obstacle::exception, "failed", reasonIn, seeWhatHappens},
    {Obstacle::memory, "no-memory", [](const Trouble&) { return std::string(notEnoughMemory); },
     "end other programs, or use fewer cameras at a time"},
    {Obstacle::interrupt, "interrupted",
     [](const Trouble&) { return std::string("interrupted by Ctrl-C or a request to end"); },
     "run it again and let it come to its end"},
    {Obstacle::output, "failed",
     [](const Trouble&) { return std::string("standard output could not be written"); },
     "free space, or another place for the output"},

    {Obstacle::file, "file-failed",
     [](const Trouble& it) { return "cannot write " + placeIn(it) + ": " + reasonIn(it); }, anotherOption},
    {Obstacle::fileIsOdd, "file-failed",
     [](const Trouble& it) {
         return "cannot write " + placeIn(it) + ": it exists and is not an ordinary file";
     },
     anotherOption},
    {Obstacle::fileIsKept, "file-failed",
     [](const Trouble& it) {
         return "cannot write " + placeIn(it) + ": it exists, and --no-clobber keeps it";
     },
     anotherOption},
    {Obstacle::fileIsTaken, "file-failed",
     [](const Trouble& it) { return "cannot write " + placeIn(it) + ": it is a picture of this run"; },
     anotherOption},
    {Obstacle::folder, "file-failed",
     [](const Trouble& it) { return "cannot make the folder " + placeIn(it) + ": " + reasonIn(it); },
     anotherOption},
    {Obstacle::noPixels, "file-failed",
     [](const Trouble&) { return std::string("a picture without pixels cannot be written"); },
     seeWhatHappens},
    {Obstacle::encoder, "file-failed",
     [](const Trouble& it) { return "the picture cannot be written as PNG: " + reasonIn(it); },
     seeWhatHappens},
    {Obstacle::sheetIsFull, "sheet-full",
     [](const Trouble& it) {
         return numberText(it.bytes) + " more are not on the sheet, which holds the first " +
                numberText(it.wanted);
     },
     "--contact-sheet with fewer cameras", Severity::note},

    {Obstacle::dumps, "file-failed",
     [](const Trouble& it) {
         return "cannot make the diagnostics folder " + placeIn(it) + ": " + reasonIn(it);
     },
     "another --diagnostics DIR"},
    {Obstacle::dumpsAreOff, "no-dump",
     [](const Trouble& it) { return "no picture file is dumped into " + placeIn(it); }, "--log trace as well",
     Severity::note},
    {Obstacle::dumpsAreSetUp, "no-dump",
     [](const Trouble& it) {
         return "no picture file is dumped into " + placeIn(it) + ", since --log-config decides on that";
     },
     "the level TRACE of the logger Plenar.KorvaCamera.KorvaCapture there", Severity::note},
    {Obstacle::dumpsHaveNone, "no-dump",
     [](const Trouble& it) {
         return "fetched picture files are not dumped: " + placeIn(it) + " " + reasonIn(it);
     },
     "--diagnostics DIR", Severity::note},
    {Obstacle::dumpFolder, "file-failed",
     [](const Trouble& it) {
         return "cannot dump the picture file into " + placeIn(it) + ": " + reasonIn(it);
     },
     moreRoom},
    {Obstacle::dump, "file-failed",
     [](const Trouble& it) { return "cannot write " + placeIn(it) + ": " + reasonIn(it); }, moreRoom},
    {Obstacle::dumpIsMissing, "file-failed",
     [](const Trouble& it) {
         return "the picture file was not dumped into " + placeIn(it) + ": " + shortfall(it);
     },
     moreRoom},
    {Obstacle::dumpIsCut, "file-failed",
     [](const Trouble& it) {
         return "the dump " + placeIn(it) + " is not whole, " + numberText(it.bytes) + " of " +
                numberText(it.wanted) + " bytes: " + shortfall(it);
     },
     moreRoom},
    {Obstacle::dumpMayBeCut, "file-failed",
     [](const Trouble& it) { return "the dump " + placeIn(it) + " may not be whole: " + shortfall(it); },
     moreRoom},

    {Obstacle::description, "file-failed",
     [](const Trouble& it) { return placeIn(it) + ": " + reasonIn(it); }, "korva describe ADDRESS > PLACE"},
    {Obstacle::descriptionOfAnother, "file-failed",
     [](const Trouble& it) { return placeIn(it) + " describes no Korva camera"; },
     "korva describe ADDRESS, which prints what a description holds"},
    {Obstacle::noPlugin, "failed",
     [](const Trouble& it) { return "the plug-in " + placeIn(it) + " is in none of " + reasonIn(it); },
     "--plugin FILE"},
    {Obstacle::plugin, "failed", reasonIn, nameThePlugin},
    {Obstacle::pluginOfAnotherRelease, "failed", reasonIn, "a plug-in and a tool of the same release"},
    {Obstacle::pluginWithoutCameras, "failed",
     [](const Trouble& it) { return "The plug-in " + placeIn(it) + " registers no camera type"; },
     nameThePlugin},
    {Obstacle::noDevice, "failed",
     [](const Trouble& it) { return "no device can be built of the camera at " + placeIn(it); },
     seeWhatHappens},
    {Obstacle::noImaging, "failed", [](const Trouble& it) { return placeIn(it) + " takes no pictures"; },
     seeWhatHappens},
    {Obstacle::simulatedSet, "file-failed", reasonIn, "what korva simulate --help says of --config"},
    {Obstacle::simulator, "failed", reasonIn,
     "another --address, --port or --text-port, or end the program that has the port"},
    {Obstacle::somePictures, "partly-failed", reasonIn, "what is said of each of them"},
    {Obstacle::allPictures, "failed", reasonIn, "what is said of each of them"},
};

std::string withWord(std::string text, const std::string& word, const std::string& meant) {
    const std::size_t at = text.find(word);
    return at == std::string::npos ? text : text.replace(at, word.size(), meant);
}

} // namespace

Verdict verdictOn(const Trouble& trouble) {
    const auto* const rule =
        std::find_if(std::begin(toolRules), std::end(toolRules),
                     [&trouble](const ToolRule& row) { return row.what == trouble.what; });
    Verdict verdict;
    verdict.code = rule->code;
    verdict.severity = rule->severity;
    verdict.text = rule->text(trouble);
    verdict.remedy = withWord(withWord(rule->remedy, "OPTION", trouble.option), "PLACE", placeIn(trouble));
    verdict.address = trouble.address;
    return verdict;
}

Verdict wrongUsage(const std::string& text, const std::string& remedy) {
    Verdict verdict;
    verdict.code = "wrong-usage";
    verdict.text = text;
    verdict.remedy = remedy;
    return verdict;
}

} // namespace Diagnosis
