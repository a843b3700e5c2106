// What the documents say of the sources, held against them.

#include "Sources.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace Structure;
using Names = std::set<std::string>;
using Texts = std::vector<std::string>;

/// What the first parentheses of `pattern` catch, and behind `joint` what the second ones do.
Names caughtBy(const std::regex& pattern, const std::string& text, const std::string& joint = ".") {
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        names.insert((*match)[1].str() + joint + (*match)[2].str());
    return names;
}

/// "Suite.Case" of every test that a source defines.
Names testsDefinedIn(const std::string& source) {
    static const std::regex definition(R"(\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\))");
    return caughtBy(definition, source);
}

/// "Suite.Case" of every test that a text names, in backquotes.
Names testsNamedIn(const std::string& text) {
    static const std::regex name(R"(`([A-Z]\w+)\.([A-Z]\w+)`)");
    return caughtBy(name, text);
}

Names allTests() {
    Names tests;
    for (const fs::path& source : filesBelow(root / "Tests", {".cpp"}))
        tests.merge(testsDefinedIn(contentOf(source)));
    // The replay of a fuzz target's corpus.
    for (const auto& entry : fs::directory_iterator(root / "Fuzz" / "Corpus"))
        tests.insert("Fuzz." + entry.path().filename().string());
    return tests;
}

/// What stands under each heading that begins with `mark`, up to the next heading; the heading is its first
/// line.
Texts sectionsUnder(const std::string& mark, const std::string& document) {
    Texts sections;
    bool inside = false;
    for (const std::string& line : linesOf(document)) {
        if (line.starts_with('#')) {
            inside = line.starts_with(mark);
            if (inside)
                sections.emplace_back();
        }
        if (inside)
            sections.back() += line + "\n";
    }
    return sections;
}

/// The lines of an item of a list, "- LABEL: ...", and those that go on with it; empty if there is none.
std::string itemOf(const std::string& label, const std::string& section) {
    std::string item;
    for (const std::string& line : linesOf(section))
        if (line.starts_with("- " + label + ": ") || (!item.empty() && line.starts_with("  ")))
            item += line + "\n";
        else if (!item.empty())
            break;
    return item;
}

/// What an input's section of Docs/Security.md lacks.
Names lackingIn(const std::string& section) {
    Names lacking;
    if (itemOf("Bound", section).empty() && itemOf("Guard", section).empty())
        lacking.insert("a bound");
    if (itemOf("Where", section).empty())
        lacking.insert("where it stands");
    if (testsNamedIn(itemOf("Shown by", section)).empty())
        lacking.insert("a test that shows it");
    return lacking;
}

/// All pages that people read.
std::vector<fs::path> pages() {
    std::vector<fs::path> found;
    for (const fs::path& folder : {root, root / "Docs"})
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().extension() == ".md")
                found.push_back(entry.path());
    return found;
}

/// In characters, of UTF-8.
std::ptrdiff_t widthOf(const std::string& line) {
    return std::count_if(line.begin(), line.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
}

/// The lines of more than 100 characters outside code and tables, which cannot be wrapped.
Texts linesTooLongIn(const std::string& document) {
    Texts tooLong;
    bool inCode = false;
    for (const std::string& line : linesOf(document)) {
        const std::size_t text = line.find_first_not_of(' ');
        const bool isFence = text != std::string::npos && line.compare(text, 3, "```") == 0;
        inCode = inCode != isFence;
        const bool isRow = text != std::string::npos && line[text] == '|';
        if (!inCode && !isRow && widthOf(line) > 100)
            tooLong.push_back(line);
    }
    return tooLong;
}

/// The files and folders in backquotes, as "Room/Name", whose first folder is one of `rooms`.
Names pathsNamedIn(const std::string& text, const Names& rooms) {
    static const std::regex path(R"(`(\w+)(/[\w./-]*)`)");
    Names paths = caughtBy(path, text, "");
    std::erase_if(paths,
                  [&](const std::string& name) { return !rooms.contains(name.substr(0, name.find('/'))); });
    return paths;
}

/// As it stands, among the headers of its room, or without its extension.
bool isThere(const fs::path& name) {
    const fs::path header = root / *name.begin() / "include" / name;
    return fs::exists(root / name) || fs::exists(header) || fs::exists(root / (name.string() + ".cpp")) ||
           fs::exists(root / (name.string() + ".h"));
}

using LogStatement =
    std::pair<std::string, std::string>; ///< level, beginning of the message as it is written

/// The warn and error statements of a source of the plug-in.
std::vector<LogStatement> complaintsIn(const std::string& source) {
    static const std::regex statement(
        R"re(KORVA_LOG(?:_WIDE|_AT_LINE)?\(\s*logger,\s*(Warn|Error),\s*"\w+",\s*(?:\d+,\s*)?("[^"]*"|[\w.]+))re");
    std::vector<LogStatement> statements;
    for (std::sregex_iterator match(source.begin(), source.end(), statement), end; match != end; ++match)
        statements.emplace_back((*match)[1] == "Warn" ? "warn" : "error", (*match)[2]);
    return statements;
}

/// How the messages of a statement begin; none if it only goes on with the line before it.
Texts beginningsOf(const std::string& written) {
    static const std::map<std::string, Texts> ofVariables = {
        {"exchange.readFailure",
         {"parseIncomingMessage failed for image configuration",
          "parseIncomingMessage failed for take image request", "parseIncomingMessage failed for GetImage"}},
        {"text", {"Rejecting Korva camera, Vantrel requires Korva SW version at least "}},
    };
    if (!written.starts_with('"'))
        return ofVariables.contains(written) ? ofVariables.at(written)
                                             : Texts{"the text of the unknown variable " + written};
    const std::string text = written.substr(1, written.size() - 2);
    return text.find_first_not_of(' ') == std::string::npos ? Texts{} : Texts{text};
}

/// The codes of verdicts that the rules give: words joined by hyphens, and single ones where a
/// row or an assignment begins with them.
Names codesOfVerdicts() {
    static const std::regex joined(R"re(()"([a-z]+(?:-[a-z]+)+)")re");
    static const std::regex single(R"re((?:\n +\{|Obstacle::\w+, |code = |verdictOf\()()"([a-z]+)")re");
    Names codes;
    for (const fs::path& source : filesBelow(root / "Diagnosis", {".cpp"}))
        if (source.stem().string().find("Rules") != std::string::npos)
            for (const std::regex& pattern : {joined, single})
                codes.merge(caughtBy(pattern, contentOf(source), ""));
    return codes;
}

/// The messages of `source` that have no row in `document`.
Names unexplained(const std::string& source, const std::string& document) {
    Names missing;
    for (const auto& [level, written] : complaintsIn(source))
        for (std::string text : beginningsOf(written)) {
            text.erase(text.find_last_not_of(' ') + 1);
            if (document.find("\n| " + level + " | \"" + text) == std::string::npos)
                missing.insert(level + ": " + text);
        }
    return missing;
}

} // namespace

TEST(Documents, TestsNamedBySecurityExist) {
    const Names named = testsNamedIn(contentOf(root / "Docs" / "Security.md"));
    const Names defined = allTests();
    EXPECT_GE(named.size(), 30u);
    for (const std::string& name : named)
        EXPECT_TRUE(defined.contains(name)) << name;
}

TEST(Documents, EveryBoundOfSecurityIsShownByATest) {
    const std::string document = contentOf(root / "Docs" / "Security.md");
    const Texts inputs = sectionsUnder("#### ", document);
    EXPECT_GE(inputs.size(), 50u);
    std::size_t shown = 0;
    for (const std::string& input : inputs) {
        EXPECT_EQ(lackingIn(input), Names{}) << input;
        shown += lackingIn(input).empty() ? 1 : 0;
    }
    static const std::regex bound("(^|\n)- (?:Bound|Guard): ");
    EXPECT_EQ(std::distance(std::sregex_iterator(document.begin(), document.end(), bound), {}),
              std::ssize(inputs))
        << "each bound has a heading of its own";
    std::printf("figure: bounds on what is not trusted, each with a test that shows it: %zu of %zu\n", shown,
                inputs.size());
}

TEST(Documents, TroubleshootingHasARowForEachVerdict) {
    static const std::regex row(R"(\n\| .*()\| `([a-z-]+)` \| )");
    const Names documented = caughtBy(row, contentOf(root / "Docs" / "Troubleshooting.md"), "");
    EXPECT_GE(documented.size(), 50u);
    EXPECT_EQ(documented, codesOfVerdicts());
}

TEST(Documents, AreWrappedAt100Columns) {
    for (const fs::path& page : pages())
        EXPECT_EQ(linesTooLongIn(contentOf(page)), Texts{}) << page;
}

TEST(Documents, NameFilesThatExist) {
    const Names rooms = {"BackEnd",       "Benchmarks", "Console",       "Docs",      "Fuzz",
                         "HostFramework", "Lab",        "ReferenceHost", "Simulator", "Tests",
                         "cmake",         "Platform",   "scripts"};
    std::size_t found = 0;
    for (const fs::path& page : pages())
        for (const std::string& name : pathsNamedIn(contentOf(page), rooms)) {
            EXPECT_TRUE(isThere(name)) << page << " names " << name;
            ++found;
        }
    EXPECT_GE(found, 50u);
}

TEST(Documents, TroubleshootingExplainsEveryWarnAndErrorLine) {
    const std::string document = contentOf(root / "Docs" / "Troubleshooting.md");
    std::size_t found = 0;
    std::size_t lacking = 0;
    for (const fs::path& file : filesBelow(root / "BackEnd", {".cpp"})) {
        const std::string source = contentOf(file);
        found += complaintsIn(source).size();
        for (const std::string& missing : unexplained(source, document)) {
            ADD_FAILURE() << "Docs/Troubleshooting.md has no row for " << missing;
            ++lacking;
        }
    }
    EXPECT_GE(found, 40u);
    std::printf("figure: warn and error statements without a row in the troubleshooting table: %zu of %zu\n",
                lacking, found);
}

TEST(DocumentRules, FindWhatAnInputLacks) {
    for (const auto& [section, lacking] : {
             std::pair("- Bound: b\n- Where: c\n- Shown by: no test,\n  `Suite.Case`\n", Names{}),
             std::pair("- Guard: b\n- Where: c\n- Shown by: `Suite.Case`\n", Names{}),
             std::pair("- Bound: Where `Suite.Case`\n- Shown by: c\n",
                       Names{"where it stands", "a test that shows it"}),
             std::pair("- Where: c\n- Shown by: `Suite.Case`\n\n", Names{"a bound"}),
             std::pair("- Bound: b\n- Where: c\n- Shown by: d\n\n  `Suite.Case`\n",
                       Names{"a test that shows it"}),
         })
        EXPECT_EQ(lackingIn(section), lacking) << section;
}

TEST(DocumentRules, FindTheFilesThatAreNamed) {
    EXPECT_EQ(pathsNamedIn("`A/b.cpp`, `A/c/`, `A/<x>`, `B/d`, A/e, `A/run f`", {"A"}),
              (Names{"A/b.cpp", "A/c/"}));
    EXPECT_TRUE(isThere("Tests/Structure/DocumentsTest.cpp") && isThere("Tests/Structure/DocumentsTest"));
    EXPECT_TRUE(isThere("Platform/Winsock.h") && isThere("Tests/"));
    EXPECT_FALSE(isThere("Tests/Structure/NoSuchTest.cpp"));
}

TEST(DocumentRules, FindALineThatIsTooLong) {
    std::string umlauts;
    while (umlauts.size() < 200)
        umlauts += "\xC3\xA4";
    const std::string tooLong(101, 'x');
    EXPECT_EQ(linesTooLongIn(umlauts + "\n```\n" + tooLong + "\n```\n  | " + tooLong + " |\n"), Texts{});
    EXPECT_EQ(linesTooLongIn("  ```\n  ```\n" + tooLong + "\n"), Texts{tooLong});
}

TEST(DocumentRules, FindALineWithoutARow) {
    const std::string source = "KORVA_LOG(logger, Warn, \"Korva\",\n  \"Too \" << much);"
                               "KORVA_LOG_AT_LINE(logger, Error, \"Korva\", 12, \"    \" << more);"
                               "KORVA_LOG(logger, Info, \"Korva\", \"Fine\");";
    EXPECT_EQ(unexplained(source, "\n| warn | \"Too \" number | a | b |\n"), Names{});
    EXPECT_EQ(unexplained(source, "\n| error | \"Too \" number | a | b |\n"), Names{"warn: Too"});
    EXPECT_EQ(unexplained("KORVA_LOG(logger, Error, \"Korva\", some.text);", ""),
              Names{"error: the text of the unknown variable some.text"});
}
