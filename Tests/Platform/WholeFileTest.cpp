#include "Platform/WholeFile.h"

#include "ScriptedFiles.h"
#include "Support/FileSizeLimit.h"
#include "Support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::FileScript;

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// A way in which a file comes to its name.
struct Way {
    const char* name;
    FileScript script;
};

const Way ways[] = {
    {"WithoutNameAtFirst", {}},
    {"WhereEveryFileHasAName", {.openWithoutName = EOPNOTSUPP}},
    {"WhereNoFileGetsANameLater", {.link = ENOENT}},
};

class WholeFile : public testing::TestWithParam<Way> {
protected:
    WholeFile() { FileScript::current() = GetParam().script; }
    ~WholeFile() override { FileScript::current() = {}; }

    std::string path() const { return folder.file("a.png"); }

    std::error_code write(const std::string& text) const {
        return Platform::writeWholeFile(path(),
                                        {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    }

    std::string content() const {
        std::ifstream stream(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// The child of a death test: the signal comes at the beginning of that step.
    void writeUntil(std::function<void()> FileScript::*step, int signal) const {
        FileScript::current().*step = [signal] { raise(signal); };
        write("new");
        std::_Exit(0);
    }

    /// For one that has no error of `status` to tell.
    mode_t mode() const {
        struct stat status {};
        stat(path().c_str(), &status);
        return status.st_mode & 07777;
    }

    TestSupport::TemporaryFolder folder;
};

const int endingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

} // namespace

INSTANTIATE_TEST_SUITE_P(Ways, WholeFile, testing::ValuesIn(ways),
                         [](const auto& way) { return std::string(way.param.name); });

TEST_P(WholeFile, IsMadeByTheUmaskAndAlone) {
    const mode_t before = umask(027);
    EXPECT_EQ(write("new"), std::error_code());
    umask(before);
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(mode(), 0640u);
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST_P(WholeFile, KeepsThePermissionsOfTheOneItReplaces) {
    for (const mode_t kept : {0600u, 0666u, 0444u}) {
        ASSERT_EQ(write("a longer one"), std::error_code());
        ASSERT_EQ(chmod(path().c_str(), kept), 0);
        EXPECT_EQ(write("new"), std::error_code());
        EXPECT_EQ(content(), "new");
        EXPECT_EQ(mode(), kept);
        EXPECT_EQ(folder.names(), Names{"a.png"});
    }
}

TEST_P(WholeFile, KeepsTheOwnerOfTheOneItReplaces) {
    ASSERT_EQ(write("old"), std::error_code());
    if (chown(path().c_str(), 12345, 12346) != 0)
        GTEST_SKIP() << "only root gives files away";
    EXPECT_EQ(write("new"), std::error_code());
    struct stat found {};
    ASSERT_EQ(stat(path().c_str(), &found), 0);
    EXPECT_EQ(found.st_uid, 12345u);
    EXPECT_EQ(found.st_gid, 12346u);
}

TEST_P(WholeFile, IsClosedToGroupsWhereItsGroupCannotBeKept) {
    ASSERT_EQ(write("old"), std::error_code());
    ASSERT_EQ(chmod(path().c_str(), 0664), 0);
    FileScript::current().changeOwner = EPERM;
    EXPECT_EQ(write("new"), std::error_code());
    EXPECT_EQ(mode(), 0604u);
}

TEST_P(WholeFile, ThatFailsLeavesTheOlderOneAndNothingElse) {
    ASSERT_EQ(write("old"), std::error_code());
    {
        const TestSupport::FileSizeLimit limit(2);
        EXPECT_EQ(write("new"), std::errc::file_too_large);
    }
    FileScript::current().flush = EIO;
    EXPECT_EQ(write("new"), std::errc::io_error);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST_P(WholeFile, NeedsNoFlushWhereTheFileSystemHasNone) {
    FileScript::current().flush = EINVAL;
    EXPECT_EQ(write("new"), std::error_code());
    EXPECT_EQ(content(), "new");
}

TEST_P(WholeFile, OfAnEndedProcessIsNewOrMissingAndLeavesNothingElse) {
    for (const int signal : endingSignals) {
        fs::remove(path());
        EXPECT_EXIT(writeUntil(&FileScript::onFlush, signal), testing::KilledBySignal(signal), "");
        EXPECT_EQ(folder.names(), content().empty() ? Names{} : Names{"a.png"}) << signal;
        EXPECT_TRUE(content().empty() || content() == "new") << content();
    }
}

TEST_P(WholeFile, OfAnEndedProcessIsNewOrOldAndLeavesNothingElse) {
    for (const int signal : endingSignals)
        for (const auto step : {&FileScript::onFlush, &FileScript::onRename}) {
            ASSERT_EQ(write("old"), std::error_code());
            EXPECT_EXIT(writeUntil(step, signal), testing::KilledBySignal(signal), "");
            EXPECT_EQ(folder.names(), Names{"a.png"}) << signal;
            EXPECT_TRUE(content() == "old" || content() == "new") << content();
        }
}

TEST_P(WholeFile, MayHaveTheLongestName) {
    const std::string longest = folder.file(std::string(255, 'a'));
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(Platform::checkWholeFile(longest), std::error_code());
        EXPECT_EQ(Platform::writeWholeFile(longest, {}), std::error_code());
    }
    EXPECT_EQ(Platform::checkWholeFile(longest + 'a'), std::errc::filename_too_long);
    EXPECT_EQ(Platform::writeWholeFile(longest + 'a', {}), std::errc::filename_too_long);
}

TEST_P(WholeFile, ReplacesALinkAndNotWhatItLeadsTo) {
    fs::create_symlink("b.png", path());
    const mode_t before = umask(022);
    EXPECT_EQ(write("new"), std::error_code());
    umask(before);
    EXPECT_EQ(mode(), 0644u);
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST_P(WholeFile, ThatIsAFolderStaysOne) {
    fs::create_directory(path());
    EXPECT_EQ(write("new"), std::errc::is_a_directory);
    EXPECT_EQ(folder.names(), Names{"a.png"});
}

TEST_P(WholeFile, IsCheckedWithoutATrace) {
    EXPECT_EQ(Platform::checkWholeFile(path()), std::error_code());
    EXPECT_EQ(folder.names(), Names{});
    ASSERT_EQ(write("old"), std::error_code());
    const auto written = fs::last_write_time(path());
    EXPECT_EQ(Platform::checkWholeFile(path()), std::error_code());
    EXPECT_EQ(fs::last_write_time(path()), written);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(folder.names(), Names{"a.png"});
    EXPECT_EQ(Platform::checkWholeFile(folder.file("missing/a")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(Platform::checkWholeFile(path() + "/a"), std::errc::not_a_directory);
}

TEST_P(WholeFile, MayLieInTheCurrentFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(Platform::checkWholeFile("a.png"), std::error_code());
    EXPECT_EQ(Platform::writeWholeFile("a.png", {}), std::error_code());
    EXPECT_FALSE(FileScript::current().opened.starts_with('/')) << FileScript::current().opened;
    fs::current_path(before);
    EXPECT_EQ(folder.names(), Names{"a.png"});
}
