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

constexpr const char* openToOthers = "is open to others";
constexpr const char* replaceable = "is where others may put another folder in its place";

/// What the environment says, and which folder that makes.
struct State {
    std::optional<std::string> state, home, temporary;
    std::string folder;
};

} // namespace

TEST(PrivateFolder, IsNoneWhereSomethingElseStandsOrOthersMayPutIt) {
    for (const auto& [commands, complaint] : {
             std::pair("mkdir -m 700 private; ln -s private p", "is a symbolic link"),
             std::pair("ln -s missing p", "is a symbolic link"),
             std::pair("touch p", "is not a folder"),
             std::pair("mkdir -m 704 p", openToOthers),
             std::pair("mkdir -m 710 p", openToOthers),
             std::pair("mkdir -m 700 p; chown 12345:12345 p", "belongs to somebody else"),
             std::pair("mkdir -m 700 p; chmod 777 .", replaceable),
             std::pair("mkdir -m 700 p; chown 12345:12345 .", replaceable),
             std::pair("chmod 1777 .", ""),
         }) {
        const TestSupport::TemporaryFolder folder;
        const bool isMade =
            std::system(("cd " + folder.path().string() + "; " + commands + " 2>&-").c_str()) == 0;
        EXPECT_TRUE(isMade || geteuid() != 0) << "only root gives folders away: " << commands;
        const std::string told = isMade ? Platform::makePrivateFolder(folder.file("p")) : complaint;
        EXPECT_EQ(told, complaint) << commands;
        EXPECT_FALSE(fs::exists(folder.file("missing")));
    }
}

TEST(PrivateFolder, IsClosedToOthersAsAreThoseMadeForIt) {
    const TestSupport::TemporaryFolder folder;
    const mode_t before = umask(0);
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(Platform::makePrivateFolder(folder.file("a/b/p")), "");
    umask(before);
    for (const char* made : {"a", "a/b", "a/b/p"})
        EXPECT_EQ(fs::symlink_status(folder.file(made)).permissions(), fs::perms::owner_all) << made;
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
