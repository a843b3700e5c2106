// How the tool finds and judges its plug-in. Nothing of this reaches a network.

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

using namespace Integration;

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// The refusal of a plug-in: status 1, one line that gives the reason and says what to try.
void expectRefusal(const std::string& plugin, const std::string& reason) {
    const ToolResult result = runTool({"identify", "127.0.0.1", "--plugin", plugin});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
    EXPECT_TRUE(contains(result.errors, plugin)) << result.errors;
    EXPECT_TRUE(contains(result.errors, reason)) << result.errors;
    EXPECT_TRUE(contains(result.errors, "; try: ")) << result.errors;
}

} // namespace

TEST(PluginFile, MissingFileIsNamed) {
    expectRefusal("/no/such/plugin.so", "No such file");
}

TEST(PluginFile, FileThatIsNoLibraryIsToldApart) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("text.so")) << "This is no library.";
    expectRefusal(folder.file("text.so"), "cannot be loaded");
}

TEST(PluginFile, LibraryWithoutTheEntryPointIsToldApart) {
    expectRefusal(KORVA_NO_PLUGIN, "has no entry point pnx_initialize_device_plugin");
}

TEST(PluginFile, RefusedVersionIsToldApart) {
    expectRefusal(KORVA_REFUSING_PLUGIN, "refuses version 1");
}

namespace {

/// The tool installed without its plug-in.
struct InstalledTool {
    InstalledTool() {
        for (const char* part : {"bin", "lib"})
            std::filesystem::create_directory(folder.file(part));
        std::filesystem::copy(KORVA_TOOL, folder.file("bin/korva"));
        std::filesystem::copy(KORVA_HOST_LIBRARY, folder.file("bin"));
    }

    /// Of an address where nobody answers.
    std::string errorsOfIdentify() const {
        ChildProcess tool({folder.file("bin/korva"), "identify", "127.83.7.99"});
        EXPECT_EQ(tool.wait(), 1);
        return tool.errors();
    }

    const TemporaryFolder folder;
};

} // namespace

TEST(PluginFile, MissingDefaultSaysWhereItWasSought) {
    const InstalledTool tool;
    const std::string errors = tool.errorsOfIdentify();
    EXPECT_TRUE(contains(errors, tool.folder.file("bin"))) << errors;
    EXPECT_TRUE(contains(errors, tool.folder.file("lib"))) << errors;
    EXPECT_TRUE(contains(errors, "--plugin FILE")) << errors;
}

TEST(PluginFile, IsFoundBesideTheToolAndInTheLibrariesFolder) {
    for (const char* place : {"bin", "lib"}) {
        const InstalledTool tool;
        std::filesystem::copy(KORVA_PLUGIN, tool.folder.file(place));
        const std::string errors = tool.errorsOfIdentify();
        EXPECT_TRUE(contains(errors, "no camera identified at 127.83.7.99:32768")) << errors;
    }
}
