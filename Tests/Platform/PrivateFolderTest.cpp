#include "Platform/PrivateFolder.h"

#include "Platform/CRuntime.h"
#include "Support/Environment.h"
#include "Support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::Variable;

namespace {

namespace fs = std::filesystem;

fs::perms permissionsOf(const fs::path& path) {
    return fs::symlink_status(path).permissions();
}

/// Something that stands where the folder `p` should, made by the shell; where that fails, it cannot be made
/// here.
struct Obstacle {
    const char* name;
    const char* commands;
    const char* complaint;
};

const Obstacle obstacles[] = {
    {"ALinkToAFolder", "mkdir -m 700 private; ln -s private p", "is a symbolic link"},
    {"ALinkToNothing", "ln -s missing p", "is a symbolic link"},
    {"AFile", "touch p", "is not a folder"},
    {"AFolderThatOthersRead", "mkdir -m 704 p", "is open to others"},
    {"AFolderThatAGroupEnters", "mkdir -m 710 p", "is open to others"},
    {"SomebodyElsesFolder", "mkdir -m 700 p; chown 12345:12345 p", "belongs to somebody else"},
    {"AFolderThatOthersMayReplace", "mkdir -m 700 p; chmod 777 .",
     "is where others may put another folder in its place"},
    {"AFolderThatSomebodyElseMayReplace", "mkdir -m 700 p; chown 12345:12345 .",
     "is where others may put another folder in its place"},
};

class PrivateFolderThatMeets : public testing::TestWithParam<Obstacle> {
protected:
    TestSupport::TemporaryFolder folder;
};

/// What the environment says, and which folder that makes.
struct State {
    std::optional<std::string> state, home, temporary;
    std::string folder;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Obstacles, PrivateFolderThatMeets, testing::ValuesIn(obstacles),
                         [](const auto& obstacle) { return std::string(obstacle.param.name); });

TEST_P(PrivateFolderThatMeets, IsNone) {
    const fs::path path = folder.path() / "p";
    if (std::system(("cd " + folder.path().string() + "; " + GetParam().commands + " 2>&-").c_str()) != 0)
        GTEST_SKIP() << "only root gives folders away";
    EXPECT_EQ(Platform::makePrivateFolder(path), GetParam().complaint);
    EXPECT_EQ(fs::exists(folder.path() / "missing"), false);
}

TEST(PrivateFolder, IsClosedToOthersAsAreThoseMadeForIt) {
    const TestSupport::TemporaryFolder folder;
    const fs::path path = folder.path() / "a" / "b" / "p";
    const mode_t before = umask(0);
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(Platform::makePrivateFolder(path), "");
    umask(before);
    for (const fs::path& made : {path, path.parent_path(), path.parent_path().parent_path()})
        EXPECT_EQ(permissionsOf(made), fs::perms::owner_all) << made;
}

TEST(PrivateFolder, MayLieWhereAllWriteAndNobodyReplaces) {
    const TestSupport::TemporaryFolder folder;
    fs::permissions(folder.path(), static_cast<fs::perms>(01777));
    EXPECT_EQ(Platform::makePrivateFolder(folder.file("p")), "");
}

TEST(PrivateFolder, ThatCannotBeMadeTellsTheReason) {
    for (const char* path : {"/dev/null/a", "/dev/null/a/b"})
        EXPECT_EQ(Platform::makePrivateFolder(path), "cannot be made: Not a directory");
    EXPECT_EQ(Platform::makePrivateFolder("/proc/a"), "cannot be made: No such file or directory");
}

TEST(StateFolder, IsNamedByTheEnvironment) {
    const std::string user = std::to_string(geteuid());
    const State states[] = {
        {"/state", "/home", "/temporary", "/state/korva"},
        {{}, "/home", "/temporary", "/home/.local/state/korva"},
        {"", "/home", "/temporary", "/home/.local/state/korva"},
        {"relative", "/home", "/temporary", "/home/.local/state/korva"},
        {{}, {}, "/temporary", "/temporary/korva-" + user},
        {{}, "relative", "relative", "/tmp/korva-" + user},
        {{}, {}, {}, "/tmp/korva-" + user},
    };
    for (const State& state : states) {
        const Variable variables[] = {
            {"XDG_STATE_HOME", state.state}, {"HOME", state.home}, {"TMPDIR", state.temporary}};
        EXPECT_EQ(Platform::stateFolder("korva"), state.folder);
    }
}

TEST(NoFolder, HoldsNothing) {
    EXPECT_EQ(Platform::fopen((std::string(Platform::noFolder) + "/a").c_str(), "wb"), nullptr);
    EXPECT_FALSE(fs::is_directory(Platform::noFolder));
}
