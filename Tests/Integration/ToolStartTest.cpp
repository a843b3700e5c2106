// What the tool takes over from the place and the process that start it, and how it finds its plug-in.

#include "ToolRun.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace Integration;
using testing::_;

namespace {

namespace fs = std::filesystem;

/// Runs the tool with `folder` as its working folder, behind `more` arguments of env(1).
ProcessResult runToolIn(const TemporaryFolder& folder, const Names& arguments, const Names& more = {}) {
    return run(joined({"/usr/bin/env", "-C", folder.path()}, joined(more, toolCommand(arguments))));
}

Names simulateFor(const std::string& seconds) {
    return {"simulate", "--port", "0", "--text-port", "0", "--for", seconds};
}

/// The tool, installed with its plug-in in the folder `place`; nowhere if that is null.
struct InstalledTool {
    explicit InstalledTool(const char* place) {
        for (const char* part : {"bin", "lib"})
            fs::create_directory(folder.file(part));
        fs::copy(KORVA_TOOL, folder.file("bin/korva"));
        fs::copy(KORVA_HOST_LIBRARY, folder.file("bin"));
        if (place != nullptr)
            fs::copy(KORVA_PLUGIN, folder.file(place));
    }

    /// Of an address where nobody answers.
    ProcessResult identify() const { return run({folder.file("bin/korva"), "identify", "127.83.7.99"}); }

    const TemporaryFolder folder;
};

/// A library: `own`, or for a tool of another system the one that the variable names.
std::string ofTheToolsSystem(const char* variable, const char* own) {
    const char* const other = std::getenv(variable);
    return other == nullptr ? own : other;
}

} // namespace

TEST(PluginFile, ThatIsRefusedIsNamedWithTheReason) {
    const TemporaryFolder folder;
    const std::string text = folder.file("text.so");
    std::ofstream(text) << "This is no library.";
    for (const auto& [plugin, reason] :
         {std::pair<std::string, std::string>{"/no/such/plugin.so", "No such file"},
          {text, "cannot be loaded"},
          {ofTheToolsSystem("KORVA_TESTED_NO_PLUGIN", KORVA_NO_PLUGIN),
           "has no entry point pnx_initialize_device_plugin"},
          {ofTheToolsSystem("KORVA_TESTED_REFUSING_PLUGIN", KORVA_REFUSING_PLUGIN), "refuses version 1"}})
        EXPECT_THAT(runTool({"identify", "127.0.0.1", "--plugin", plugin}),
                    failed({plugin, reason, "; try: "}));
}

TEST(PluginFile, IsFoundBesideTheToolAndInTheLibrariesFolder) {
    for (const char* place : {"bin", "lib"})
        EXPECT_THAT(InstalledTool(place).identify(), failed({"korva: 127.83.7.99: ", "; try: "}));
    const InstalledTool tool(nullptr);
    EXPECT_THAT(tool.identify(), failed({tool.folder.file("bin"), tool.folder.file("lib"), "--plugin FILE"}));
}

TEST(ToolStart, RunsNoLibraryOfTheWorkingFolder) {
    const TemporaryFolder folder;
    const std::string sought = R"(readelf -dW "$@" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')";
    std::istringstream libraries(
        run({"/bin/sh", "-c", sought, "sh", KORVA_TOOL, KORVA_PLUGIN, KORVA_HOST_LIBRARY}).output);
    for (std::string library; std::getline(libraries, library);)
        fs::copy_file(KORVA_NO_PLUGIN, folder.file(library), fs::copy_options::skip_existing);
    ASSERT_GE(folder.names().size(), 4u);
    EXPECT_THAT(runToolIn(folder, {"--version"}), ended(0, _, ""));
    // Nobody is there; that it is asked shows that the plug-in has been loaded too.
    EXPECT_THAT(runToolIn(folder, {"identify", addressOfThisProcess()}),
                failed({"korva: " + addressOfThisProcess() + ": "}));
}

TEST(ToolStart, FollowsNoLoggingConfigurationOfTheWorkingFolder) {
    // Names that log4cxx looks for by itself, and one that the environment tells it.
    for (const std::string name :
         {"log4cxx.xml", "log4cxx.properties", "log4j.xml", "log4j.properties", "named.properties"}) {
        const TemporaryFolder folder;
        std::ofstream(folder.file(name)) << everyLineIntoAFile(name);
        Names environment;
        if (!name.starts_with("log4"))
            environment = {"LOG4CXX_CONFIGURATION=" + name, "log4j.configuration=" + name};
        EXPECT_EQ(runToolIn(folder, simulateFor("0"), environment).status, 0);
        for (const char* const command : {"identify", "describe", "health", "capture"})
            EXPECT_EQ(runToolIn(folder, {command, addressOfThisProcess()}, environment).status, 1) << command;
        // They ask all networks: in one of their own where this system grants it, else they are not run.
        for (const Names& command : {Names{"discover"}, Names{"capture", "--all"}})
            runToolIn(folder, command, joined(environment, {"unshare", "-rn"}));
        EXPECT_EQ(folder.names(), Names{name});
    }
}

TEST(ToolStart, KeepsItsLogOutOfTheConnectionWhereStandardErrorIsClosed) {
    const TemporaryFolder dumps;
    const SimulatedCamera camera;
    const Names capture = camera.captureArguments({"--log", "trace", "--diagnostics", dumps.path()});
    EXPECT_EQ(runToolBy(R"(exec "$0" "$@" 2>&-)", capture).status, 0);
    EXPECT_EQ(camera.picture().width, 120u);
}

TEST(ToolStart, SaysThatStandardOutputIsClosedFullOrReadByNobody) {
    const SimulatedCamera camera;
    const auto failure = ended(1, "",
                               "korva: standard output could not be written; try: free space, or another "
                               "place for the output\n");
    for (const Names& arguments : {Names{"--version"}, Names{"capture", "--help"},
                                   Names{"health", "--from", camera.description}, simulateFor("60")})
        EXPECT_THAT(runToolBy(R"(exec "$0" "$@" >&-)", arguments), failure) << arguments[0];
    EXPECT_THAT(runToolBy(R"(set -o pipefail; "$0" "$@" | true)", simulateFor("60")), failure);
    EXPECT_THAT(runToolBy(R"("$0" "$@" >/dev/full)", camera.captureArguments({"--json"})), failure);
    // It searches: in a network of its own where this system grants one, else not at all.
    const ProcessResult doctor =
        runToolBy(R"(unshare -rn true 2>/dev/null || exit 77; unshare -rn "$0" "$@" >/dev/full)",
                  {"doctor", "127.0.0.1"});
    if (doctor.status != 77) {
        EXPECT_THAT(doctor, failure);
    }
    // Standard error too: the status alone is left to say it.
    EXPECT_EQ(runToolBy(R"(exec "$0" "$@" <&- >&- 2>&-)", simulateFor("60")).status, 1);
}

TEST(ToolStart, SaysThatMemoryIsShort) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "An instrumented build maps far more than the tool uses.";
    const TemporaryFolder folder;
    // The header of an SGI file of 6,500 x 6,500 pixels, three channels: there is room for the tool, not for
    // 127 MB of samples.
    std::string header = {1, static_cast<char>(0xDA), 0, 2, 0, 3, 0x19, 0x64, 0x19, 0x64, 0, 3};
    header.resize(512, 0);
    std::ofstream(folder.file("large.sgi"), std::ios::binary) << header;
    const SimulatedCamera camera({"--scene", "file:" + folder.file("large.sgi")});
    EXPECT_THAT(runToolBy(R"(ulimit -v 200000; exec "$0" "$@")", camera.captureArguments()),
                failed({": this computer has not enough memory; try: end other programs, "}));
}

TEST(ToolStart, EchoesNoArgumentThatCouldSteerATerminal) {
    const std::string odd = "a\x1b[2J\nkorva: b";
    for (const Names& arguments :
         {Names{odd}, Names{"--" + odd}, Names{"--log", odd}, Names{"--log-config", odd},
          Names{"--setting", odd, "health"}, Names{"simulate", "--size", odd},
          Names{"simulate", "--scene", odd}, Names{"simulate", "--port", odd},
          Names{"simulate", "--address", odd}, Names{"simulate", "--for", "0", "--config", odd},
          Names{"simulate", "--for", "0", "--scene", "file:" + odd}, Names{"identify", odd, odd},
          Names{"capture", "--exposure", odd}, Names{"health", "--from", odd},
          Names{"identify", "127.0.0.1", "--plugin", odd}, Names{"identify", odd},
          Names{"capture", "127.0.0.1", "--output", "/no/" + odd}})
        EXPECT_THAT(runTool(arguments), ended(testing::Ne(0), _,
                                              AllOf(has({"a\\x1b[2J\\x0akorva: b"}), Not(has({"\x1b"})),
                                                    Not(has({"\nkorva: b"})))))
            << testing::PrintToString(arguments);
}

TEST(Tool, SaysEachMistakeOfACommandLineInItsOwnWords) {
    const auto of = [](const std::string& command) { return "; try: korva " + command + "--help"; };
    for (const auto& [line, complaint] : std::vector<std::pair<std::string, std::string>>{
             {"", "a command is missing" + of("")},
             {"frobnicate", "there is no command \"frobnicate\"" + of("")},
             {"discovr", "there is no command \"discovr\"; try: discover, or korva --help"},
             {"--wach", "there is no option \"--wach\"" + of("")},
             {"--watch health a", "\"--watch\" stands before its command; try: korva health --watch"},
             {"capture", "one of ADDRESS, --from and --all is missing" + of("capture ")},
             {"health a --all", "ADDRESS and --all do not go together" + of("health ")},
             {"identify", "ADDRESS is missing" + of("identify ")},
             {"describe a b", "\"b\" is one word too many" + of("describe ")},
             {"simulate a", "\"a\" is one word too many" + of("simulate ")},
             {"capture a --exposrue 1",
              "there is no option \"--exposrue\"; try: --exposure, or korva capture --help"},
             {"health --wach", "there is no option \"--wach\"; try: --watch, or korva health --help"},
             {"doctor --jsno=1", "there is no option \"--jsno=1\"; try: --json, or korva doctor --help"},
             {"doctor -x", "there is no option \"-x\"" + of("doctor ")},
             {"capture a --exposure", "--exposure: its value is missing: SECONDS|auto" + of("capture ")},
             {"capture a --count x", "--count: \"x\" is no whole number" + of("capture ")},
             {"capture a --count 0", "--count: \"0\" is not 1 to 9999" + of("capture ")},
             {"capture a --count 1 --count 2", "--count is given more than once" + of("capture ")},
             {"capture a --json=1", "--json takes no value" + of("capture ")},
             {"discover --timeout x", "--timeout: \"x\" is no number" + of("discover ")},
             {"discover --timeout nan", "--timeout: \"nan\" is not 0 to 86400" + of("discover ")},
             {"doctor --log loud",
              "--log: \"loud\" is none of off, error, warn, info, debug and trace" + of("doctor ")},
             {"doctor --log-config /no/file", "--log-config: there is no file \"/no/file\"" + of("doctor ")},
             {"doctor --setting x", "--setting: \"x\" is not of the form NAME=VALUE" + of("doctor ")},
             {"simulate --port 65536", "--port: \"65536\" is not 0 to 65535" + of("simulate ")},
             {"simulate --address 10.0.0.256",
              "--address: \"10.0.0.256\" is no IPv4 address" + of("simulate ")},
             {"simulate --only 10.0.0.1", "--only needs --config" + of("simulate ")},
             {"simulate --config s.json --model M61",
              "--model does not go with --config" + of("simulate ")}}) {
        Names arguments;
        std::istringstream stream(line);
        for (std::string word; stream >> word;)
            arguments.push_back(word);
        EXPECT_THAT(runTool(arguments), ended(2, "", "korva: " + complaint + "\n")) << line;
    }
    EXPECT_THAT(runTool({"identify", "10.0.0.7:80"}),
                ended(2, "", has({"korva: ADDRESS: ", "names a port", "; try: "})));
    EXPECT_THAT(runTool({"simulate", "--scene", "sunset"}), ended(2, "", has({"korva: --scene: "})));
    for (const char* const command : {"identify", "describe", "capture", "health"})
        EXPECT_THAT(runTool({command, "--json"}),
                    ended(2, AllOf(lines(1), has({R"({"error":{"code":"wrong-usage","text":")"})), _));
}

TEST(Tool, PrintsHelpAndVersionOnStandardOutput) {
    for (const Names& arguments :
         {Names{"--help"}, Names{"capture", "--help"}, Names{"simulate", "--help"}, Names{"--version"}})
        EXPECT_THAT(runTool(arguments), ended(0, testing::Ne(""), "")) << testing::PrintToString(arguments);
}
