#include "NativeCameraKorva/KorvaCommParser.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using Korva::CommParser;

CommParser parsed(const std::vector<std::string>& texts) {
    CommParser parser;
    for (std::string text : texts) {
        const std::string former = text;
        parser.parse(text.data());
        EXPECT_EQ(text, former) << "the text stays as it was";
        EXPECT_TRUE(parser.isParsed());
    }
    return parser;
}

// The class can be watched only through its look-ups: an entry's successor is its value.
TEST(CommParser, FindsTheEntryBehindTheFirstThatEqualsTheKey) {
    const struct {
        const char* what;
        std::vector<std::string> texts; ///< that one parser reads one after the other
        std::string values;             ///< that it then finds: "key=value", with | between
    } rows[] = {
        {"a discovery reply",
         {"[Korva --Room Lab 2 --IP 10.0.0.5 --NetMask 1.2.3.4]"},
         "--Room=Lab 2|Lab 2=--IP|--IP=10.0.0.5|10.0.0.5=--NetMask|--NetMask=1.2.3.4|1.2.3.4=|[Korva="},
        {"no text yet", {}, "--Room=|="},
        {"texts without words", {"", " ", " \t\n\v\f\r "}, "="},
        {"words before a key",
         {"[Korva Room Lab -IP 1]", "lead] - --A x]"},
         "[Korva=|Room=|Lab=|-IP=|1]=|1=|lead=|-=|--A=x"},
        {"keys are compared whole", {"--Room Lab]"}, "Room=|--room=|--Roo=|--Room =|=|--=|--Room\0="s},
        {"a key without value", {"[Korva --Room --IP 10.0.0.5]"}, "--Room=--IP|--IP=10.0.0.5"},
        {"a last value without bracket", {"[Korva --Room Lab --IP 10.0.0.5"}, "--Room=Lab|--IP=|10.0.0.5="},
        {"a key that is the last entry", {"--A x --B"}, "--B="},
        {"the blank before a bracket of its own stays", {"--Room Lab East ]"}, "--Room=Lab East "},
        {"a lone bracket is an empty value, which is an entry", {"--Room ]", "--IP 1]"}, "--Room=|=--IP"},
        {"single blanks join words",
         {"\r\n--Room\tLab\v\fEast \n\r Wing\n--IP 1]"},
         "--Room=Lab East Wing|--IP=1"},
        {"the first closing bracket ends the text", {"--A x] --B y]"}, "--A=x|x=|--B="},
        {"one bracket is removed", {"--A x]]"}, "--A=x]"},
        {"a bracket inside a word ends nothing", {"--A x]y [z --B w]"}, "--A=x]y [z|--B=w"},
        {"a bracket behind a key", {"--Room Lab --IP] 10.0.0.5 --Mask y]"}, "--IP=|--IP]=10.0.0.5|--Mask=y"},
        {"hyphens inside a word are text", {"--A a--B -c x]"}, "--A=a--B -c x"},
        {"two hyphens alone are a key", {"-- x ---y z]"}, "--=x|---y=z"},
        {"a second text goes behind the first", {"--A x --B y]", "--A z --C w]"}, "--A=x|y=--A|--C=w"},
        {"each text starts without a key", {"--A", "dropped] --B y]"}, "--A=--B|--B=y"},
        {"a key may be found among the values", {"--A Room --B y]"}, "Room=--B"},
        {"of equal keys the first is found", {"--A x --A y]"}, "--A=x"},
        {"a zero byte ends the text", {"--A x]\0--B y]"s, "--C z\0]"s}, "--A=x|--B=|--C="},
        {"bytes that are no text stay", {"--A \xC3\xA4\xA0\xFF\x01]"}, "--A=\xC3\xA4\xA0\xFF\x01"},
    };
    for (const auto& row : rows) {
        CommParser parser = parsed(row.texts);
        std::istringstream values(row.values);
        for (std::string pair; std::getline(values, pair, '|');) {
            const std::size_t equals = pair.find('=');
            EXPECT_EQ(parser.getValue(pair.substr(0, equals)), pair.substr(equals + 1))
                << row.what << ": " << pair;
        }
    }
}

TEST(CommParser, IsParsedOnceATextWasReadEvenIfItWasNone) {
    CommParser parser;
    EXPECT_FALSE(parser.isParsed());
    parser.parse(nullptr);
    EXPECT_TRUE(parser.isParsed());
}

TEST(CommParser, SeparatesWordsAlikeInEveryLocale) {
    using Classes = std::ctype<char>;
    std::vector<Classes::mask> table(Classes::classic_table(),
                                     Classes::classic_table() + Classes::table_size);
    table['x'] |= Classes::space;
    const std::locale oddSpaces(std::locale::classic(), new Classes(table.data()));
    const std::locale former = std::locale::global(oddSpaces);
    CommParser parser = parsed({"--A axb]"});
    std::locale::global(former);
    EXPECT_EQ(parser.getValue("--A"), "axb");
}

/// It has parsed, and has that value of --A and nothing of --C.
void expectParser(CommParser& parser, const std::string& value) {
    EXPECT_TRUE(parser.isParsed());
    EXPECT_EQ(parser.getValue("--A"), value);
    EXPECT_EQ(parser.getValue("--C"), "");
}

TEST(CommParser, IsCopiedAndMovedWithItsEntriesAndKeepsItsFlag) {
    static_assert(std::is_same_v<decltype(std::declval<CommParser&>().getValue("")), std::string>);
    CommParser source = parsed({"--A x]"});
    CommParser copy(source);
    CommParser assigned = parsed({"--C z]"});
    assigned = source;
    CommParser moved(std::move(source));
    CommParser moveAssigned = parsed({"--C z]"});
    moveAssigned = std::move(copy);
    for (CommParser* const parser : {&assigned, &moved, &moveAssigned}) {
        expectParser(*parser, "x");
        CommParser& same = *parser;
        *parser = same;
        *parser = std::move(same);
        expectParser(*parser, "x");
    }
    expectParser(source, "");
    expectParser(copy, "");
    assigned = CommParser();
    EXPECT_FALSE(assigned.isParsed());
}

} // namespace
