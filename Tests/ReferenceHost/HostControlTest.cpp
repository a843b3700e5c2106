// What a plug-in asks of its host: settings, and a folder for its pictures.

#include "ReferenceHost/HostControl.h"
#include "DeveloperDLL/DeveloperSettings.h"
#include "Support/Environment.h"
#include "Support/TemporaryFolder.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace fs = std::filesystem;
using namespace DeveloperSettings;
using ReferenceHost::developerSettings;
using ReferenceHost::setDeveloperSetting;

TEST(DeveloperSettings, AreCreatedByTheirConstructionWithTheDefaultsOfTheirKindsUnlessSetBefore) {
    EXPECT_EQ(developerSettings().count("created boolean"), 0u);
    EXPECT_FALSE(Boolean("created boolean").value());
    EXPECT_EQ(String("created text").value(), "");
    EXPECT_EQ(WString("created wide text").value(), L"");
    EXPECT_EQ(developerSettings().at("created boolean"), "false");
    EXPECT_EQ(developerSettings().at("created text"), "");
    setDeveloperSetting("set early", "true");
    EXPECT_TRUE(Boolean("set early").value());
}

TEST(DeveloperSettings, ReadTheStoreAtEveryCallTextsInUtf8AndTrueForTrueAndOneOnly) {
    const Boolean boolean("spelled");
    for (const auto& [text, value] :
         {std::pair("true", true), std::pair("", false), std::pair("1", true), std::pair("0", false),
          std::pair("false", false), std::pair("True", false), std::pair("yes", false),
          std::pair("true ", false), std::pair("11", false)}) {
        setDeveloperSetting("spelled", text);
        EXPECT_EQ(boolean.value(), value) << text;
    }
    setDeveloperSetting("text", "Bilder \xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(String("text").value(), "Bilder \xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(WString("text").value(), L"Bilder \u00E4\U0001F600");
}

/// A user whose state lies in a folder of the test's own.
struct ImagesFolder : testing::Test {
    TestSupport::TemporaryFolder folder;
    TestSupport::Variable state{TestSupport::stateVariable, folder.path().string()};
    fs::path own = folder.path() / "korva-diagnostics";
};

TEST_F(ImagesFolder, OfTheHostIsMadeForTheUserAloneWheneverItIsAskedFor) {
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), own.wstring());
        EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
        fs::remove(own);
    }
    EXPECT_EQ(ReferenceHost::makeOwnImagesFolder().name, own.string());
    EXPECT_EQ(ReferenceHost::makeOwnImagesFolder().complaint, "");
}

TEST_F(ImagesFolder, OfTheHostIsNoneWhereItIsNotTheUsersAlone) {
    fs::create_directory_symlink(".", own);
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), L"/dev/null");
    EXPECT_EQ(ReferenceHost::makeOwnImagesFolder().name, own.string());
    EXPECT_EQ(ReferenceHost::makeOwnImagesFolder().complaint, "is a symbolic link");
}

TEST_F(ImagesFolder, ThatWasNamedIsNeitherMadeNorChecked) {
    ReferenceHost::setImagesSubDirectory(L"/pictures \u00E4\U0001F600");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), L"/pictures \u00E4\U0001F600");
    EXPECT_TRUE(folder.names().empty());
    ReferenceHost::setImagesSubDirectory(L"");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), own.wstring());
}
