// The defences that the built files carry, read from the files themselves.

#include "ElfFile.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace fs = std::filesystem;
using Structure::ElfFile;
using Structure::readElf;

namespace {

/// Whether it calls one of the C library's functions that check the size of what they write to.
bool importsACheckingFunction(const ElfFile& elf) {
    return std::any_of(elf.imports.begin(), elf.imports.end(), [](std::string_view name) {
        return name.starts_with("__") && name.ends_with("_chk");
    });
}

/// Whether the loader looks there in every working folder: an empty element is that folder.
bool dependsOnTheWorkingFolder(const std::string& element) {
    return element != "$ORIGIN" && !element.starts_with("$ORIGIN/") && !element.starts_with('/');
}

bool findsItsLibrariesInFixedPlaces(const ElfFile& elf) {
    return std::none_of(elf.runPath.begin(), elf.runPath.end(), dependsOnTheWorkingFolder);
}

/// Whether it stops at an index or a precondition of the standard library's that does not hold.
bool assertsInTheStandardLibrary(const ElfFile& elf) {
    return std::any_of(elf.imports.begin(), elf.imports.end(),
                       [](std::string_view name) { return name.find("__glibcxx_assert_fail") != name.npos; });
}

/// More than the start files bring along.
bool marksItsBranchTargets(const ElfFile& elf) {
    return elf.branchTargets > 100;
}

/// How many of the nine that every file has: relocations that are read-only, a stack that is not code,
/// guarded returns, checked sizes, no fixed place, libraries from fixed places, an asserting standard
/// library, marked branch targets, probed stacks.
int defencesOf(const ElfFile& elf) {
    return (elf.hasRelro && elf.bindsNow ? 1 : 0) + (elf.namesStack && !elf.stackIsExecutable ? 1 : 0) +
           (elf.imports.contains("__stack_chk_fail") ? 1 : 0) + (importsACheckingFunction(elf) ? 1 : 0) +
           (elf.isPositionIndependent ? 1 : 0) + (findsItsLibrariesInFixedPlaces(elf) ? 1 : 0) +
           (assertsInTheStandardLibrary(elf) ? 1 : 0) + (marksItsBranchTargets(elf) ? 1 : 0) +
           (elf.stackProbes > 0 ? 1 : 0);
}

class BuiltFile : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!KORVA_HARDENED)
            GTEST_SKIP() << "An instrumented build does without these defences.";
    }

    const ElfFile elf = readElf(GetParam());
};

class BuiltProgram : public BuiltFile {};

std::string nameOf(const testing::TestParamInfo<const char*>& file) {
    const std::string_view path = file.param;
    std::string name(path.substr(path.rfind('/') + 1));
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

} // namespace

TEST_P(BuiltFile, IsReadOnlyWhereTheLoaderHasBoundIt) {
    EXPECT_TRUE(elf.hasRelro);
    EXPECT_TRUE(elf.bindsNow);
}

TEST_P(BuiltFile, HasNoExecutableStack) {
    EXPECT_TRUE(elf.namesStack);
    EXPECT_FALSE(elf.stackIsExecutable);
}

TEST_P(BuiltFile, GuardsTheReturnAddressesOnItsStack) {
    EXPECT_TRUE(elf.imports.contains("__stack_chk_fail"));
}

TEST_P(BuiltFile, HasTheCLibraryCheckSizes) {
    if (!KORVA_CHECKS_SIZES)
        GTEST_SKIP() << "The C library checks sizes in optimised builds only.";
    EXPECT_TRUE(importsACheckingFunction(elf)) << testing::PrintToString(elf.imports);
}

TEST_P(BuiltFile, HasTheStandardLibraryAssert) {
    EXPECT_TRUE(assertsInTheStandardLibrary(elf));
}

TEST_P(BuiltFile, MarksWhereAJumpByAPointerMayGo) {
    EXPECT_TRUE(marksItsBranchTargets(elf)) << elf.branchTargets;
}

TEST_P(BuiltFile, TouchesThePagesOfALargeFrameInTurn) {
    EXPECT_GT(elf.stackProbes, 0u);
}

TEST_P(BuiltFile, IsLoadedAnywhere) {
    EXPECT_TRUE(elf.isPositionIndependent);
}

TEST_P(BuiltProgram, IsAProgramThatIsLoadedAnywhere) {
    EXPECT_TRUE(elf.hasInterpreter);
    EXPECT_TRUE(elf.isPositionIndependent);
    EXPECT_TRUE(elf.saysPie);
}

INSTANTIATE_TEST_SUITE_P(Hardening, BuiltFile, testing::Values(KORVA_TOOL, KORVA_PLUGIN, KORVA_HOST_LIBRARY),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Hardening, BuiltProgram, testing::Values(KORVA_TOOL, KORVA_A_TEST_PROGRAM), nameOf);

TEST(Hardening, ChecksSizesThatAreKnownOnlyWhenItRuns) {
    if (!KORVA_HARDENED)
        GTEST_SKIP() << "An instrumented build does without these defences.";
    if (!KORVA_CHECKS_SIZES)
        GTEST_SKIP() << "The C library checks sizes in optimised builds only.";
    EXPECT_TRUE(readElf(KORVA_HOST_LIBRARY).imports.contains("__memcpy_chk"));
}

TEST(Hardening, IsCountedForTheScoreboard) {
    if (!KORVA_HARDENED || !KORVA_CHECKS_SIZES)
        GTEST_SKIP() << "Not all these defences are in an instrumented build or one that is not optimised.";
    constexpr int defencesDue = 3 * 9;
    int found = 0;
    for (const char* file : {KORVA_TOOL, KORVA_PLUGIN, KORVA_HOST_LIBRARY})
        found += defencesOf(readElf(file));
    EXPECT_EQ(found, defencesDue);
    std::printf("figure: defences read from the built tool, plug-in and host library: %d of %d\n", found,
                defencesDue);
}

/// Whatever is built in these folders: the product's files, the tests' programs and their libraries.
TEST(BuiltFiles, FindTheirLibrariesInFixedPlaces) {
    int found = 0;
    for (const char* const file : {KORVA_TOOL, KORVA_A_TEST_PROGRAM})
        for (const auto& built : fs::directory_iterator(fs::path(file).parent_path()))
            try {
                const ElfFile elf = readElf(built.path());
                EXPECT_TRUE(findsItsLibrariesInFixedPlaces(elf))
                    << built.path() << testing::PrintToString(elf.runPath);
                found += elf.runPath.empty() ? 0 : 1;
            } catch (const Structure::NotElf&) {
            }
    EXPECT_GE(found, 3);
}

TEST(ElfFile, HasEveryElementOfARunPath) {
    const ElfFile elf = readElf(KORVA_ODD_RUN_PATH);
    EXPECT_EQ(elf.runPath, (std::vector<std::string>{"/lib", "", "lib", ""}));
    EXPECT_FALSE(findsItsLibrariesInFixedPlaces(elf));
}

TEST(ElfFile, OfAFileOfAnotherKindIsRefused) {
    EXPECT_THROW(readElf(KORVA_SOURCE_DIR "/README.md"), Structure::NotElf);
    EXPECT_THROW(readElf(KORVA_SOURCE_DIR "/no-such-file"), Structure::NotElf);
}
