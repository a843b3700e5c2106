#include "Platform/Kernel.h"
#include "Platform/Text.h"
#include "Platform/posix/Utf.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>

namespace {

using Platform::utf8FromWide;
using Platform::wideFromUtf8;
namespace Utf = Platform::Utf;

template <class Wide>
std::basic_string<Wide> decodeAs(const std::string& text) {
    std::array<Wide, 100> wide;
    const auto count =
        Utf::wideFromUtf8(text.data(), text.size(), Utf::Malformed::substitute, wide.data(), wide.size());
    return {wide.data(), count.value()};
}

template <class Wide>
std::string encodeFrom(const std::basic_string<Wide>& wide) {
    std::array<char, 100> text;
    const auto count =
        Utf::utf8FromWide(wide.data(), wide.size(), Utf::Malformed::substitute, text.data(), text.size());
    return {text.data(), count.value()};
}

/// Every boundary of a sequence's length and of the ranges that its second byte has.
const std::u32string boundaries =
    U"\u0001\u007F\u0080\u07FF\u0800\u0FFF\u1000\uCFFF\uD000\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0003FFFF"
    U"\U00040000\U000FFFFF\U00100000\U0010FFFF";
const std::string boundariesUtf8 =
    "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xE0\xBF\xBF\xE1\x80\x80\xEC\xBF\xBF\xED\x80\x80\xED\x9F\xBF"
    "\xEE\x80\x80\xEF\xBF\xBD\xEF\xBF\xBF\xF0\x90\x80\x80\xF0\xBF\xBF\xBF\xF1\x80\x80\x80\xF3\xBF\xBF\xBF"
    "\xF4\x80\x80\x80\xF4\x8F\xBF\xBF";

int convert(UINT page, DWORD flags, const char* text, int count, wchar_t* to, int room) {
    return MultiByteToWideChar(page, flags, text, count, to, room);
}
int convert(UINT page, DWORD flags, const wchar_t* text, int count, char* to, int room) {
    return WideCharToMultiByte(page, flags, text, count, to, room, nullptr, nullptr);
}

/// A call, its answer, and what the buffer of six "?" then holds, "*" for anything.
template <typename From>
struct Call {
    const char* what;
    const From* text;
    int count, room, answer;
    std::string_view buffer;
    DWORD error = ERROR_SUCCESS;
    DWORD flags = 0;
    UINT page = CP_UTF8;
};

/// `longText` and its end take four units, the third of them "y".
template <typename To, typename From>
void checkCalls(const From* longText, const From* malformed, DWORD refusing) {
    constexpr From letters[] = {'a', 'b', 0};
    constexpr From zeroInside[] = {'a', 0, 'b'};
    const std::string_view untouched = "??????";
    const Call<From> calls[] = {
        {"so many units", letters, 2, 6, 2, "ab????"},
        {"a text and its end", letters, -1, 6, 3, {"ab\0???", 6}},
        {"an empty text and its end", letters + 2, -1, 6, 1, {"\0?????", 6}},
        {"a zero inside", zeroInside, 3, 6, 3, {"a\0b???", 6}},
        {"well-formed text", longText, -1, 6, 4, {"**y\0??", 6}, ERROR_SUCCESS, refusing},
        {"malformed text", malformed, 2, 6, 0, "*?????", ERROR_NO_UNICODE_TRANSLATION, refusing},
        {"no room: the size is asked for", longText, -1, 0, 4, untouched},
        {"just room enough", longText, -1, 4, 4, {"**y\0??", 6}},
        {"too little room", longText, -1, 3, 0, "***???", ERROR_INSUFFICIENT_BUFFER},
        {"negative room", letters, 2, -1, 0, untouched, ERROR_INVALID_PARAMETER},
        {"no units", letters, 0, 6, 0, untouched, ERROR_INVALID_PARAMETER},
        {"a negative number of units", letters, -2, 6, 0, untouched, ERROR_INVALID_PARAMETER},
        {"no text", nullptr, 2, 6, 0, untouched, ERROR_INVALID_PARAMETER},
        {"another code page", letters, 2, 6, 0, untouched, ERROR_INVALID_PARAMETER, 0, 1252},
        {"an unknown flag", letters, 2, 6, 0, untouched, ERROR_INVALID_FLAGS, 1},
        {"an unknown flag and a known one", letters, 2, 6, 0, untouched, ERROR_INVALID_FLAGS, refusing | 1},
    };
    std::array<To, 6> room{};
    const auto answerTo = [](const Call<From>& call, To* to) {
        SetLastError(ERROR_SUCCESS);
        return convert(call.page, call.flags, call.text, call.count, to, call.room);
    };
    for (const Call<From>& call : calls) {
        SCOPED_TRACE(call.what);
        room.fill('?');
        EXPECT_EQ(answerTo(call, room.data()), call.answer);
        EXPECT_EQ(GetLastError(), call.error);
        for (std::size_t at = 0; at < room.size(); ++at)
            EXPECT_TRUE(call.buffer[at] == '*' || room[at] == call.buffer[at]) << at;
    }
    EXPECT_EQ(answerTo({"", longText, -1, 0, 4, ""}, nullptr), 4);
    EXPECT_EQ(answerTo({"", longText, -1, 6, 0, ""}, nullptr), 0) << "no buffer";
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    room.fill('?');
    EXPECT_EQ(answerTo({"", reinterpret_cast<const From*>(room.data()), 2, 6, 0, ""}, room.data()), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER) << "onto itself";
}

} // namespace

TEST(TextToWideUnits, AnswerEachCallAsWindowsDoes) {
    checkCalls<wchar_t>("\xC3\xA4xy", "a\x80", MB_ERR_INVALID_CHARS);
}

TEST(WideUnitsToText, AnswerEachCallAsWindowsDoesAndHaveNoDefaultCharacter) {
    checkCalls<char>(L"\u00E4y", L"a\xD800", WC_ERR_INVALID_CHARS);
    BOOL used = 0;
    for (const auto& [substitute, tells] : {std::pair<const char*, BOOL*>("?", nullptr), {nullptr, &used}}) {
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"ab", 2, nullptr, 0, substitute, tells), 0);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(TextToWideUnits, SubstituteEachMaximalSubpartOfMalformedTextOrRefuseIt) {
    struct {
        const char* what;
        std::string text;
        std::u32string wide;
    } const cases[] = {
        {"a lone continuation byte", "a\x80z", U"a\uFFFDz"},
        {"two lone continuation bytes", "\x80\xBF", U"\uFFFD\uFFFD"},
        {"bytes that never occur", "\xC0\xC1\xF5\xFE\xFF", U"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"an overlong slash of two bytes", "\xC0\xAF", U"\uFFFD\uFFFD"},
        {"an overlong slash of three bytes", "\xE0\x80\xAF", U"\uFFFD\uFFFD\uFFFD"},
        {"the highest overlong of three bytes", "\xE0\x9F\xBF", U"\uFFFD\uFFFD\uFFFD"},
        {"the highest overlong of four bytes", "\xF0\x8F\xBF\xBF", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"the lowest surrogate", "\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},
        {"the highest surrogate", "\xED\xBF\xBF", U"\uFFFD\uFFFD\uFFFD"},
        {"a value above U+10FFFF", "\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"two bytes cut off by a letter", "\xC3z", U"\uFFFDz"},
        {"three bytes cut off after the second", "\xE2\x82z", U"\uFFFDz"},
        {"four bytes cut off after the second", "\xF0\x9Fz", U"\uFFFDz"},
        {"four bytes cut off after the third", "\xF0\x9F\x98z", U"\uFFFDz"},
        {"two bytes cut off by the end", "a\xC3", U"a\uFFFD"},
        {"three bytes cut off by the end", "a\xE2\x82", U"a\uFFFD"},
        {"four bytes cut off by the end", "a\xF0\x9F\x98", U"a\uFFFD"},
        {"a sequence cut off by another", "\xE2\x82\xC3\xA4", U"\uFFFD\u00E4"},
        {"the standard's example of maximal subparts", "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64",
         U"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd"},
    };
    for (const auto& [what, text, expected] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(decodeAs<char32_t>(text), expected);
        EXPECT_EQ(decodeAs<char16_t>(text), std::u16string(expected.begin(), expected.end()));
        const int count = static_cast<int>(text.size());
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), count, nullptr, 0), 0);
        EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
    }
}

TEST(TextAndWideUnits, ReachTheBoundariesOfEverySequenceLengthAndArePairsIfTheyAreOfSixteenBits) {
    EXPECT_EQ(decodeAs<char32_t>(boundariesUtf8), boundaries);
    EXPECT_EQ(encodeFrom(boundaries), boundariesUtf8);
    const std::u16string pairs = u"\U0001F600\U00010000\U0010FFFFz";
    const std::string pairsUtf8 = "\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz";
    EXPECT_EQ(decodeAs<char16_t>(pairsUtf8), pairs);
    EXPECT_EQ(encodeFrom(pairs), pairsUtf8);
}

TEST(WideUnitsToText, AreSubstitutedIfTheyAreNoCodePoints) {
    const std::string mark = "\xEF\xBF\xBD";
    const char16_t high = 0xD83D;
    const char16_t low = 0xDE00;
    for (const auto& [wide, text] : {
             std::pair(std::u16string{high}, mark), // cut off by the end
             std::pair(std::u16string{high, u'z'}, mark + "z"),
             std::pair(std::u16string{low, u'z'}, mark + "z"),
             std::pair(std::u16string{low, high}, mark + mark), // the wrong way round
             std::pair(std::u16string{low, low}, mark + mark),
             std::pair(std::u16string{high, high, low}, mark + "\xF0\x9F\x98\x80"),
         })
        EXPECT_EQ(encodeFrom(wide), text);
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0xD800}, L'a', wchar_t{0xDFFF}}), mark + "a" + mark);
    const bool hasPairs = sizeof(wchar_t) == 2;
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0xD83D}, wchar_t{0xDE00}}),
              hasPairs ? "\xF0\x9F\x98\x80" : mark + mark);
    const std::u32string none{char32_t{0x110000}, static_cast<char32_t>(-1)};
    EXPECT_EQ(encodeFrom(none), mark + mark);
}

TEST(WholeTexts, ConvertThereAndBack) {
    for (const auto& [text, wide] :
         {std::pair<std::string, std::wstring>("Kamera \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
                                               L"Kamera \u00E4\u20AC\U0001F600"),
          {"", L""}}) {
        EXPECT_EQ(wideFromUtf8(text), wide);
        EXPECT_EQ(utf8FromWide(wide), text);
    }
}
