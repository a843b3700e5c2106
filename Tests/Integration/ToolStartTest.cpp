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

/// Runs the tool by a shell, in whose script it is "$0" "$@".
ToolResult runToolBy(const std::string& script, const Names& arguments) {
    return resultOf({"/bin/bash", "-c", script}, toolCommand(arguments));
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

TEST(ToolStart, KeepsItsLogOutOfTheConnectionWhereStandardErrorIsClosed) {
    const TemporaryFolder folder;
    const SimulatedCamera camera;
    const ToolResult result =
        runToolBy(R"(exec "$0" "$@" 2>&-)",
                  camera.captureArguments({"--log", "trace", "--diagnostics", folder.file("dumps"),
                                           "--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).width, 120u);
}

TEST(ToolStart, SaysThatStandardOutputIsClosed) {
    const SimulatedCamera camera;
    const Names simulate = {"simulate", "--port", "0", "--text-port", "0", "--for", "60"};
    for (const Names& arguments : {Names{"--version"}, Names{"capture", "--help"},
                                   Names{"health", "--from", camera.description()}, simulate}) {
        const ToolResult result = runToolBy(R"(exec "$0" "$@" >&-)", arguments);
        EXPECT_EQ(result.status, 1) << arguments[0];
        EXPECT_EQ(result.errors, "korva: standard output could not be written\n") << arguments[0];
    }
    // Standard error too: the status alone is left to say it.
    EXPECT_EQ(runToolBy(R"(exec "$0" "$@" <&- >&- 2>&-)", simulate).status, 1);
}

TEST(ToolStart, EndsASimulationThatNobodyReadsInOrder) {
    const ToolResult result = runToolBy(R"(set -o pipefail; "$0" "$@" | true)",
                                        {"simulate", "--port", "0", "--text-port", "0", "--for", "60"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "korva: standard output could not be written\n");
}

TEST(ToolStart, SaysThatMemoryIsShort) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "An instrumented build maps far more than the tool uses.";
    const TemporaryFolder folder;
    // The header of an SGI file of 6,500 x 6,500 pixels, three channels of 16 bits: there is room for the
    // tool, not for those 254 MB.
    std::string header = {1, static_cast<char>(0xDA), 0, 2, 0, 3, 0x19, 0x64, 0x19, 0x64, 0, 3};
    header.resize(512, 0);
    std::ofstream(folder.file("large.sgi"), std::ios::binary) << header;
    const SimulatedCamera camera({"--size", "120x80", "--scene", "file:" + folder.file("large.sgi")});
    const ToolResult result = runToolBy(R"(ulimit -v 300000; exec "$0" "$@")",
                                        camera.captureArguments({"--output", folder.file("a.png")}));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(": not enough memory; "), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("; try: end other programs, "), std::string::npos) << result.errors;
}

TEST(ToolStart, EchoesNoArgumentThatCouldSteerATerminal) {
    const std::string odd = "a\x1b[2J\nkorva: b";
    const std::string shown = "a\\x1b[2J\\x0akorva: b";
    for (const Names& arguments :
         {Names{odd}, Names{"--" + odd}, Names{"--log", odd}, Names{"--log-config", odd},
          Names{"--setting", odd, "health"}, Names{"simulate", "--size", odd},
          Names{"simulate", "--scene", odd}, Names{"simulate", "--port", odd},
          Names{"simulate", "--address", odd}, Names{"simulate", "--for", "0", "--config", odd},
          Names{"simulate", "--for", "0", "--scene", "file:" + odd}, Names{"identify", odd, odd},
          Names{"capture", "--exposure", odd}, Names{"health", "--from", odd},
          Names{"identify", "127.0.0.1", "--plugin", odd}, Names{"identify", odd},
          Names{"capture", "127.0.0.1", "--output", "/no/" + odd}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_NE(result.status, 0);
        EXPECT_NE(result.errors.find(shown), std::string::npos)
            << testing::PrintToString(arguments) << result.errors;
        EXPECT_EQ(result.errors.find('\x1b'), std::string::npos) << result.errors;
        EXPECT_EQ(result.errors.find("\nkorva: b"), std::string::npos) << result.errors;
    }
}
