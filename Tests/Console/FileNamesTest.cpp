#include "Console/FileNames.h"

#include "Platform/FileNames.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace Console;

namespace {

/// A file's name, of several cameras if `addresses` says so.
std::string nameOf(const std::string& output, const NameParts& parts, int count = 1, bool isOfAll = false,
                   const std::vector<int>& exposures = {15}) {
    CaptureOptions options;
    options.camera.all = isOfAll;
    options.output = output;
    options.count = count;
    options.exposures = exposures;
    return pictureFileName(options, parts);
}

NameParts picture(int number, const std::string& address) {
    return {address, "Lab 2", "1234", "20261122-231455", 15, number};
}

const std::string longest(64, 'a');

} // namespace

TEST(PictureName, IsNumberedWhereThereAreSeveralBeforeTheExtensionIfThereIsOne) {
    for (const auto& [number, output, count, name] : {std::tuple{1, "wall.png", 1, "wall.png"},
                                                      {1, "wall.png", 2, "wall-1.png"},
                                                      {12, "wall.png", 12, "wall-12.png"},
                                                      {1, "run.1/a.b.png", 2, "run.1/a.b-1.png"},
                                                      {1, "run.1/wall", 2, "run.1/wall-1"},
                                                      {1, "run.1/.wall", 2, "run.1/.wall-1"}})
        EXPECT_EQ(nameOf(output, picture(number, "10.0.0.7"), count), name);
    EXPECT_EQ(nameOf("wall.png", picture(3, "10.0.0.7"), 1, false, {5, 10, 20}), "wall-3.png") << "a bracket";
}

TEST(PictureName, IsMadeOfTheAddressWithoutWhatAPathWouldMindOrBeTooLongFor) {
    EXPECT_EQ(nameOf("", picture(1, "10.0.0.7")), "korva-10.0.0.7.png");
    EXPECT_EQ(nameOf("", picture(2, "10.0.0.7"), 2), "korva-10.0.0.7-2.png");
    EXPECT_EQ(nameOf("", picture(1, "../fe80::1%eth0\n")), "korva-.._fe80__1_eth0_.png");
    EXPECT_EQ(nameOf("", picture(1, longest + std::string(170, 'b'))), "korva-" + longest + ".png");
}

TEST(PictureName, OfOneCameraLiesInTheOutputWhereThatIsAFolder) {
    const TestSupport::TemporaryFolder folder;
    const std::string there = folder.path().string();
    EXPECT_EQ(nameOf(there, picture(1, "10.0.0.7")), there + "/korva-10.0.0.7.png");
    EXPECT_EQ(nameOf("new/", picture(2, "10.0.0.7"), 2), "new/korva-10.0.0.7-2.png");
    EXPECT_EQ(nameOf(there + "/new", picture(1, "10.0.0.7")), there + "/new");
}

TEST(PictureName, OfSeveralCamerasLiesInTheFolderOfTheOutput) {
    EXPECT_EQ(nameOf("wall", picture(1, "10.0.0.7"), 1, true), "wall/korva-10.0.0.7.png");
    EXPECT_EQ(nameOf("wall/", picture(2, "../../evil"), 2, true), "wall/korva-.._.._evil-2.png");
    EXPECT_EQ(nameOf("", picture(1, "10.0.0.7"), 2, true), "korva-10.0.0.7-1.png");
    CaptureOptions options;
    options.output = "wall";
    options.camera.addresses = {"10.0.0.7", "10.0.0.8"};
    EXPECT_EQ(pictureFileName(options, picture(1, "10.0.0.8")), "wall/korva-10.0.0.8.png");
}

TEST(PictureName, IsWhatItsPatternSaysWithoutWhatWouldLeadElsewhere) {
    const std::string all = "{room}-{serial}-{address}-{time}-{exposure}-{number}.png";
    EXPECT_EQ(nameOf(all, picture(7, "10.0.0.7"), 9, true), "Lab_2-1234-10.0.0.7-20261122-231455-1.5-7.png");
    const NameParts odd{"..", "../../x", "", "", 15, 1};
    EXPECT_EQ(nameOf("{room}/{address}/{serial}.png", odd),
              "_._.._x/" + Platform::keptName("_.") + "/unknown.png");
}

TEST(PictureName, OfAPatternIsKeptByTheSystemWhereACameraSaysAPartOfIt) {
    const NameParts device{"", "NUL", "UL", "", 15, 1};
    const NameParts dots{"", "Lab..", "", "", 15, 1};
    const auto kept = [](const char* name) { return Platform::keptName(name); };
    EXPECT_EQ(nameOf("{room}.png", device), kept("NUL.png"));
    EXPECT_EQ(nameOf("NUL./N{serial}/{room}", device), "NUL./" + kept("NUL") + "/" + kept("NUL"));
    EXPECT_EQ(nameOf("{room}/{room}.png", dots), kept("Lab..") + "/Lab...png");
}

TEST(PictureName, OfAPatternTellsPicturesApartByItselfOrIsNumbered) {
    const NameParts third = picture(3, "10.0.0.7");
    EXPECT_EQ(nameOf("{serial}.png", third, 3), "1234-3.png");
    EXPECT_EQ(nameOf("{serial}_{number}.png", third, 3), "1234_3.png");
    EXPECT_EQ(nameOf("{exposure}.png", third, 1, false, {5, 10, 15}), "1.5.png");
    EXPECT_EQ(nameOf("{exposure}.png", third, 2, false, {5, 10, 15}), "1.5-3.png");
}

TEST(PictureName, IsRefusedAsWrongUsageWhereItIsNone) {
    for (const char* good :
         {"a.png", "a", "A.PNG", "-", "dir.d/", "{room}/{serial}-{time}-{number}.png", "a}"})
        EXPECT_EQ(complaintAboutOutput(good), "") << good;
    for (const auto& [output, complaint] :
         {std::pair{"", "the file's name is empty"},
          {"a.jpg", "\"a.jpg\" names another format: PNG is what is written"},
          {"x/b.JPEG", "\"x/b.JPEG\" names another format: PNG is what is written"},
          {"{name}.png",
           "\"{name}.png\": {name} is unknown; it can hold {room}, {serial}, {address}, {time}, "
           "{number} or {exposure}"},
          {"{room.png", "\"{room.png\": a { of it has no }"}})
        EXPECT_EQ(complaintAboutOutput(output), complaint);
}

TEST(UnusedNames, AreNumberedBeforeTheExtensionAndStayInTheirFolder) {
    UnusedNames names;
    for (const char* name : {"a.png", "a_2.png", "a_3.png"})
        EXPECT_EQ(names.unused("a.png"), name);
    for (const std::string name : {"b", "./b.d", "../w/p.d/Lab", "p.d/.Lab", ".Lab"})
        EXPECT_EQ(names.unused(name), name);
    for (const auto& [name, second] : {std::pair{"b", "b_2"},
                                       {"./b.d", "./b_2.d"},
                                       {"./Lab", "./Lab"},
                                       {"Lab", "Lab_2"},
                                       {"../w/p.d/Lab", "../w/p.d/Lab_2"},
                                       {"p.d/.Lab", "p.d/.Lab_2"},
                                       {".Lab", ".Lab_2"}})
        EXPECT_EQ(names.unused(name), second);
}

TEST(UnusedNames, TellFilesApartHoweverTheyAreSpelt) {
    const TestSupport::TemporaryFolder folder;
    UnusedNames names;
    names.reserve(folder.file("./sheet.png"));
    EXPECT_EQ(names.unused(folder.file("b.png")), folder.file("b.png"));
    for (const std::string name : {"./b", "B", "no/../b"})
        EXPECT_THAT(names.unused(folder.file(name + ".png")), testing::StartsWith(folder.file(name + "_")));
    EXPECT_EQ(names.unused(folder.file("no/../sheet.png")), folder.file("no/../sheet_2.png"));
    UnusedNames others;
    others.reserve(folder.file("sheet.png"));
    const bool isOneFile = Platform::comparedPath("SHEET") == Platform::comparedPath("sheet");
    EXPECT_EQ(others.unused(folder.file("SHEET.png")), folder.file(isOneFile ? "SHEET_2.png" : "SHEET.png"));
    EXPECT_EQ(isSameFile(folder.file("SHEET.png"), folder.file("./sheet.png")), isOneFile);
}

TEST(UnusedNames, TellFilesApartThatLinksLeadTo) {
    const TestSupport::TemporaryFolder folder;
    std::filesystem::create_directory_symlink(".", folder.file("link"));
    std::filesystem::create_symlink("b.png", folder.file("a.png"));
    std::ofstream(folder.file("b.png")) << "older";
    UnusedNames names;
    names.reserve(folder.file("sheet.png"));
    EXPECT_EQ(names.unused(folder.file("a.png")), folder.file("a.png"));
    EXPECT_EQ(names.unused(folder.file("link/b.png")), folder.file("link/b_2.png"));
    EXPECT_EQ(names.unused(folder.file("link/sheet.png")), folder.file("link/sheet_2.png"));
}
