#include "Console/DumpFolder.h"

#include "Platform/Text.h"
#include "Support/TemporaryFolder.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

using Console::DumpFolder;
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
        DumpFolder dumps(folder.path());
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
        DumpFolder dumps(folder.path());
        dump();
        dumps.claim("../../evil");
    }
    EXPECT_EQ(folder.names(), Names{"KorvaImage now _._.._evil-1.sgi"});
}

TEST(DumpFolder, LeavesTheFolderAsItIsWhereItCannotBeUsed) {
    DumpFolder dumps("/no/such/folder");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), L"/no/such/folder");
    dumps.claim("10.0.0.7");
}
