// What the documents say of the sources, held against them.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;
using Texts = std::vector<std::string>;

const fs::path root = KORVA_SOURCE_DIR;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Texts linesOf(const std::string& text) {
    std::istringstream stream(text);
    Texts lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

Texts sourcesBelow(const fs::path& folder) {
    Texts texts;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.path().extension() == ".cpp")
            texts.push_back(contentOf(entry.path()));
    return texts;
}

/// What the first parentheses of `pattern` catch, and a point and what the second ones do, if there are any.
Names caughtBy(const std::regex& pattern, const std::string& text) {
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        names.insert((*match)[1].str() + (match->size() > 2 ? "." + (*match)[2].str() : ""));
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
    for (const std::string& source : sourcesBelow(root / "Tests"))
        tests.merge(testsDefinedIn(source));
    // The replay of a fuzz target's corpus.
    for (const auto& entry : fs::directory_iterator(root / "Fuzz" / "Corpus"))
        tests.insert("Fuzz." + entry.path().filename().string());
    return tests;
}

/// The rows of the tables whose last heading is `lastHeading`.
Texts rowsOfTablesAbout(const std::string& lastHeading, const std::string& document) {
    Texts rows;
    bool inside = false;
    for (const std::string& line : linesOf(document)) {
        if (!line.starts_with('|'))
            inside = false;
        else if (line.ends_with("| " + lastHeading + " |"))
            inside = true;
        else if (inside && !line.starts_with("|--"))
            rows.push_back(line);
    }
    return rows;
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

/// How the messages of a statement begin; none where it only goes on with the line before it.
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
    const Texts rows = rowsOfTablesAbout("Shown by", contentOf(root / "Docs" / "Security.md"));
    EXPECT_GE(rows.size(), 20u);
    std::size_t shown = 0;
    for (const std::string& row : rows) {
        EXPECT_FALSE(testsNamedIn(row).empty()) << row;
        shown += testsNamedIn(row).empty() ? 0 : 1;
    }
    std::printf("figure: bounds on what is not trusted, each with a test that shows it: %zu of %zu\n", shown,
                rows.size());
}

TEST(Documents, TroubleshootingExplainsEveryWarnAndErrorLine) {
    const std::string document = contentOf(root / "Docs" / "Troubleshooting.md");
    std::size_t found = 0;
    std::size_t lacking = 0;
    for (const std::string& source : sourcesBelow(root / "BackEnd")) {
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

TEST(DocumentRules, FindATestAsItIsDefined) {
    EXPECT_EQ(testsDefinedIn("TEST(A, B) {\nTEST_F(C,\n       D) {\nTEST_P(E, F) {"),
              (Names{"A.B", "C.D", "E.F"}));
    EXPECT_EQ(testsNamedIn("`Suite.Case`, `File.cpp`, Suite.Other, `Fuzz.Capture`"),
              (Names{"Fuzz.Capture", "Suite.Case"}));
}

TEST(DocumentRules, FindTheRowsOfATable) {
    EXPECT_EQ(
        rowsOfTablesAbout("Shown by", "| A | Shown by |\n|---|---|\n| b | c |\n\n| x | Y |\n| z | z |\n"),
        (Texts{"| b | c |"}));
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
