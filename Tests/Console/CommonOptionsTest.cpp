#include "Console/CommonOptions.h"

#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "Support/Environment.h"
#include "Support/TemporaryFolder.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

using Console::CommonOptions;

namespace {

CommonOptions parsed(std::vector<std::string> arguments) {
    CLI::App app;
    CommonOptions options;
    addCommonOptions(app, options);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
    return options;
}

std::string freshFolder(const char* name) {
    const std::string folder = testing::TempDir() + name;
    std::filesystem::remove_all(folder);
    return folder;
}

} // namespace

TEST(CommonOptions, AreAllAbsentByDefault) {
    const CommonOptions options = parsed({});
    EXPECT_EQ(options.log.level, "");
    EXPECT_EQ(options.log.configFile, "");
    EXPECT_EQ(options.diagnosticsFolder, "");
    EXPECT_TRUE(options.settings.empty());
}

TEST(CommonOptions, TakeEveryLevelInAnyCase) {
    for (const char* level : {"off", "error", "warn", "info", "debug", "trace"})
        EXPECT_EQ(parsed({"--log", level}).log.level, level);
    EXPECT_EQ(parsed({"--log", "TRACE"}).log.level, "trace");
}

TEST(CommonOptions, RefuseUnknownLevelMissingConfigurationAndShapelessSetting) {
    EXPECT_THROW(parsed({"--log", "loud"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--log-config", freshFolder("korva-no-such-file")}), CLI::ParseError);
    EXPECT_THROW(parsed({"--setting", "name"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--setting", "=value"}), CLI::ParseError);
}

TEST(CommonOptions, SettingsMayBeRepeatedAndHoldEqualSigns) {
    const CommonOptions options = parsed({"--setting", "a=1", "--setting", "b=x=y", "--setting", "c="});
    const std::vector<std::pair<std::string, std::string>> expected = {{"a", "1"}, {"b", "x=y"}, {"c", ""}};
    EXPECT_EQ(options.settings, expected);
}

TEST(CommonOptions, HelpAndVersionEndTheParse) {
    EXPECT_THROW(parsed({"--help"}), CLI::CallForHelp);
    EXPECT_THROW(parsed({"--version"}), CLI::CallForVersion);
}

TEST(CommonOptions, SettingsReachTheHost) {
    CommonOptions options;
    options.settings = {{"KorvaConsoleTest", "yes"}};
    applyToHost(options);
    EXPECT_EQ(ReferenceHost::developerSettings().at("KorvaConsoleTest"), "yes");
}

TEST(CommonOptions, DiagnosticsFolderReachesTheHostAndIsMade) {
    CommonOptions options;
    options.log.level = "trace";
    options.diagnosticsFolder = freshFolder("korva-diagnostics-\xC3\xA9/deep");
    EXPECT_EQ(applyToHost(options), "");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), Platform::wideFromUtf8(options.diagnosticsFolder));
    EXPECT_TRUE(std::filesystem::is_directory(options.diagnosticsFolder));
}

TEST(CommonOptions, NameNoFolderOfDumpsWhereALoggingConfigurationDecidesWhetherThereAreAny) {
    CommonOptions options;
    options.log = {"trace", "any.properties"};
    EXPECT_EQ(applyToHost(options), "");
}

TEST(CommonOptions, FolderThatCannotBeMadeIsNamed) {
    CommonOptions options;
    options.diagnosticsFolder = "/dev/null/\x1B[2J";
    try {
        applyToHost(options);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "cannot make the diagnostics folder /dev/null/\\x1b[2J: Not a directory");
    }
}

TEST(CommonOptions, HostsOwnFolderIsMadeReadyAndNamedWherePicturesAreDumped) {
    const TestSupport::TemporaryFolder folder;
    const TestSupport::Variable state("XDG_STATE_HOME", folder.file("\x1B[2J"));
    const std::string shown = folder.file("\\x1b[2J/korva-diagnostics");
    ReferenceHost::setImagesSubDirectory(L"");
    CommonOptions options;
    options.log.level = "debug";
    EXPECT_EQ(applyToHost(options), "");
    EXPECT_TRUE(folder.names().empty());

    options.log.level = "trace";
    EXPECT_EQ(applyToHost(options), "fetched picture files are dumped into " + shown);
    const std::filesystem::path own = folder.file("\x1B[2J/korva-diagnostics");
    EXPECT_TRUE(std::filesystem::is_directory(own));

    std::filesystem::permissions(own, std::filesystem::perms::all);
    EXPECT_EQ(applyToHost(options), "warning: fetched picture files are not dumped: " + shown +
                                        " is open to others; try: --diagnostics DIR");
}
