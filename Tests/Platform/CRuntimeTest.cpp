#include "Platform/CRuntime.h"

#include "Support/Environment.h"
#include "Support/FileSizeLimit.h"
#include "Support/TemporaryFolder.h"

#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using TestSupport::TemporaryFolder;

/// Whether all of the text was written, as far as fclose knows.
bool write(const std::string& path, const std::string& text) {
    std::FILE* const file = Platform::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    const bool isWritten = Platform::fwrite(text.data(), 1, text.size(), file) == text.size();
    return Platform::fclose(file) == 0 && isWritten;
}

constexpr __time64_t november2026 = 1'794'795'000;
constexpr __time64_t january2002 = 1'009'937'035;
constexpr __time64_t endOfYear3000 = 32'535'215'999;

} // namespace

TEST(Time, IsTheSystemsAndIsStoredToo) {
    __time64_t stored = 0;
    const std::time_t before = std::time(nullptr);
    EXPECT_LE(before, _time64(&stored));
    EXPECT_LE(before, stored);
    EXPECT_LE(stored, _time64(nullptr));
    EXPECT_LE(_time64(nullptr), std::time(nullptr));
}

TEST(TimeText, HasAFixedLayoutInTheLocalTimeFrom1970To3000) {
    for (const auto& [zone, when, text] : {
             std::tuple("UTC0", november2026, "Mon Nov 16 02:10:00 2026\n"),
             std::tuple("UTC0", january2002, "Wed Jan 02 02:03:55 2002\n"),
             std::tuple("EAST-2", november2026, "Mon Nov 16 04:10:00 2026\n"),
             std::tuple("UTC0", __time64_t{0}, "Thu Jan 01 00:00:00 1970\n"),
             std::tuple("UTC0", endOfYear3000, "Wed Dec 31 23:59:59 3000\n"),
         }) {
        const TestSupport::Variable variable("TZ", zone);
        tzset();
        EXPECT_STREQ(_ctime64(&when), text) << zone;
    }
    tzset();
    for (const __time64_t none : {__time64_t{-1}, endOfYear3000 + 1})
        EXPECT_EQ(_ctime64(&none), nullptr);
    EXPECT_EQ(_ctime64(nullptr), nullptr);
}

TEST(TimeText, IsTheThreadsOwn) {
    const char* const mine = _ctime64(&november2026);
    const std::string before = mine;
    std::thread([mine] { EXPECT_NE(mine, _ctime64(&january2002)); }).join();
    EXPECT_EQ(mine, before);
}

TEST(Files, OfTheUsersOwnAreOverwrittenAndNewOnesFollowTheUmask) {
    const TemporaryFolder folder;
    const fs::path path = folder.path() / u8"\u20AC\u00E4\U0001F600.bin";
    const mode_t before = umask(027);
    for (const std::string text : {"longer", "short"}) {
        EXPECT_TRUE(write(path, text));
        EXPECT_EQ(fs::file_size(path), text.size());
    }
    umask(before);
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0640));
}

TEST(Files, OfOtherModesAreNotOpened) {
    const TemporaryFolder folder;
    for (const char* mode : {"w", "ab", "rb", "wbx", ""})
        EXPECT_EQ(Platform::fopen(folder.file("a").c_str(), mode), nullptr) << mode;
    EXPECT_EQ(folder.names().size(), 0u);
}

TEST(Files, TellAtTheLatestWhenClosedThatTheDiskIsFull) {
    const TemporaryFolder folder;
    const std::string more(1 << 20, 'a'); // than a stream keeps
    for (const std::string& text : {std::string("abc"), more}) {
        const TestSupport::FileSizeLimit limit(1);
        EXPECT_FALSE(write(folder.file("a"), text));
        EXPECT_TRUE(fs::exists(folder.file("a")));
    }
}

// What another user may have put where a file is expected.
TEST(Files, AreNotWrittenThroughLinksPipesAndDevices) {
    const TemporaryFolder folder;
    for (const char* name : {"kept", "first name"})
        std::ofstream(folder.file(name)) << "kept";
    fs::create_symlink("kept", folder.file("link"));
    fs::create_symlink("missing", folder.file("dangling"));
    fs::create_hard_link(folder.file("first name"), folder.file("second name"));
    for (const char* name : {"pipe", "read pipe"})
        ASSERT_EQ(mkfifo(folder.file(name).c_str(), 0600), 0);
    const int reader = open(folder.file("read pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    for (const char* name :
         {"link", "dangling", "second name", "pipe", "read pipe", ".", "missing/a", "/dev/null"})
        EXPECT_EQ(Platform::fopen((folder.path() / name).c_str(), "wb"), nullptr) << name;
    close(reader);
    for (const char* name : {"kept", "first name"})
        EXPECT_EQ(fs::file_size(folder.file(name)), 4u) << name;
    EXPECT_FALSE(fs::exists(folder.file("missing")));
}

TEST(Files, OfSomebodyElseAreNotOverwritten) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("a")) << "kept";
    if (chown(folder.file("a").c_str(), 12345, 12345) != 0)
        GTEST_SKIP() << "only root gives files away";
    EXPECT_EQ(Platform::fopen(folder.file("a").c_str(), "wb"), nullptr);
    EXPECT_EQ(fs::file_size(folder.file("a")), 4u);
}
