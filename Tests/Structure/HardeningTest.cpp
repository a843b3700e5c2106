// The defences that the built files carry, as binutils read them.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// What a tool says of a file that has a defence.
struct Sign {
    const char* of;
    const char* tool;
    const char* pattern; ///< of grep -P, in one line
    int lines = 1;       ///< at least so many
};

bool shows(const fs::path& file, const Sign& sign) {
    const std::string count = std::string("LC_ALL=C ") + sign.tool + " '" + file.string() +
                              "' 2>&- | grep -cP '" + sign.pattern + "'";
    return std::system(("test $(" + count + ") -ge " + std::to_string(sign.lines)).c_str()) == 0;
}

constexpr const char* header = "readelf -hW";
constexpr const char* segments = "readelf -lW";
constexpr const char* dynamicSection = "readelf -dW";
constexpr const char* symbols = "readelf -W --dyn-syms";
constexpr const char* code = "objdump -d";

constexpr Sign anyPlace{"a place of the loader's choice", header, "^ *Type: +DYN\\b"};
constexpr Sign sizeChecks{"the C library's checks of sizes", symbols, " UND __\\w+_chk\\b"};
constexpr Sign runPath{"a run path", dynamicSection, "\\(R(UN)?PATH\\).*\\[.*\\]$"};
/// One of its elements is looked for in every working folder: an empty one is that folder.
constexpr Sign oddRunPath{"an odd one", dynamicSection, "\\(R(UN)?PATH\\).*\\[(.*:)?(?!/|\\$ORIGIN[]:/])"};

/// Those of every file.
std::vector<Sign> signsDue() {
    std::vector<Sign> due = {
        anyPlace,
        {"a part that is read-only once it is relocated", segments, "^ *GNU_RELRO "},
        {"all of that bound before it starts", dynamicSection, "\\(FLAGS(_1)?\\).*NOW\\b"},
        {"a stack that is not executable", segments, "^ *GNU_STACK( +0x\\w+){5} +RW +0x"},
        {"guards of the return addresses on its stack", symbols, " UND __stack_chk_fail\\b"},
        {"the standard library's assertions", symbols, " UND \\w*__glibcxx_assert_fail"},
        // More than the start files bring along.
        {"marks where a jump by a pointer may go", code, "\\bendbr64\\b", 101},
        {"a touch of each page of a large frame in turn", code, "\\borq +\\$0x0,\\(%rsp\\)"},
    };
    if (KORVA_CHECKS_SIZES)
        due.push_back(sizeChecks);
    return due;
}

/// Tool, plug-in and host library: as they were built, or as they lie below the folder KORVA_INSTALLED.
std::vector<fs::path> findProductFiles() {
    std::vector<fs::path> files{KORVA_TOOL, KORVA_PLUGIN, KORVA_HOST_LIBRARY};
    const char* const folder = std::getenv("KORVA_INSTALLED");
    for (fs::path& file : files) {
        if (folder == nullptr)
            continue;
        const fs::path name = file.filename();
        file = folder / name; // where nothing lies
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file() && entry.path().filename() == name)
                file = entry.path();
    }
    return files;
}

class Hardening : public testing::Test {
protected:
    void SetUp() override {
        if (!KORVA_HARDENED)
            GTEST_SKIP() << "An instrumented build does without these defences.";
    }

    const std::vector<fs::path> productFiles = findProductFiles();
};

} // namespace

TEST_F(Hardening, IsInEveryFileOfTheProduct) {
    std::size_t due = 0;
    std::size_t found = 0;
    for (const fs::path& file : productFiles) {
        for (const Sign& sign : signsDue()) {
            const bool isThere = shows(file, sign);
            EXPECT_TRUE(isThere) << file << " lacks " << sign.of;
            ++due;
            found += isThere ? 1 : 0;
        }
        EXPECT_FALSE(shows(file, oddRunPath)) << file;
    }
    std::printf("figure: defences read from the built tool, plug-in and host library: %zu of %zu\n", found,
                due);
}

TEST_F(Hardening, ChecksSizesThatAreKnownOnlyWhenItRuns) {
    if (!KORVA_CHECKS_SIZES)
        GTEST_SKIP() << "The C library checks sizes in optimised builds only.";
    EXPECT_TRUE(shows(productFiles[2], {"a copy", symbols, " UND __memcpy_chk\\b"}));
}

TEST_F(Hardening, HasProgramsThatAreLoadedAnywhere) {
    for (const fs::path& program : {productFiles[0], fs::path(KORVA_A_TEST_PROGRAM)})
        for (const Sign& sign :
             {anyPlace, Sign{"the name of its loader", segments, "^ *INTERP "},
              Sign{"the flag of such a program", dynamicSection, "\\(FLAGS_1\\).*\\bPIE\\b"}})
            EXPECT_TRUE(shows(program, sign)) << program << " lacks " << sign.of;
}

/// Whatever is built in these folders: the product's files, the tests' programs and their libraries.
TEST(BuiltFiles, FindTheirLibrariesInFixedPlaces) {
    int found = 0;
    for (const char* const file : {KORVA_TOOL, KORVA_A_TEST_PROGRAM})
        for (const auto& built : fs::directory_iterator(fs::path(file).parent_path())) {
            EXPECT_FALSE(shows(built.path(), oddRunPath)) << built.path();
            found += shows(built.path(), runPath) ? 1 : 0;
        }
    EXPECT_GE(found, 3);
}

TEST(RunPathRules, FindAnElementThatDependsOnTheWorkingFolder) {
    const auto isOdd = [](const std::string& path) {
        return shows(path, {"", "printf '(RUNPATH) Library runpath: [%s]'", oddRunPath.pattern});
    };
    for (const char* const path :
         {"", "lib", ":/lib", "/lib:", "/lib::/x", "/lib:lib", "$ORIGINS/lib", "$LIB"})
        EXPECT_TRUE(isOdd(path)) << path;
    for (const char* const path : {"/lib", "$ORIGIN", "$ORIGIN:$ORIGIN/../lib:/lib"})
        EXPECT_FALSE(isOdd(path)) << path;
}
