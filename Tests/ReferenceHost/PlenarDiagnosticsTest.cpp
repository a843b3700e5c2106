#include "VantrelCommon/PlenarDiagnostics.h"

#include "ReferenceHost/HostControl.h"

#include <filesystem>
#include <gtest/gtest.h>

TEST(PlenarDiagnostics, NamesTheFolderForPictures) {
    const std::wstring unset = PlenarDiagnostics::getImagesSubDirectory();
    EXPECT_EQ(unset, (std::filesystem::temp_directory_path() / "korva-diagnostics").wstring());

    ReferenceHost::setImagesSubDirectory(L"/pictures \u00E4\U0001F600");
    EXPECT_EQ(PlenarDiagnostics::getImagesSubDirectory(), L"/pictures \u00E4\U0001F600");
    ReferenceHost::setImagesSubDirectory(unset);
}
