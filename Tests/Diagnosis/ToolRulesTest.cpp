// What keeps the tool itself from its work, in words.

#include "Diagnosis/Print.h"
#include "Diagnosis/Printable.h"
#include "Diagnosis/RulesOfTool.h"

#include <gtest/gtest.h>

#include <iterator>
#include <ostream>
#include <string>

using namespace Diagnosis;

namespace {

struct ObstacleRow {
    Obstacle what;
    const char* code; ///< "note: " before it of a note
    const char* line;
};

void PrintTo(const ObstacleRow& row, std::ostream* out) {
    *out << row.line;
}

constexpr ObstacleRow obstacleRows[] = {
    {Obstacle::exception, "failed", "WHY; try: again with --log debug to see what happens"},
    {Obstacle::memory, "no-memory",
     "not enough memory; try: end other programs, or use fewer cameras at a time"},
    {Obstacle::interrupt, "interrupted",
     "interrupted by Ctrl-C or a request to end; try: run it again and let it come to its end"},
    {Obstacle::output, "failed",
     "standard output could not be written; try: free space, or another place for the output"},
    {Obstacle::file, "file-failed", "cannot write IT: WHY; try: another --option"},
    {Obstacle::fileIsOdd, "file-failed",
     "cannot write IT: it exists and is not an ordinary file; try: another --option"},
    {Obstacle::fileIsKept, "file-failed",
     "cannot write IT: it exists, and --no-clobber keeps it; try: another --option"},
    {Obstacle::fileIsTaken, "file-failed",
     "cannot write IT: it is a picture of this run; try: another --option"},
    {Obstacle::folder, "file-failed", "cannot make the folder IT: WHY; try: another --option"},
    {Obstacle::noPixels, "file-failed",
     "a picture without pixels cannot be written; try: again with --log debug to see what happens"},
    {Obstacle::encoder, "file-failed",
     "the picture cannot be written as PNG: WHY; try: again with --log debug to see what happens"},
    {Obstacle::sheetIsFull, "note: sheet-full",
     "7 more are not on the sheet, which holds the first 9; try: --contact-sheet with fewer cameras"},
    {Obstacle::dumps, "file-failed",
     "cannot make the diagnostics folder IT: WHY; try: another --diagnostics DIR"},
    {Obstacle::dumpsAreOff, "note: no-dump", "no picture file is dumped into IT; try: --log trace as well"},
    {Obstacle::dumpsAreSetUp, "note: no-dump",
     "no picture file is dumped into IT, since --log-config decides on that; try: the level TRACE of the "
     "logger Plenar.KorvaCamera.KorvaCapture there"},
    {Obstacle::dumpsHaveNone, "note: no-dump",
     "fetched picture files are not dumped: IT WHY; try: --diagnostics DIR"},
    {Obstacle::dumpFolder, "file-failed",
     "cannot dump the picture file into IT: WHY; try: more room or rights there, or another --diagnostics"},
    {Obstacle::dump, "file-failed",
     "cannot write IT: WHY; try: more room or rights there, or another --diagnostics"},
    {Obstacle::dumpIsMissing, "file-failed",
     "the picture file was not dumped into IT: WHY; try: more room or rights there, or another "
     "--diagnostics"},
    {Obstacle::dumpIsCut, "file-failed",
     "the dump IT is not whole, 7 of 9 bytes: WHY; try: more room or rights there, or another "
     "--diagnostics"},
    {Obstacle::dumpMayBeCut, "file-failed",
     "the dump IT may not be whole: WHY; try: more room or rights there, or another --diagnostics"},
    {Obstacle::description, "file-failed", "IT: WHY; try: korva describe ADDRESS > IT"},
    {Obstacle::descriptionOfAnother, "file-failed",
     "IT describes no Korva camera; try: korva describe ADDRESS, which prints what a description holds"},
    {Obstacle::noPlugin, "failed", "the plug-in IT is in none of WHY; try: --plugin FILE"},
    {Obstacle::plugin, "failed", "WHY; try: --plugin FILE with the plug-in's file"},
    {Obstacle::pluginOfAnotherRelease, "failed", "WHY; try: a plug-in and a tool of the same release"},
    {Obstacle::pluginWithoutCameras, "failed",
     "The plug-in IT registers no camera type; try: --plugin FILE with the plug-in's file"},
    {Obstacle::noDevice, "failed",
     "no device can be built of the camera at IT; try: again with --log debug to see what happens"},
    {Obstacle::noImaging, "failed", "IT takes no pictures; try: again with --log debug to see what happens"},
    {Obstacle::simulatedSet, "file-failed", "WHY; try: what korva simulate --help says of --config"},
    {Obstacle::simulator, "failed",
     "WHY; try: another --address, --port or --text-port, or end the program that has the port"},
    {Obstacle::somePictures, "partly-failed", "WHY; try: what is said of each of them"},
    {Obstacle::allPictures, "failed", "WHY; try: what is said of each of them"},
};

Trouble troubleWith(Obstacle what, const std::string& place, const std::string& reason) {
    return {.what = what,
            .place = place,
            .reason = reason,
            .option = "--option",
            .address = "10.0.0.7",
            .bytes = 7,
            .wanted = 9};
}

class ToolRules : public testing::TestWithParam<ObstacleRow> {};

} // namespace

TEST_P(ToolRules, SayWhatHappenedAndWhatToTry) {
    const Verdict verdict = verdictOn(troubleWith(GetParam().what, "IT", "WHY"));
    EXPECT_EQ((verdict.severity == Severity::note ? "note: " : "") + verdict.code, GetParam().code);
    EXPECT_EQ(wordsOf(verdict), GetParam().line);
    EXPECT_EQ(verdict.address, "10.0.0.7");
}

TEST_P(ToolRules, CannotSteerATerminalWhateverASystemSays) {
    const std::string evil = "\x1B[2J\xFF\n";
    const Verdict verdict = verdictOn(troubleWith(GetParam().what, evil, evil));
    EXPECT_EQ(verdict.text, printable(verdict.text));
    EXPECT_EQ(verdict.remedy, printable(verdict.remedy));
}

INSTANTIATE_TEST_SUITE_P(Obstacles, ToolRules, testing::ValuesIn(obstacleRows));

TEST(ToolRules, AreAllShownHereInTheirOrder) {
    for (std::size_t i = 0; i < std::size(obstacleRows); ++i)
        EXPECT_EQ(static_cast<std::size_t>(obstacleRows[i].what), i) << obstacleRows[i].line;
    EXPECT_EQ(std::size(obstacleRows), static_cast<std::size_t>(Obstacle::allPictures) + 1);
}

TEST(ToolRules, OfADumpThatNobodyHasAReasonForBlameTheSystem) {
    EXPECT_EQ(verdictOn({.what = Obstacle::dumpMayBeCut, .place = "a"}).text,
              "the dump a may not be whole: the system took no more");
}
