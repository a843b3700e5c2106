// How the tool finds and judges its plug-in. Nothing of this reaches a network.

#include "ToolRun.h"

#include <filesystem>
#include <fstream>
#include <string>

using namespace Integration;

TEST(PluginFile, ThatIsRefusedIsNamedWithTheReason) {
    const TemporaryFolder folder;
    const std::string text = folder.file("text.so");
    std::ofstream(text) << "This is no library.";
    for (const auto& [plugin, reason] :
         {std::pair<std::string, std::string>{"/no/such/plugin.so", "No such file"},
          {text, "cannot be loaded"},
          {KORVA_NO_PLUGIN, "has no entry point pnx_initialize_device_plugin"},
          {KORVA_REFUSING_PLUGIN, "refuses version 1"}})
        EXPECT_THAT(runTool({"identify", "127.0.0.1", "--plugin", plugin}),
                    failed({plugin, reason, "; try: "}));
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
    ProcessResult identify() const { return run({folder.file("bin/korva"), "identify", "127.83.7.99"}); }

    const TemporaryFolder folder;
};

} // namespace

TEST(PluginFile, MissingDefaultSaysWhereItWasSought) {
    const InstalledTool tool;
    EXPECT_THAT(tool.identify(), failed({tool.folder.file("bin"), tool.folder.file("lib"), "--plugin FILE"}));
}

TEST(PluginFile, IsFoundBesideTheToolAndInTheLibrariesFolder) {
    for (const char* place : {"bin", "lib"}) {
        const InstalledTool tool;
        std::filesystem::copy(KORVA_PLUGIN, tool.folder.file(place));
        EXPECT_THAT(tool.identify(), failed({"no camera identified at 127.83.7.99:32768"}));
    }
}
