// What the tool takes over from the place and the process that start it: nothing.

#include "ElfFile.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace Integration;

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

ToolResult resultOf(Names command, const Names& arguments) {
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildProcess process(command);
    const int status = process.wait();
    return {status, process.output(), process.errors()};
}

/// Runs the tool with `folder` as its working folder.
ToolResult runToolIn(const TemporaryFolder& folder, const Names& arguments) {
    return resultOf({"/usr/bin/env", "-C", folder.path().string()}, toolCommand(arguments));
}

} // namespace

TEST(ToolStart, RunsNoLibraryOfTheWorkingFolder) {
    const TemporaryFolder folder;
    for (const char* const file : {KORVA_TOOL, KORVA_PLUGIN, KORVA_HOST_LIBRARY})
        for (const std::string& library : Structure::readElf(file).needed)
            fs::copy_file(KORVA_NO_PLUGIN, folder.file(library), fs::copy_options::skip_existing);
    ASSERT_GE(folder.names().size(), 4u);
    const ToolResult version = runToolIn(folder, {"--version"});
    EXPECT_EQ(version.status, 0) << version.errors;
    EXPECT_EQ(version.errors, "");
    // Nobody is there; that it is asked shows that the plug-in has been loaded too.
    const ToolResult identify = runToolIn(folder, {"identify", addressOfThisProcess()});
    EXPECT_NE(identify.errors.find("no camera identified at"), std::string::npos) << identify.errors;
}
