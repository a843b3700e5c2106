#include "VantrelCommon/PlenarDiagnostics.h"

#include "ReferenceHost/HostControl.h"
#include "Support/Environment.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

/// A user whose state lies in a folder of the test's own.
struct ImagesFolder : testing::Test {
    TestSupport::TemporaryFolder folder;
    TestSupport::Variable state{"XDG_STATE_HOME", folder.path().string()};
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
