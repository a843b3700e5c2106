// The defences that the built files carry, read from the files themselves.

#include "ElfFile.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace fs = std::filesystem;
using Structure::ElfFile;
using Structure::readElf;

namespace {

/// Whether the loader looks there in every working folder: an empty element is that folder.
bool dependsOnTheWorkingFolder(const std::string& element) {
    return element != "$ORIGIN" && !element.starts_with("$ORIGIN/") && !element.starts_with('/');
}

bool findsItsLibrariesInFixedPlaces(const ElfFile& elf) {
    return std::none_of(elf.runPath.begin(), elf.runPath.end(), dependsOnTheWorkingFolder);
}

bool importsAnyOf(const ElfFile& elf, bool (*matches)(std::string_view)) {
    return std::any_of(elf.imports.begin(), elf.imports.end(), matches);
}

/// The C library checks the size of what is written to: in optimised builds only.
bool hasTheCLibraryCheckSizes(const ElfFile& elf) {
    return importsAnyOf(
        elf, [](std::string_view name) { return name.starts_with("__") && name.ends_with("_chk"); });
}

/// It stops at an index or a precondition of the standard library's that does not hold.
bool hasTheStandardLibraryAssert(const ElfFile& elf) {
    return importsAnyOf(
        elf, [](std::string_view name) { return name.find("__glibcxx_assert_fail") != name.npos; });
}

struct Defence {
    const char* name;
    bool (*isIn)(const ElfFile&);
};

/// What every file has.
constexpr Defence defences[] = {
    {"IsReadOnlyWhereTheLoaderHasBoundIt", [](const ElfFile& elf) { return elf.hasRelro && elf.bindsNow; }},
    {"HasNoExecutableStack", [](const ElfFile& elf) { return elf.namesStack && !elf.stackIsExecutable; }},
    {"GuardsTheReturnAddressesOnItsStack",
     [](const ElfFile& elf) { return elf.imports.contains("__stack_chk_fail"); }},
    {"HasTheCLibraryCheckSizes", hasTheCLibraryCheckSizes},
    {"IsLoadedAnywhere", [](const ElfFile& elf) { return elf.isPositionIndependent; }},
    {"FindsItsLibrariesInFixedPlaces", findsItsLibrariesInFixedPlaces},
    {"HasTheStandardLibraryAssert", hasTheStandardLibraryAssert},
    // More than the start files bring along.
    {"MarksWhereAJumpByAPointerMayGo", [](const ElfFile& elf) { return elf.branchTargets > 100; }},
    {"TouchesThePagesOfALargeFrameInTurn", [](const ElfFile& elf) { return elf.stackProbes > 0; }},
};

/// Tool, plug-in and host library: as they were built, or as they lie below the folder KORVA_INSTALLED.
std::vector<std::string> findProductFiles() {
    std::vector<std::string> files{KORVA_TOOL, KORVA_PLUGIN, KORVA_HOST_LIBRARY};
    const char* const folder = std::getenv("KORVA_INSTALLED");
    for (std::string& file : files) {
        if (folder == nullptr)
            continue;
        const fs::path name = fs::path(file).filename();
        file = fs::path(folder) / name; // where nothing lies
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file() && entry.path().filename() == name)
                file = entry.path();
    }
    return files;
}

const std::vector<std::string> productFiles = findProductFiles();

/// Why this build cannot be judged by that defence; empty if it can.
std::string excuse(const Defence& defence) {
    if (!KORVA_HARDENED)
        return "An instrumented build does without these defences.";
    if (!KORVA_CHECKS_SIZES && defence.isIn == hasTheCLibraryCheckSizes)
        return "The C library checks sizes in optimised builds only.";
    return "";
}

class BuiltFile : public testing::TestWithParam<std::tuple<std::string, Defence>> {};
class BuiltProgram : public testing::TestWithParam<std::string> {};

std::string nameOf(std::string_view path) {
    std::string name(path.substr(path.rfind('/') + 1));
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

} // namespace

TEST_P(BuiltFile, HasTheDefence) {
    const auto& [file, defence] = GetParam();
    if (!excuse(defence).empty())
        GTEST_SKIP() << excuse(defence);
    EXPECT_TRUE(defence.isIn(readElf(file)));
}

TEST_P(BuiltProgram, IsAProgramThatIsLoadedAnywhere) {
    if (!KORVA_HARDENED)
        GTEST_SKIP() << "An instrumented build does without these defences.";
    const ElfFile elf = readElf(GetParam());
    EXPECT_TRUE(elf.hasInterpreter);
    EXPECT_TRUE(elf.isPositionIndependent);
    EXPECT_TRUE(elf.saysPie);
}

INSTANTIATE_TEST_SUITE_P(Hardening, BuiltFile,
                         testing::Combine(testing::ValuesIn(productFiles), testing::ValuesIn(defences)),
                         [](const auto& each) {
                             return nameOf(std::get<0>(each.param)) + std::get<1>(each.param).name;
                         });
INSTANTIATE_TEST_SUITE_P(Hardening, BuiltProgram, testing::Values(productFiles[0], KORVA_A_TEST_PROGRAM),
                         [](const auto& each) { return nameOf(each.param); });

TEST(Hardening, ChecksSizesThatAreKnownOnlyWhenItRuns) {
    if (const std::string reason = excuse({"", hasTheCLibraryCheckSizes}); !reason.empty())
        GTEST_SKIP() << reason;
    EXPECT_TRUE(readElf(productFiles[2]).imports.contains("__memcpy_chk"));
}

TEST(Hardening, IsCountedForTheScoreboard) {
    if (!KORVA_HARDENED || !KORVA_CHECKS_SIZES)
        GTEST_SKIP() << "Not all these defences are in an instrumented build or one that is not optimised.";
    const std::size_t defencesDue = productFiles.size() * std::size(defences);
    std::size_t found = 0;
    for (const std::string& file : productFiles)
        for (const Defence& defence : defences)
            found += defence.isIn(readElf(file)) ? 1 : 0;
    EXPECT_EQ(found, defencesDue);
    std::printf("figure: defences read from the built tool, plug-in and host library: %zu of %zu\n", found,
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
