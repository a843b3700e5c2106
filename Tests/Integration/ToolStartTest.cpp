// What the tool takes over from the place and the process that start it: nothing.

#include "ElfFile.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
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

/// Runs the tool with `folder` as its working folder, behind `more` arguments of env(1).
ToolResult runToolIn(const TemporaryFolder& folder, const Names& arguments, const Names& more = {}) {
    Names command = {"/usr/bin/env", "-C", folder.path().string()};
    command.insert(command.end(), more.begin(), more.end());
    return resultOf(command, toolCommand(arguments));
}

/// A configuration by which every line of the log, and none, makes a file in the working folder.
std::string configurationOf(const std::string& file) {
    if (file.ends_with(".xml"))
        return R"(<log4j:configuration xmlns:log4j="http://jakarta.apache.org/log4j/">
            <appender name="F" class="org.apache.log4j.FileAppender"><param name="File" value="victim"/>
            <layout class="org.apache.log4j.SimpleLayout"/></appender>
            <root><level value="TRACE"/><appender-ref ref="F"/></root></log4j:configuration>)";
    return "log4j.rootLogger=TRACE, F\nlog4j.appender.F=org.apache.log4j.FileAppender\n"
           "log4j.appender.F.File=victim\nlog4j.appender.F.layout=org.apache.log4j.SimpleLayout\n";
}

/// Of a name that log4cxx looks for by itself, or that the environment tells it.
class ALoggingConfiguration : public testing::TestWithParam<const char*> {};

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

TEST_P(ALoggingConfiguration, OfTheWorkingFolderIsNotFollowed) {
    const TemporaryFolder folder;
    const std::string name = GetParam();
    std::ofstream(folder.file(name)) << configurationOf(name);
    Names environment;
    if (!name.starts_with("log4"))
        environment = {"LOG4CXX_CONFIGURATION=" + name, "log4j.configuration=" + name};
    Names alone = environment;
    alone.insert(alone.end(), {"unshare", "-rn"});
    const std::string nobody = addressOfThisProcess();
    EXPECT_EQ(
        runToolIn(folder, {"simulate", "--port", "0", "--text-port", "0", "--for", "0"}, environment).status,
        0);
    for (const char* const command : {"identify", "describe", "health", "capture"})
        EXPECT_EQ(runToolIn(folder, {command, nobody}, environment).status, 1) << command;
    // They ask all networks: in one of their own where this system grants it, else they are not run.
    runToolIn(folder, {"discover"}, alone);
    runToolIn(folder, {"capture", "--all"}, alone);
    EXPECT_EQ(folder.names(), Names{name});
}

INSTANTIATE_TEST_SUITE_P(ToolStart, ALoggingConfiguration,
                         testing::Values("log4cxx.xml", "log4cxx.properties", "log4j.xml", "log4j.properties",
                                         "named.properties"),
                         [](const auto& file) {
                             std::string name = file.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });
