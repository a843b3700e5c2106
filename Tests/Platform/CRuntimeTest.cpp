#include "Platform/CRuntime.h"

#include "Support/Environment.h"
#include "Support/FileSizeLimit.h"
#include "Support/TemporaryFolder.h"

#include <cstdlib>
#include <cstring>
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

std::string textOf(__time64_t when) {
    const char* const text = _ctime64(&when);
    return text == nullptr ? "null" : text;
}

constexpr __time64_t november2026 = 1'794'795'000;
constexpr __time64_t january2002 = 1'009'937'035;
constexpr __time64_t endOfYear3000 = 32'535'215'999;

} // namespace

TEST(Time, IsTheSystemsAndIsStoredToo) {
    __time64_t stored = 0;
    const std::time_t before = std::time(nullptr);
    const __time64_t now = _time64(&stored);
    const std::time_t after = std::time(nullptr);
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_EQ(stored, now);
    EXPECT_GE(_time64(nullptr), now);
}

TEST(TimeText, HasAFixedLayoutInTheLocalTimeFrom1970To3000) {
    for (const auto& [zone, when, text] : {
             std::tuple("UTC0", november2026, "Mon Nov 16 02:10:00 2026\n"),
             std::tuple("UTC0", january2002, "Wed Jan 02 02:03:55 2002\n"),
             std::tuple("EAST-2", november2026, "Mon Nov 16 04:10:00 2026\n"),
             std::tuple("UTC0", __time64_t{0}, "Thu Jan 01 00:00:00 1970\n"),
             std::tuple("UTC0", __time64_t{-1}, "null"),
             std::tuple("UTC0", endOfYear3000, "Wed Dec 31 23:59:59 3000\n"),
             std::tuple("UTC0", endOfYear3000 + 1, "null"),
         }) {
        const TestSupport::Variable variable("TZ", zone);
        tzset();
        EXPECT_EQ(textOf(when), text) << zone;
    }
    tzset();
    EXPECT_EQ(_ctime64(nullptr), nullptr);
}

TEST(TimeText, IsTheThreadsOwn) {
    const char* const mine = _ctime64(&november2026);
    const std::string before = mine;
    const char* others = nullptr;
    std::thread other([&others] { others = _ctime64(&january2002); });
    other.join();
    EXPECT_NE(mine, others);
    EXPECT_EQ(mine, before);
}

TEST(Files, HavePathsInUtf8) {
    const TemporaryFolder folder;
    const fs::path path = folder.path() / u8"\u20AC\u00E4\U0001F600.bin";
    std::FILE* const file = Platform::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(Platform::fwrite("abcdef", 2, 3, file), 3u);
    EXPECT_EQ(Platform::fclose(file), 0);
    EXPECT_EQ(fs::file_size(path), 6u);
}

TEST(Files, ThatCannotBeOpenedAreNull) {
    EXPECT_EQ(Platform::fopen("/no such folder/file", "wb"), nullptr);
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
        std::FILE* const file = Platform::fopen(folder.file("a").c_str(), "wb");
        ASSERT_NE(file, nullptr);
        const bool isWritten = Platform::fwrite(text.data(), text.size(), 1, file) == 1;
        EXPECT_TRUE(Platform::fclose(file) == EOF || !isWritten);
    }
}

TEST(Files, OfTheUsersOwnAreOverwrittenAndNewOnesFollowTheUmask) {
    const TemporaryFolder folder;
    const mode_t before = umask(027);
    for (const char* text : {"longer", "short"}) {
        std::FILE* const file = Platform::fopen(folder.file("a").c_str(), "wb");
        ASSERT_NE(file, nullptr);
        Platform::fwrite(text, std::strlen(text), 1, file);
        Platform::fclose(file);
        EXPECT_EQ(fs::file_size(folder.file("a")), std::strlen(text));
    }
    umask(before);
    EXPECT_EQ(fs::status(folder.file("a")).permissions(), static_cast<fs::perms>(0640));
}

// What another user may have put where a file is expected.
TEST(Files, AreNotWrittenThroughLinksPipesAndDevices) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("kept")) << "kept";
    fs::create_symlink("kept", folder.file("link"));
    fs::create_symlink("missing", folder.file("dangling"));
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(folder.file("read pipe").c_str(), 0600), 0);
    const int reader = open(folder.file("read pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::ofstream(folder.file("first name")) << "kept";
    fs::create_hard_link(folder.file("first name"), folder.file("second name"));
    for (const std::string& path :
         {folder.file("link"), folder.file("dangling"), folder.file("pipe"), folder.file("read pipe"),
          folder.file("second name"), folder.file("."), std::string("/dev/null")})
        EXPECT_EQ(Platform::fopen(path.c_str(), "wb"), nullptr) << path;
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
