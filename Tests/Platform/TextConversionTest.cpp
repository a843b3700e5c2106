#include "Platform/Kernel.h"
#include "Platform/Text.h"
#include "Platform/posix/Utf.h"

#include <array>
#include <climits>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using Platform::utf8FromWide;
using Platform::wideFromUtf8;
namespace Utf = Platform::Utf;

template <class Wide>
std::basic_string<Wide> decodeAs(const std::string& text) {
    std::basic_string<Wide> wide(4 * text.size(), Wide{});
    wide.resize(
        Utf::wideFromUtf8(text.data(), text.size(), Utf::Malformed::substitute, wide.data(), wide.size())
            .value());
    return wide;
}

template <class Wide>
std::string encodeFrom(const std::basic_string<Wide>& wide) {
    std::string text(4 * wide.size(), '\0');
    text.resize(
        Utf::utf8FromWide(wide.data(), wide.size(), Utf::Malformed::substitute, text.data(), text.size())
            .value());
    return text;
}

// The converters with everything else as it should be.

int widen(const char* text, int bytes, wchar_t* wide, int count, DWORD flags = 0, UINT page = CP_UTF8) {
    SetLastError(ERROR_SUCCESS);
    return MultiByteToWideChar(page, flags, text, bytes, wide, count);
}

int narrow(const wchar_t* wide, int count, char* text, int bytes, DWORD flags = 0, UINT page = CP_UTF8,
           const char* substitute = nullptr, BOOL* used = nullptr) {
    SetLastError(ERROR_SUCCESS);
    return WideCharToMultiByte(page, flags, wide, count, text, bytes, substitute, used);
}

/// The error of a call that answered 0.
DWORD errorOf(int answer) {
    EXPECT_EQ(answer, 0);
    return GetLastError();
}

struct MalformedCase {
    const char* what;
    std::string text;
    std::u32string wide;
};

const std::vector<MalformedCase>& malformedCases() {
    static const std::vector<MalformedCase> cases{
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
    return cases;
}

/// Every boundary of a sequence's length and of the ranges that its second byte has.
const std::u32string boundaries =
    U"\u0001\u007F\u0080\u07FF\u0800\u0FFF\u1000\uCFFF\uD000\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0003FFFF"
    U"\U00040000\U000FFFFF\U00100000\U0010FFFF";
const std::string boundariesUtf8 =
    "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xE0\xBF\xBF\xE1\x80\x80\xEC\xBF\xBF\xED\x80\x80\xED\x9F\xBF"
    "\xEE\x80\x80\xEF\xBF\xBD\xEF\xBF\xBF\xF0\x90\x80\x80\xF0\xBF\xBF\xBF\xF1\x80\x80\x80\xF3\xBF\xBF\xBF"
    "\xF4\x80\x80\x80\xF4\x8F\xBF\xBF";

} // namespace

TEST(TextToWide, SubstitutesEachMaximalSubpartOfMalformedTextOrRefusesIt) {
    for (const auto& [what, text, expected] : malformedCases()) {
        SCOPED_TRACE(what);
        EXPECT_EQ(decodeAs<char32_t>(text), expected);
        EXPECT_EQ(decodeAs<char16_t>(text), std::u16string(expected.begin(), expected.end()));
        std::array<wchar_t, 32> wide{};
        EXPECT_EQ(
            errorOf(widen(text.data(), static_cast<int>(text.size()), wide.data(), 32, MB_ERR_INVALID_CHARS)),
            ERROR_NO_UNICODE_TRANSLATION);
    }
}

TEST(TextToWide, TakesWellFormedTextWhereToldToRefuse) {
    std::array<wchar_t, 4> wide{};
    EXPECT_EQ(widen("\xC3\xA4z", 3, wide.data(), 4, MB_ERR_INVALID_CHARS), 2);
    EXPECT_EQ(std::wstring(wide.data(), 2), L"\u00E4z");
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
}

TEST(TextToWide, DecodesTheBoundariesOfEverySequenceLength) {
    EXPECT_EQ(decodeAs<char32_t>(boundariesUtf8), boundaries);
}

TEST(TextToWide, MakesSurrogatePairsOfTextOutsideTheBasicPlaneInSixteenBitUnits) {
    EXPECT_EQ(decodeAs<char16_t>("\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
              u"\U0001F600\U00010000\U0010FFFF");
    EXPECT_EQ(decodeAs<char16_t>("\xF0\x9F\x98\x80").size(), 2u);
}

TEST(TextToWide, CountsTheTerminatorOnlyWhereItLooksForTheEnd) {
    std::array<wchar_t, 4> wide{L'?', L'?', L'?', L'?'};
    EXPECT_EQ(widen("ab", 2, wide.data(), 4), 2);
    EXPECT_EQ(wide[2], L'?');
    EXPECT_EQ(widen("ab", -1, wide.data(), 4), 3);
    EXPECT_EQ(wide[2], L'\0');
    EXPECT_EQ(widen("", -1, wide.data(), 4), 1);
}

TEST(TextToWide, ConvertsZerosInsideACountedText) {
    std::array<wchar_t, 4> wide{};
    EXPECT_EQ(widen("a\0b", 3, wide.data(), 4), 3);
    EXPECT_EQ(std::wstring(wide.data(), 3), std::wstring(L"a\0b", 3));
}

TEST(TextToWide, TellsTheSizeAndWritesNothingWhereTheBufferHasNone) {
    wchar_t untouched = L'?';
    EXPECT_EQ(widen("\xC3\xA4z", -1, nullptr, 0), 3);
    EXPECT_EQ(widen("\xC3\xA4z", -1, &untouched, 0), 3);
    EXPECT_EQ(untouched, L'?');
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
}

TEST(TextToWide, RefusesABufferThatIsTooSmallAndWritesNothingBeyondIt) {
    std::array<wchar_t, 3> wide{L'?', L'?', L'?'};
    EXPECT_EQ(errorOf(widen("abc", 3, wide.data(), 2)), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(wide[2], L'?');
    EXPECT_EQ(widen("abc", 3, wide.data(), 3), 3);
}

TEST(TextToWide, RefusesWrongArguments) {
    std::array<wchar_t, 4> room{};
    wchar_t* const wide = room.data();
    const auto* const itself = reinterpret_cast<const char*>(wide);
    EXPECT_EQ(errorOf(widen("ab", 0, wide, 4)), ERROR_INVALID_PARAMETER) << "no bytes";
    EXPECT_EQ(errorOf(widen("ab", -2, wide, 4)), ERROR_INVALID_PARAMETER) << "a negative number";
    EXPECT_EQ(errorOf(widen(nullptr, 2, wide, 4)), ERROR_INVALID_PARAMETER) << "no text";
    EXPECT_EQ(errorOf(widen("ab", 2, wide, -1)), ERROR_INVALID_PARAMETER) << "a negative buffer";
    EXPECT_EQ(errorOf(widen("ab", 2, nullptr, 4)), ERROR_INVALID_PARAMETER) << "no buffer";
    EXPECT_EQ(errorOf(widen(itself, 2, wide, 4)), ERROR_INVALID_PARAMETER) << "onto itself";
    EXPECT_EQ(errorOf(widen("ab", 2, wide, 4, 0, 1252)), ERROR_INVALID_PARAMETER) << "another code page";
    EXPECT_EQ(errorOf(widen("ab", 2, wide, 4, 1)), ERROR_INVALID_FLAGS);
    EXPECT_EQ(errorOf(widen("ab", 2, wide, 4, MB_ERR_INVALID_CHARS | 1)), ERROR_INVALID_FLAGS);
}

TEST(WideToText, EncodesTheBoundariesOfEverySequenceLength) {
    EXPECT_EQ(encodeFrom(boundaries), boundariesUtf8);
}

TEST(WideToText, JoinsSurrogatePairsInSixteenBitUnits) {
    EXPECT_EQ(encodeFrom(std::u16string(u"\U0001F600\U00010000\U0010FFFFz")),
              "\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz");
}

TEST(WideToText, SubstitutesLoneSurrogatesInSixteenBitUnits) {
    const std::string mark = "\xEF\xBF\xBD";
    const char16_t high = 0xD83D;
    const char16_t low = 0xDE00;
    EXPECT_EQ(encodeFrom(std::u16string{high}), mark) << "cut off by the end";
    EXPECT_EQ(encodeFrom(std::u16string{high, u'z'}), mark + "z");
    EXPECT_EQ(encodeFrom(std::u16string{low, u'z'}), mark + "z");
    EXPECT_EQ(encodeFrom(std::u16string{low, high}), mark + mark) << "the wrong way round";
    EXPECT_EQ(encodeFrom(std::u16string{low, low}), mark + mark);
    EXPECT_EQ(encodeFrom(std::u16string{high, high, low}), mark + "\xF0\x9F\x98\x80");
}

TEST(WideToText, SubstitutesSurrogatesAndValuesThatAreNoCodePoints) {
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0xD800}, L'a', wchar_t{0xDFFF}}), mark + "a" + mark);
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0xD83D}, wchar_t{0xDE00}}), mark + mark) << "no pairs here";
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0x110000}, static_cast<wchar_t>(-1)}), mark + mark);
}

TEST(WideToText, RefusesMalformedTextWhereToldTo) {
    std::array<char, 8> text{};
    const std::wstring lone{L'a', wchar_t{0xD800}};
    EXPECT_EQ(errorOf(narrow(lone.data(), 2, text.data(), 8, WC_ERR_INVALID_CHARS)),
              ERROR_NO_UNICODE_TRANSLATION);
    EXPECT_EQ(narrow(L"a\u00E4", 2, text.data(), 8, WC_ERR_INVALID_CHARS), 3);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
}

TEST(WideToText, CountsTheTerminatorOnlyWhereItLooksForTheEnd) {
    std::array<char, 4> text{'?', '?', '?', '?'};
    EXPECT_EQ(narrow(L"ab", 2, text.data(), 4), 2);
    EXPECT_EQ(text[2], '?');
    EXPECT_EQ(narrow(L"ab", -1, text.data(), 4), 3);
    EXPECT_EQ(text[2], '\0');
}

TEST(WideToText, TellsTheSizeAndWritesNothingWhereTheBufferHasNone) {
    char untouched = '?';
    EXPECT_EQ(narrow(L"\u20ACz", -1, &untouched, 0), 5);
    EXPECT_EQ(narrow(L"\u20ACz", 2, nullptr, 0), 4);
    EXPECT_EQ(untouched, '?');
}

TEST(WideToText, RefusesABufferThatIsTooSmallAndWritesNothingBeyondIt) {
    std::array<char, 4> text{'?', '?', '?', '?'};
    EXPECT_EQ(errorOf(narrow(L"a\u20AC", 2, text.data(), 3)), ERROR_INSUFFICIENT_BUFFER)
        << "the second character does not fit";
    EXPECT_EQ(text[3], '?');
    EXPECT_EQ(narrow(L"a\u20AC", 2, text.data(), 4), 4);
}

TEST(WideToText, RefusesWrongArguments) {
    std::array<char, 4> room{};
    char* const text = room.data();
    BOOL used = 0;
    EXPECT_EQ(errorOf(narrow(L"ab", 0, text, 4)), ERROR_INVALID_PARAMETER) << "no text";
    EXPECT_EQ(errorOf(narrow(L"ab", -2, text, 4)), ERROR_INVALID_PARAMETER) << "a negative number";
    EXPECT_EQ(errorOf(narrow(nullptr, 2, text, 4)), ERROR_INVALID_PARAMETER) << "a null text";
    EXPECT_EQ(errorOf(narrow(L"ab", 2, nullptr, 4)), ERROR_INVALID_PARAMETER) << "no buffer";
    EXPECT_EQ(errorOf(narrow(L"ab", 2, text, -1)), ERROR_INVALID_PARAMETER) << "a negative buffer";
    EXPECT_EQ(errorOf(narrow(L"ab", 2, text, 4, 0, 1252)), ERROR_INVALID_PARAMETER) << "another code page";
    EXPECT_EQ(errorOf(narrow(L"ab", 2, text, 4, 0, CP_UTF8, "?")), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf(narrow(L"ab", 2, text, 4, 0, CP_UTF8, nullptr, &used)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf(narrow(L"ab", 2, text, 4, 1)), ERROR_INVALID_FLAGS);
}

TEST(WholeTexts, ConvertThereAndBackInWholeCodePoints) {
    static_assert(sizeof(wchar_t) == 4);
    for (const auto& [text, wide] :
         {std::pair<std::string, std::wstring>("Kamera \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
                                               L"Kamera \u00E4\u20AC\U0001F600"),
          {"", L""}}) {
        EXPECT_EQ(wideFromUtf8(text), wide);
        EXPECT_EQ(utf8FromWide(wide), text);
    }
}
