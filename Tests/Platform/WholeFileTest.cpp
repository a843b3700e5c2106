#include "Platform/WholeFile.h"

#include "Support/FileSizeLimit.h"
#include "Support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace WholeFileSteps {

/// What becomes of the steps of writing a file, each named after its function.
struct Script {
    std::map<std::string, int> errors; ///< of those that fail; the others go on to the system's
    std::string stepOfSignal = {};
    int signal = 0;          ///< raised at the beginning of that step
    std::string opened = {}; ///< the path of the last open()
};

/// Each thread has its own.
thread_local Script script;

/// An open() of a file without a name.
constexpr const char* openWithoutName = "O_TMPFILE";

template <typename Function, typename... Arguments>
int run(const std::string& step, const char* function, Arguments... arguments) {
    if (step == script.stepOfSignal)
        raise(script.signal);
    if (const auto planned = script.errors.find(step); planned != script.errors.end()) {
        errno = planned->second;
        return -1;
    }
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, function))(arguments...);
}

} // namespace WholeFileSteps

using namespace WholeFileSteps;

// In the place of the system's, for this program.
extern "C" int open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const bool hasName = (flags & O_TMPFILE) != O_TMPFILE;
    const mode_t mode = (flags & O_CREAT) != 0 || !hasName ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    script.opened = path;
    return run<int(const char*, int, ...)>(hasName ? "open" : openWithoutName, "open", path, flags, mode);
}
extern "C" int linkat(int from, const char* name, int to, const char* newName, int flags) noexcept {
    return run<decltype(linkat)>("linkat", "linkat", from, name, to, newName, flags);
}
extern "C" int fchown(int file, uid_t owner, gid_t group) noexcept {
    return run<decltype(fchown)>("fchown", "fchown", file, owner, group);
}
extern "C" int fsync(int file) {
    return run<decltype(fsync)>("fsync", "fsync", file);
}
extern "C" int rename(const char* from, const char* to) noexcept {
    return run<decltype(rename)>("rename", "rename", from, to);
}

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
const std::error_code noError;

/// A way in which a file comes to its name: that of a system on which these steps fail.
struct Way {
    const char* name;
    std::map<std::string, int> errors;
};

class WholeFile : public testing::TestWithParam<Way> {
protected:
    WholeFile() {
        script = {GetParam().errors};
        umask(027);
    }
    ~WholeFile() override {
        script = {};
        umask(umaskBefore);
    }

    std::error_code write(const std::string& text) const {
        return Platform::writeWholeFile(path,
                                        {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    }
    std::string content() const {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    unsigned mode() const { return static_cast<unsigned>(fs::status(path).permissions()); }

    /// The child of a death test.
    void writeUntil(const std::string& step, int signal) const {
        script.stepOfSignal = step;
        script.signal = signal;
        write("new");
        std::_Exit(0);
    }

    const mode_t umaskBefore = umask(0);
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.file("a.png");
    const Names alone = {"a.png"};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Ways, WholeFile,
                         testing::Values(Way{"WithoutNameAtFirst", {}},
                                         Way{"WhereEveryFileHasAName", {{openWithoutName, EOPNOTSUPP}}},
                                         Way{"WhereNoFileGetsANameLater", {{"linkat", ENOENT}}}),
                         [](const auto& way) { return std::string(way.param.name); });

TEST_P(WholeFile, IsMadeByTheUmaskAndAloneAlsoInThePlaceOfALink) {
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(write("new"), noError);
        EXPECT_EQ(content(), "new");
        EXPECT_EQ(mode(), 0640u);
        EXPECT_EQ(folder.names(), alone);
        fs::remove(path);
        fs::create_symlink("/proc/self/exe", path);
    }
}

TEST_P(WholeFile, KeepsThePermissionsOfTheOneItReplaces) {
    for (const mode_t kept : {0600u, 0666u, 0444u}) {
        ASSERT_EQ(write("a longer one"), noError);
        ASSERT_EQ(chmod(path.c_str(), kept), 0);
        EXPECT_EQ(write("new"), noError);
        EXPECT_EQ(content(), "new");
        EXPECT_EQ(mode(), kept);
        EXPECT_EQ(folder.names(), alone);
    }
}

TEST_P(WholeFile, KeepsTheOwnerOfTheOneItReplaces) {
    ASSERT_EQ(write("old"), noError);
    if (chown(path.c_str(), 12345, 12346) != 0)
        GTEST_SKIP() << "only root gives files away";
    EXPECT_EQ(write("new"), noError);
    struct stat found {};
    ASSERT_EQ(stat(path.c_str(), &found), 0);
    EXPECT_EQ(found.st_uid, 12345u);
    EXPECT_EQ(found.st_gid, 12346u);
}

TEST_P(WholeFile, IsClosedToGroupsWhereItsGroupCannotBeKept) {
    ASSERT_EQ(write("old"), noError);
    ASSERT_EQ(chmod(path.c_str(), 0664), 0);
    script.errors["fchown"] = EPERM;
    EXPECT_EQ(write("new"), noError);
    EXPECT_EQ(mode(), 0604u);
}

TEST_P(WholeFile, ThatFailsLeavesTheOlderOneAndNothingElse) {
    ASSERT_EQ(write("old"), noError);
    {
        const TestSupport::FileSizeLimit limit(2);
        EXPECT_EQ(write("new"), std::errc::file_too_large);
    }
    script.errors["fsync"] = EIO;
    EXPECT_EQ(write("new"), std::errc::io_error);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(folder.names(), alone);
}

TEST_P(WholeFile, NeedsNoFlushWhereTheFileSystemHasNone) {
    script.errors["fsync"] = EINVAL;
    EXPECT_EQ(write("new"), noError);
    EXPECT_EQ(content(), "new");
}

TEST_P(WholeFile, OfAnEndedProcessIsNewOrAsBeforeAndLeavesNothingElse) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        for (const auto& [step, older] : {std::pair("fsync", ""), {"fsync", "old"}, {"rename", "old"}}) {
            fs::remove(path);
            ASSERT_TRUE(*older == '\0' || write(older) == noError);
            EXPECT_EXIT(writeUntil(step, signal), testing::KilledBySignal(signal), "");
            EXPECT_TRUE(content() == older || content() == "new") << content();
            EXPECT_EQ(folder.names(), content().empty() ? Names{} : alone) << signal;
        }
}

TEST_P(WholeFile, MayHaveTheLongestName) {
    const std::string longest = folder.file(std::string(255, 'a'));
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(Platform::checkWholeFile(longest), noError);
        EXPECT_EQ(Platform::writeWholeFile(longest, {}), noError);
    }
    EXPECT_EQ(Platform::checkWholeFile(longest + 'a'), std::errc::filename_too_long);
    EXPECT_EQ(Platform::writeWholeFile(longest + 'a', {}), std::errc::filename_too_long);
}

TEST_P(WholeFile, ThatIsAFolderStaysOne) {
    fs::create_directory(path);
    EXPECT_EQ(write("new"), std::errc::is_a_directory);
    EXPECT_EQ(folder.names(), alone);
}

TEST_P(WholeFile, IsCheckedWithoutATrace) {
    EXPECT_EQ(Platform::checkWholeFile(path), noError);
    EXPECT_EQ(folder.names(), Names{});
    ASSERT_EQ(write("old"), noError);
    const auto written = fs::last_write_time(path);
    EXPECT_EQ(Platform::checkWholeFile(path), noError);
    EXPECT_EQ(fs::last_write_time(path), written);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(folder.names(), alone);
    EXPECT_EQ(Platform::checkWholeFile(folder.file("missing/a")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(Platform::checkWholeFile(path + "/a"), std::errc::not_a_directory);
}

TEST_P(WholeFile, MayLieInTheCurrentFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(Platform::checkWholeFile("a.png"), noError);
    EXPECT_EQ(Platform::writeWholeFile("a.png", {}), noError);
    EXPECT_FALSE(script.opened.starts_with('/')) << script.opened;
    fs::current_path(before);
    EXPECT_EQ(folder.names(), alone);
}
