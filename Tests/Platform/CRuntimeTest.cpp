#include "Platform/CRuntime.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

/// The process' time zone for the length of a test.
class ZoneOfTest {
public:
    explicit ZoneOfTest(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ZoneOfTest(const ZoneOfTest&) = delete;
    ZoneOfTest& operator=(const ZoneOfTest&) = delete;
    ~ZoneOfTest() {
        unsetenv("TZ");
        tzset();
    }
};

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

TEST(TimeText, HasAFixedLayoutAndANewline) {
    const ZoneOfTest zone("UTC0");
    EXPECT_EQ(textOf(november2026), "Mon Nov 16 02:10:00 2026\n");
}

TEST(TimeText, PadsTheDayWithAZero) {
    const ZoneOfTest zone("UTC0");
    EXPECT_EQ(textOf(january2002), "Wed Jan 02 02:03:55 2002\n");
}

TEST(TimeText, IsTheLocalTime) {
    const ZoneOfTest zone("EAST-2");
    EXPECT_EQ(textOf(november2026), "Mon Nov 16 04:10:00 2026\n");
}

TEST(TimeText, ReachesFrom1970To3000) {
    const ZoneOfTest zone("UTC0");
    EXPECT_EQ(textOf(0), "Thu Jan 01 00:00:00 1970\n");
    EXPECT_EQ(textOf(-1), "null");
    EXPECT_EQ(textOf(endOfYear3000), "Wed Dec 31 23:59:59 3000\n");
    EXPECT_EQ(textOf(endOfYear3000 + 1), "null");
    EXPECT_EQ(_ctime64(nullptr), nullptr);
}

TEST(TimeText, IsTheThreadsOwn) {
    const ZoneOfTest zone("UTC0");
    const char* const mine = _ctime64(&november2026);
    const char* others = nullptr;
    std::thread other([&others] { others = _ctime64(&january2002); });
    other.join();
    EXPECT_NE(mine, others);
    EXPECT_STREQ(mine, "Mon Nov 16 02:10:00 2026\n");
}

TEST(Files, HavePathsInUtf8) {
    const std::filesystem::path folder =
        std::filesystem::path(::testing::TempDir()) / u8"korva \u00E4\U0001F600";
    std::filesystem::create_directories(folder);
    const std::filesystem::path path = folder / u8"\u20AC.bin";

    std::FILE* const file = Platform::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(Platform::fwrite("abcdef", 2, 3, file), 3u);
    EXPECT_EQ(Platform::fclose(file), 0);

    EXPECT_EQ(std::filesystem::file_size(path), 6u);
    std::filesystem::remove_all(folder);
}

TEST(Files, ThatCannotBeOpenedAreNull) {
    EXPECT_EQ(Platform::fopen("/no such folder/file", "wb"), nullptr);
}

TEST(Files, TellAtTheLatestWhenClosedThatTheDiskIsFull) {
    std::FILE* const file = Platform::fopen("/dev/full", "wb");
    ASSERT_NE(file, nullptr);
    Platform::fwrite("abc", 3, 1, file);
    EXPECT_EQ(Platform::fclose(file), EOF);
}
