#include "Platform/Kernel.h"
#include "Platform/Text.h"
#include "Platform/posix/Utf.h"

#include <array>
#include <climits>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
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

// Both directions, with everything else as it should be.

struct TextToWide {
    using From = char;
    using To = wchar_t;
    static constexpr DWORD refusing = MB_ERR_INVALID_CHARS;
    static constexpr const From* longText = "\xC3\xA4z"; ///< and its end are three units
    static constexpr int longTextUnits = 3;
    static constexpr const From* letters = "ab";

    static int convert(const From* text, int count, To* to, int room, DWORD flags = 0, UINT page = CP_UTF8) {
        SetLastError(ERROR_SUCCESS);
        return MultiByteToWideChar(page, flags, text, count, to, room);
    }
};

struct WideToText {
    using From = wchar_t;
    using To = char;
    static constexpr DWORD refusing = WC_ERR_INVALID_CHARS;
    static constexpr const From* longText = L"\u20ACz"; ///< and its end are five units
    static constexpr int longTextUnits = 5;
    static constexpr const From* letters = L"ab";

    static int convert(const From* text, int count, To* to, int room, DWORD flags = 0, UINT page = CP_UTF8,
                       const char* substitute = nullptr, BOOL* used = nullptr) {
        SetLastError(ERROR_SUCCESS);
        return WideCharToMultiByte(page, flags, text, count, to, room, substitute, used);
    }
};

template <typename Direction>
struct Conversion : testing::Test {
    using To = typename Direction::To;
    std::array<To, 6> room{To{'?'}, To{'?'}, To{'?'}, To{'?'}, To{'?'}, To{'?'}};
};

struct Directions {
    template <typename Direction>
    static std::string GetName(int) {
        return std::is_same_v<Direction, TextToWide> ? "TextToWide" : "WideToText";
    }
};
using BothDirections = testing::Types<TextToWide, WideToText>;
TYPED_TEST_SUITE(Conversion, BothDirections, Directions);

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

TEST(TextToWideUnits, SubstituteEachMaximalSubpartOfMalformedTextOrRefuseIt) {
    for (const auto& [what, text, expected] : malformedCases()) {
        SCOPED_TRACE(what);
        EXPECT_EQ(decodeAs<char32_t>(text), expected);
        EXPECT_EQ(decodeAs<char16_t>(text), std::u16string(expected.begin(), expected.end()));
        std::array<wchar_t, 32> wide{};
        EXPECT_EQ(errorOf(TextToWide::convert(text.data(), static_cast<int>(text.size()), wide.data(), 32,
                                              MB_ERR_INVALID_CHARS)),
                  ERROR_NO_UNICODE_TRANSLATION);
    }
}

TEST(TextToWideUnits, ReachTheBoundariesOfEverySequenceLengthAndArePairsIfTheyAreOfSixteenBits) {
    EXPECT_EQ(decodeAs<char32_t>(boundariesUtf8), boundaries);
    EXPECT_EQ(decodeAs<char16_t>("\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
              u"\U0001F600\U00010000\U0010FFFF");
}

TEST(WideUnitsToText, ReachTheBoundariesOfEverySequenceLengthAndArePairsIfTheyAreOfSixteenBits) {
    EXPECT_EQ(encodeFrom(boundaries), boundariesUtf8);
    EXPECT_EQ(encodeFrom(std::u16string(u"\U0001F600\U00010000\U0010FFFFz")),
              "\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz");
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
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0xD83D}, wchar_t{0xDE00}}), mark + mark) << "no pairs here";
    EXPECT_EQ(utf8FromWide(std::wstring{wchar_t{0x110000}, static_cast<wchar_t>(-1)}), mark + mark);
}

TEST(WideUnitsToText, AreRefusedIfTheyAreNoCodePointsWhereToldTo) {
    std::array<char, 8> text{};
    const std::wstring lone{L'a', wchar_t{0xD800}};
    EXPECT_EQ(errorOf(WideToText::convert(lone.data(), 2, text.data(), 8, WC_ERR_INVALID_CHARS)),
              ERROR_NO_UNICODE_TRANSLATION);
}

TYPED_TEST(Conversion, TakesWellFormedTextWhereToldToRefuse) {
    EXPECT_EQ(TypeParam::convert(TypeParam::longText, -1, this->room.data(), 6, TypeParam::refusing),
              TypeParam::longTextUnits);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
}

TYPED_TEST(Conversion, CountsTheTerminatorOnlyWhereItLooksForTheEnd) {
    const typename TypeParam::From zeroInside[] = {'a', 0, 'b'};
    const typename TypeParam::From empty[] = {0};
    auto& units = this->room;
    EXPECT_EQ(TypeParam::convert(TypeParam::letters, 2, units.data(), 6), 2);
    EXPECT_EQ(units[2], '?');
    EXPECT_EQ(TypeParam::convert(TypeParam::letters, -1, units.data(), 6), 3);
    EXPECT_EQ(units[2], 0);
    EXPECT_EQ(TypeParam::convert(empty, -1, units.data(), 6), 1);
    EXPECT_EQ(TypeParam::convert(zeroInside, 3, units.data(), 6), 3);
    EXPECT_TRUE(units[0] == 'a' && units[1] == 0 && units[2] == 'b');
}

TYPED_TEST(Conversion, TellsTheSizeAndWritesNothingWhereTheBufferHasNone) {
    EXPECT_EQ(TypeParam::convert(TypeParam::longText, -1, nullptr, 0), TypeParam::longTextUnits);
    EXPECT_EQ(TypeParam::convert(TypeParam::letters, 2, this->room.data(), 0), 2);
    EXPECT_EQ(this->room[0], '?');
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
}

TYPED_TEST(Conversion, RefusesABufferThatIsTooSmallAndWritesNothingBeyondIt) {
    constexpr int needed = TypeParam::longTextUnits;
    EXPECT_EQ(errorOf(TypeParam::convert(TypeParam::longText, -1, this->room.data(), needed - 1)),
              ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(this->room[needed - 1], '?');
    EXPECT_EQ(TypeParam::convert(TypeParam::longText, -1, this->room.data(), needed), needed);
}

TYPED_TEST(Conversion, RefusesWrongArguments) {
    const auto refusal = [this](const typename TypeParam::From* text, int count, int size, DWORD flags = 0,
                                UINT page = CP_UTF8) {
        return errorOf(TypeParam::convert(text, count, this->room.data(), size, flags, page));
    };
    const auto* const ab = TypeParam::letters;
    EXPECT_EQ(refusal(ab, 0, 6), ERROR_INVALID_PARAMETER) << "no units";
    EXPECT_EQ(refusal(ab, -2, 6), ERROR_INVALID_PARAMETER) << "a negative number";
    EXPECT_EQ(refusal(nullptr, 2, 6), ERROR_INVALID_PARAMETER) << "no text";
    EXPECT_EQ(refusal(ab, 2, -1), ERROR_INVALID_PARAMETER) << "a negative buffer";
    EXPECT_EQ(errorOf(TypeParam::convert(ab, 2, nullptr, 6)), ERROR_INVALID_PARAMETER) << "no buffer";
    EXPECT_EQ(refusal(reinterpret_cast<const typename TypeParam::From*>(this->room.data()), 2, 6),
              ERROR_INVALID_PARAMETER)
        << "onto itself";
    EXPECT_EQ(refusal(ab, 2, 6, 0, 1252), ERROR_INVALID_PARAMETER) << "another code page";
    EXPECT_EQ(refusal(ab, 2, 6, 1), ERROR_INVALID_FLAGS);
    EXPECT_EQ(refusal(ab, 2, 6, TypeParam::refusing | 1), ERROR_INVALID_FLAGS);
}

TEST(WideUnitsToText, HaveNoDefaultCharacter) {
    std::array<char, 4> text{};
    BOOL used = 0;
    for (const auto& [substitute, tells] : {std::pair<const char*, BOOL*>("?", nullptr), {nullptr, &used}})
        EXPECT_EQ(errorOf(WideToText::convert(L"ab", 2, text.data(), 4, 0, CP_UTF8, substitute, tells)),
                  ERROR_INVALID_PARAMETER);
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
