#include "Console/DumpFolder.h"

#include "Platform/Text.h"
#include "Support/TemporaryFolder.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using Console::DumpFolder;
using Diagnosis::Verdict;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using Names = std::vector<std::string>;

namespace {

/// As the plug-in does, always within the same second.
void dump() {
    std::ofstream(Platform::utf8FromWide(PlenarDiagnostics::getImagesSubDirectory()) + "/KorvaImage now.sgi")
        << "picture";
}

} // namespace

TEST(DumpFolder, KeepsEveryDumpUnderANameOfItsOwn) {
    const TestSupport::TemporaryFolder folder;
    for (int run = 0; run < 2; ++run) {
        DumpFolder dumps(folder.path().string());
        dump();
        std::thread([&dumps] {
            dump();
            dump();
            dumps.claim("10.0.0.7");
        }).join();
        dumps.claim("10.0.0.8");
        dumps.claim("10.0.0.8"); // nothing is left for it
        dump();
    }
    EXPECT_EQ(folder.names(), (Names{"KorvaImage now 10.0.0.7-1.sgi", "KorvaImage now 10.0.0.7-2.sgi",
                                     "KorvaImage now 10.0.0.7-3.sgi", "KorvaImage now 10.0.0.7-4.sgi",
                                     "KorvaImage now 10.0.0.8-1.sgi", "KorvaImage now 10.0.0.8-2.sgi",
                                     "KorvaImage now other-1.sgi", "KorvaImage now other-2.sgi"}));
}

TEST(DumpFolder, NamesNoFileElsewhere) {
    const TestSupport::TemporaryFolder folder;
    {
        DumpFolder dumps(folder.path().string());
        dump();
        dumps.claim("../../evil");
    }
    EXPECT_EQ(folder.names(), Names{"KorvaImage now _._.._evil-1.sgi"});
}

TEST(DumpFolder, LeavesTheFolderAsItIsWhereItCannotBeUsed) {
    DumpFolder dumps("/no/such/folder");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), L"/no/such/folder");
    dumps.claim("10.0.0.7");
    EXPECT_THAT(dumps.takeFailures(), ElementsAre(Field(&Verdict::text, "cannot dump the picture file into "
                                                                        "/no/such/folder: No such file or "
                                                                        "directory")));
}

TEST(DumpFolder, SaysWhichDumpsAreMissingOrNotWhole) {
    const TestSupport::TemporaryFolder folder;
    DumpFolder dumps(folder.path().string());
    for (const std::optional<std::uint64_t> bytes : {std::optional<std::uint64_t>(7), {8}, {}}) {
        DumpFolder::noteFetched(bytes);
        dump();
    }
    DumpFolder::noteFetched(std::nullopt);
    PlenarDiagnostics::getImagesSubDirectory(); // and then the file cannot be made
    dumps.claim("10.0.0.7");
    const auto saying = [](const std::string& text) {
        return AllOf(Field(&Verdict::code, "file-failed"), Field(&Verdict::address, "10.0.0.7"),
                     Field(&Verdict::text, text));
    };
    EXPECT_THAT(dumps.takeFailures(),
                ElementsAre(saying("the dump " + folder.file("KorvaImage now 10.0.0.7-2.sgi") +
                                   " is not whole, 7 of 8 bytes: the system took no more"),
                            saying("the picture file was not dumped into " + folder.path().string() +
                                   ": the system took no more")));
    EXPECT_THAT(dumps.takeFailures(), testing::IsEmpty());
}
