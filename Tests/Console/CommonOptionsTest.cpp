#include "Console/CommonOptions.h"

#include "Parsed.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "Support/Environment.h"
#include "Support/TemporaryFolder.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <filesystem>
#include <stdexcept>

using Console::addCommonOptions;
using Console::CommonOptions;
using ConsoleTests::parsed;

namespace fs = std::filesystem;

TEST(CommonOptions, AreAllAbsentByDefault) {
    const CommonOptions options = parsed(addCommonOptions, "");
    EXPECT_EQ(options.log.level, "");
    EXPECT_EQ(options.log.configFile, "");
    EXPECT_EQ(options.diagnosticsFolder, "");
    EXPECT_TRUE(options.settings.empty());
}

TEST(CommonOptions, TakeEveryLevelInAnyCase) {
    for (const std::string level : {"off", "error", "warn", "info", "debug", "trace"})
        EXPECT_EQ(parsed(addCommonOptions, "--log " + level).log.level, level);
    EXPECT_EQ(parsed(addCommonOptions, "--log TRACE").log.level, "trace");
}

TEST(CommonOptions, RefuseUnknownLevelMissingConfigurationAndShapelessSetting) {
    ConsoleTests::expectRefusal(
        addCommonOptions, {"--log loud", "--log-config /no/such/file", "--setting name", "--setting =value"});
}

TEST(CommonOptions, SettingsMayBeRepeatedAndHoldEqualSigns) {
    const std::vector<std::pair<std::string, std::string>> expected = {{"a", "1"}, {"b", "x=y"}, {"c", ""}};
    EXPECT_EQ(parsed(addCommonOptions, "--setting a=1 --setting b=x=y --setting c=").settings, expected);
}

TEST(CommonOptions, HelpAndVersionEndTheParse) {
    EXPECT_THROW(parsed(addCommonOptions, "--help"), CLI::CallForHelp);
    EXPECT_THROW(parsed(addCommonOptions, "--version"), CLI::CallForVersion);
}

TEST(CommonOptions, SettingsReachTheHost) {
    CommonOptions options;
    options.settings = {{"KorvaConsoleTest", "yes"}};
    applyToHost(options);
    EXPECT_EQ(ReferenceHost::developerSettings().at("KorvaConsoleTest"), "yes");
}

TEST(CommonOptions, DiagnosticsFolderReachesTheHostAndIsMade) {
    const TestSupport::TemporaryFolder folder;
    CommonOptions options;
    options.log.level = "trace";
    options.diagnosticsFolder = folder.file("\xC3\xA9/deep");
    EXPECT_EQ(applyToHost(options), "");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), Platform::wideFromUtf8(options.diagnosticsFolder));
    EXPECT_TRUE(fs::is_directory(options.diagnosticsFolder));
}

TEST(CommonOptions, NameNoFolderOfDumpsWhereALoggingConfigurationDecidesWhetherThereAreAny) {
    CommonOptions options;
    options.log = {"trace", "any.properties"};
    EXPECT_EQ(applyToHost(options), "");
}

TEST(CommonOptions, FolderThatCannotBeMadeIsNamed) {
    CommonOptions options;
    options.diagnosticsFolder = "/dev/null/\x1B[2J";
    EXPECT_EQ(ConsoleTests::messageOf<std::runtime_error>([&] { applyToHost(options); }),
              "cannot make the diagnostics folder /dev/null/\\x1b[2J: Not a directory");
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
    const fs::path own = folder.file("\x1B[2J/korva-diagnostics");
    EXPECT_TRUE(fs::is_directory(own));

    fs::permissions(own, fs::perms::all);
    EXPECT_EQ(applyToHost(options), "warning: fetched picture files are not dumped: " + shown +
                                        " is open to others; try: --diagnostics DIR");
}
