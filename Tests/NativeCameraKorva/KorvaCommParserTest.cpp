#include "NativeCameraKorva/KorvaCommParser.h"

#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using Korva::CommParser;

// The class can be watched only through its look-ups: an entry's successor is its value.

void parse(CommParser& parser, std::string text) {
    parser.parse(text.data());
}

CommParser parsed(const std::string& text) {
    CommParser parser;
    parse(parser, text);
    return parser;
}

TEST(CommParser, ReadsADiscoveryReply) {
    CommParser parser = parsed("[Korva --Room Lab 2 --IP 192.168.10.27 --NetMask 255.255.255.0]");
    EXPECT_TRUE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--Room"), "Lab 2");
    EXPECT_EQ(parser.getValue("Lab 2"), "--IP");
    EXPECT_EQ(parser.getValue("--IP"), "192.168.10.27");
    EXPECT_EQ(parser.getValue("192.168.10.27"), "--NetMask");
    EXPECT_EQ(parser.getValue("--NetMask"), "255.255.255.0");
    EXPECT_EQ(parser.getValue("255.255.255.0"), "");
    EXPECT_EQ(parser.getValue("[Korva"), "");
}

TEST(CommParser, IsEmptyAndNotParsedAtFirst) {
    CommParser parser;
    EXPECT_FALSE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--Room"), "");
    EXPECT_EQ(parser.getValue(""), "");
}

TEST(CommParser, TakesTextsWithoutWordsAsParsed) {
    for (const char* text : {"", " ", " \t\n\v\f\r "}) {
        CommParser parser = parsed(text);
        EXPECT_TRUE(parser.isParsed());
        EXPECT_EQ(parser.getValue(""), "");
    }
}

TEST(CommParser, TakesNoTextAsAnEmptyOne) {
    CommParser parser;
    parser.parse(nullptr);
    EXPECT_TRUE(parser.isParsed());
}

TEST(CommParser, DropsWordsBeforeTheFirstKey) {
    CommParser parser = parsed("[Korva Room Lab -IP 1]");
    EXPECT_TRUE(parser.isParsed());
    for (const char* word : {"[Korva", "Room", "Lab", "-IP", "1]", "1"})
        EXPECT_EQ(parser.getValue(word), "");
    parse(parser, "lead] - --A x]");
    EXPECT_EQ(parser.getValue("--A"), "x");
    EXPECT_EQ(parser.getValue("lead"), "");
    EXPECT_EQ(parser.getValue("-"), "");
}

TEST(CommParser, ComparesKeysWholeAndWithTheirCase) {
    CommParser parser = parsed("--Room Lab]");
    for (const char* key : {"Room", "--room", "--Roo", "--Room ", "", "--"})
        EXPECT_EQ(parser.getValue(key), "") << key;
    EXPECT_EQ(parser.getValue(std::string("--Room\0", 7)), "");
}

TEST(CommParser, StoresNoEntryForAKeyWithoutValue) {
    CommParser parser = parsed("[Korva --Room --IP 10.0.0.5]");
    EXPECT_EQ(parser.getValue("--Room"), "--IP");
    EXPECT_EQ(parser.getValue("--IP"), "10.0.0.5");
}

TEST(CommParser, DropsALastValueThatNoBracketCloses) {
    CommParser parser = parsed("[Korva --Room Lab --IP 10.0.0.5");
    EXPECT_TRUE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--Room"), "Lab");
    EXPECT_EQ(parser.getValue("--IP"), "");
    EXPECT_EQ(parser.getValue("10.0.0.5"), "");
}

TEST(CommParser, GivesNothingForAKeyThatIsTheLastEntry) {
    EXPECT_EQ(parsed("--IP").getValue("--IP"), "");
    EXPECT_EQ(parsed("--A x --B").getValue("--B"), "");
}

TEST(CommParser, KeepsTheBlankBeforeABracketOfItsOwn) {
    EXPECT_EQ(parsed("--Room Lab East ]").getValue("--Room"), "Lab East ");
}

TEST(CommParser, StoresAnEmptyValueForALoneBracket) {
    // The empty value is an entry: the next text's key does not follow the first key.
    CommParser parser = parsed("--Room ]");
    parse(parser, "--IP 1]");
    EXPECT_EQ(parser.getValue("--Room"), "");
    EXPECT_EQ(parser.getValue(""), "--IP");
}

TEST(CommParser, JoinsValueWordsBySingleBlanksWhateverSeparatesThem) {
    CommParser parser = parsed("\r\n--Room\tLab\v\fEast \n\r Wing\n--IP 1]");
    EXPECT_EQ(parser.getValue("--Room"), "Lab East Wing");
    EXPECT_EQ(parser.getValue("--IP"), "1");
}

TEST(CommParser, StopsAtTheFirstClosingBracket) {
    CommParser parser = parsed("--A x] --B y]");
    EXPECT_EQ(parser.getValue("--A"), "x");
    EXPECT_EQ(parser.getValue("x"), "");
    EXPECT_EQ(parser.getValue("--B"), "");
}

TEST(CommParser, RemovesOneBracketOnly) {
    EXPECT_EQ(parsed("--A x]]").getValue("--A"), "x]");
}

TEST(CommParser, DoesNotEndAtABracketInsideAWord) {
    CommParser parser = parsed("--A x]y [z --B w]");
    EXPECT_EQ(parser.getValue("--A"), "x]y [z");
    EXPECT_EQ(parser.getValue("--B"), "w");
}

TEST(CommParser, TakesABracketBehindAKeyAsPartOfTheKey) {
    CommParser parser = parsed("--Room Lab --IP] 10.0.0.5 --Mask y]");
    EXPECT_EQ(parser.getValue("--IP"), "");
    EXPECT_EQ(parser.getValue("--IP]"), "10.0.0.5");
    EXPECT_EQ(parser.getValue("--Mask"), "y");
}

TEST(CommParser, TakesHyphensInsideAWordAsValueText) {
    EXPECT_EQ(parsed("--A a--B -c x]").getValue("--A"), "a--B -c x");
}

TEST(CommParser, TakesTwoHyphensAloneAsAKey) {
    CommParser parser = parsed("-- x ---y z]");
    EXPECT_EQ(parser.getValue("--"), "x");
    EXPECT_EQ(parser.getValue("---y"), "z");
}

TEST(CommParser, AppendsASecondTextBehindTheFirst) {
    CommParser parser = parsed("--A x --B y]");
    parse(parser, "--A z --C w]");
    EXPECT_TRUE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--A"), "x");
    EXPECT_EQ(parser.getValue("y"), "--A");
    EXPECT_EQ(parser.getValue("--C"), "w");
}

TEST(CommParser, StartsEachTextWithoutAKey) {
    CommParser parser = parsed("--A");
    parse(parser, "dropped] --B y]");
    EXPECT_EQ(parser.getValue("--A"), "--B");
    EXPECT_EQ(parser.getValue("--B"), "y");
}

TEST(CommParser, MayFindAKeyAmongTheValues) {
    // A value equals the key that is asked for only where it is no key itself.
    CommParser parser = parsed("--A Room --B y]");
    EXPECT_EQ(parser.getValue("Room"), "--B");
}

TEST(CommParser, FindsTheFirstOfEqualKeys) {
    EXPECT_EQ(parsed("--A x --A y]").getValue("--A"), "x");
}

TEST(CommParser, ReadsUpToTheZeroByte) {
    CommParser parser;
    char text[] = "--A x]\0--B y]";
    parser.parse(text);
    EXPECT_EQ(parser.getValue("--A"), "x");
    EXPECT_EQ(parser.getValue("--B"), "");
}

TEST(CommParser, LeavesTheTextAsItWas) {
    std::string text = "[Korva --Room Lab]";
    CommParser parser;
    parser.parse(text.data());
    EXPECT_EQ(text, "[Korva --Room Lab]");
}

TEST(CommParser, KeepsBytesThatAreNoText) {
    EXPECT_EQ(parsed("--A \xC3\xA4\xA0\xFF\x01]").getValue("--A"), "\xC3\xA4\xA0\xFF\x01");
}

/// A character classification where 'x' separates words.
class OddSpaces final : public std::ctype<char> {
public:
    OddSpaces() : std::ctype<char>(makeTable()) {}

private:
    static const mask* makeTable() {
        static mask table[table_size];
        std::copy(classic_table(), classic_table() + table_size, table);
        table[static_cast<unsigned char>('x')] |= space;
        return table;
    }
};

TEST(CommParser, SeparatesWordsAlikeInEveryLocale) {
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new OddSpaces));
    CommParser parser = parsed("--A axb]");
    std::locale::global(former);
    EXPECT_EQ(parser.getValue("--A"), "axb");
}

TEST(CommParser, CopiesFlagAndEntries) {
    CommParser source = parsed("--A x]");
    CommParser copy(source);
    EXPECT_TRUE(copy.isParsed());
    EXPECT_EQ(copy.getValue("--A"), "x");
    parse(copy, "--B y]");
    EXPECT_EQ(source.getValue("--B"), "");

    CommParser assigned = parsed("--C z]");
    assigned = source;
    EXPECT_EQ(assigned.getValue("--A"), "x");
    EXPECT_EQ(assigned.getValue("--C"), "");
    assigned = CommParser();
    EXPECT_FALSE(assigned.isParsed());
    EXPECT_EQ(source.getValue("--A"), "x");
}

TEST(CommParser, MovesItsEntriesAndKeepsItsFlag) {
    CommParser source = parsed("--A x]");
    CommParser moved(std::move(source));
    EXPECT_TRUE(moved.isParsed());
    EXPECT_EQ(moved.getValue("--A"), "x");
    EXPECT_TRUE(source.isParsed());
    EXPECT_EQ(source.getValue("--A"), "");

    CommParser assigned = parsed("--C z]");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.getValue("--A"), "x");
    EXPECT_EQ(assigned.getValue("--C"), "");
    EXPECT_TRUE(moved.isParsed());
    EXPECT_EQ(moved.getValue("--A"), "");
    EXPECT_EQ(moved.getValue("--C"), "");
}

TEST(CommParser, StaysAsItWasWhenAssignedToItself) {
    CommParser parser = parsed("--A x]");
    CommParser& same = parser;
    parser = same;
    EXPECT_TRUE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--A"), "x");
    parser = std::move(same);
    EXPECT_TRUE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--A"), "x");
}

TEST(CommParser, ReturnsValuesByCopy) {
    static_assert(std::is_same_v<decltype(std::declval<CommParser&>().getValue("")), std::string>);
    CommParser parser = parsed("--A x]");
    parser.getValue("--A") += "y";
    EXPECT_EQ(parser.getValue("--A"), "x");
}

} // namespace
