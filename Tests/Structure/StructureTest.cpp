// The rules that hold between the rooms, read from the sources themselves.

#include "Sources.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace Structure;
using Lines = std::vector<std::string>;

/// A room is named by its folder; an include belongs to the room whose include directory holds it.
const std::map<std::string, std::string> roomOfInclude = {
    {"Communicator", "HostFramework"},  {"Device", "HostFramework"},
    {"DeviceControl", "HostFramework"}, {"NativeCameraControl", "HostFramework"},
    {"DeveloperDLL", "HostFramework"},  {"ImagingLibrary", "HostFramework"},
    {"VantrelCommon", "HostFramework"}, {"Platform", "Platform"},
    {"ReferenceHost", "ReferenceHost"}, {"Camera", "Simulator/Camera"},
    {"Network", "Simulator/Network"},   {"Diagnosis", "Diagnosis"},
    {"Look", "Diagnosis/Look"},         {"CommandLine", "Console"},
};

/// The plug-in's rooms, whose headers are all included as "NativeCameraKorva/...".
const std::string plugin = "BackEnd/NativeCameraKorva/";
const std::string base = plugin + "Base";
const std::string wire = plugin + "Wire";
const std::string picture = plugin + "Picture";
const std::string camera = plugin + "Camera";
const std::string device = plugin + "Device";

const std::map<std::string, std::set<std::string>> mayInclude = {
    {base, {}},
    {wire, {base, "HostFramework", "Platform"}},
    {picture, {base, "HostFramework", "Platform"}},
    {camera, {base, wire, picture, "HostFramework", "Platform"}},
    {device, {base, wire, camera, "HostFramework", "Platform"}},
    {"HostFramework", {}},
    {"Platform", {}},
    {"ReferenceHost", {"HostFramework", "Platform"}},
    {"Simulator/Camera", {}},
    {"Simulator/Network", {"Simulator/Camera", "Platform"}},
    {"Diagnosis", {}},
    {"Diagnosis/Look", {"Diagnosis", "Platform"}},
    {"Console",
     {"HostFramework", "ReferenceHost", "Simulator/Camera", "Simulator/Network", "Diagnosis",
      "Diagnosis/Look", "Platform"}},
};

const std::set<std::string> libraries = {"CLI", "hwy", "log4cxx", "nlohmann", "png.h", "xercesc", "zlib.h"};

const std::set<std::string> systemRooms = {"Platform", "Simulator/Network"};

const std::set<std::string> threadHeaders = {"condition_variable", "future",     "mutex", "semaphore",
                                             "shared_mutex",       "stop_token", "thread"};

std::string firstPart(const std::string& path) {
    return path.substr(0, path.find('/'));
}

/// Empty if no room has it.
std::string roomHolding(const std::string& include) {
    if (include == "NativeCameraKorva/KorvaExport.h") // made by the build
        return base;
    for (const std::string& room : {base, wire, picture, camera, device})
        if (fs::exists(root / room / "include" / include))
            return room;
    const auto found = roomOfInclude.find(firstPart(include));
    return found == roomOfInclude.end() ? std::string() : found->second;
}

std::string checkQuoted(const std::string& room, const std::string& include) {
    if (include.find("..") != std::string::npos)
        return "reaches out of its folder: " + include;
    if (include.find('/') == std::string::npos || libraries.contains(firstPart(include)))
        return {};
    const std::string holding = roomHolding(include);
    if (holding.empty())
        return "includes from an unknown room: " + include;
    if (holding != room && !mayInclude.at(room).contains(holding))
        return room + " may not include " + include;
    return {};
}

std::string checkAngled(const std::string& room, const std::string& include) {
    const bool standard = include.find_first_of("./") == std::string::npos;
    if (!standard && !libraries.contains(firstPart(include)) && !systemRooms.contains(room))
        return "only Platform/ includes system headers, here " + include;
    if (room.starts_with(plugin) && threadHeaders.contains(include))
        return "the plug-in starts no threads and owns no locks, here " + include;
    return {};
}

/// What the lines of one source of `room` do that the room must not.
Lines violations(const std::string& room, const Lines& lines) {
    static const std::regex quoted(R"re(^\s*#\s*include\s*"([^"]+)")re");
    static const std::regex angled(R"re(^\s*#\s*include\s*<([^>]+)>)re");
    static const std::regex systemTest(
        R"(^\s*#\s*(if|ifdef|ifndef|elif)\b.*(_WIN32|_WIN64|WIN32|_MSC_VER|__MINGW|__linux|__unix|unix\b|__APPLE__|_POSIX|__CYGWIN__))");
    Lines found;
    std::smatch match;
    for (const std::string& line : lines) {
        std::string violation;
        if (std::regex_search(line, match, quoted))
            violation = checkQuoted(room, match[1]);
        else if (std::regex_search(line, match, angled))
            violation = checkAngled(room, match[1]);
        else if (room != "Platform" && std::regex_search(line, systemTest))
            violation = "only Platform/ tests for the system: " + line;
        if (!violation.empty())
            found.push_back(violation);
    }
    return found;
}

std::vector<fs::path> sourcesBelow(const fs::path& folder) {
    return filesBelow(folder, {".h", ".cpp"});
}

/// What lies below a room's folder and in no room within it.
std::vector<fs::path> sourcesOf(const std::string& room) {
    std::vector<fs::path> sources = sourcesBelow(root / room);
    for (const auto& [inner, allowed] : mayInclude)
        if (inner.starts_with(room + "/"))
            std::erase_if(sources, [folder = (root / inner).string() + "/"](const fs::path& source) {
                return source.string().starts_with(folder);
            });
    return sources;
}

TEST(Structure, RoomsIncludeOnlyWhatTheirArrowsAllowAndEachHeaderOnce) {
    for (const auto& [room, allowed] : mayInclude) {
        const auto sources = sourcesOf(room);
        EXPECT_FALSE(sources.empty()) << room;
        for (const fs::path& source : sources) {
            const Lines lines = linesOf(contentOf(source));
            // The one place that knows the compilers' tables of virtual functions apart.
            const bool isOverloadOrder = source == root / "HostFramework/DeviceControl/OverloadOrder.h";
            const Lines asked(isOverloadOrder ? 1 : 0,
                              "only Platform/ tests for the system: #if defined(_MSC_VER)");
            EXPECT_EQ(violations(room, lines), asked) << source;
            EXPECT_EQ(std::count(lines.begin(), lines.end(), "#pragma once"), source.extension() == ".h")
                << source;
        }
    }
}

TEST(Structure, NoTwoFilesOfThePlugInHaveOneName) {
    std::set<std::string> names;
    for (const fs::path& source : sourcesBelow(root / plugin))
        EXPECT_TRUE(names.insert(source.filename().string()).second) << source;
    EXPECT_GT(names.size(), 40u);
}

/// Whether a line of a script has a text read as commands by the shell, or by Python, a second time.
bool evaluatesText(const std::string& line) {
    static const std::regex evaluation(R"(^[^#]*\beval\b)");
    return std::regex_search(line, evaluation);
}

TEST(Structure, ScriptsEvaluateNoText) {
    int lines = 0;
    for (const char* const folder : {"scripts", "Lab", ".ci"})
        for (const auto& entry : fs::recursive_directory_iterator(root / folder))
            for (const std::string& line :
                 entry.is_regular_file() ? linesOf(contentOf(entry.path())) : Lines{}) {
                ++lines;
                EXPECT_FALSE(evaluatesText(line)) << entry.path() << ": " << line;
            }
    EXPECT_GT(lines, 500);
}

/// What declares functions that only a world of the tests may define.
std::set<std::string> callsOfThePlatform() {
    static const std::regex declaration(R"(^(?!inline|constexpr)[A-Za-z_][\w:*& ]*?(\w+)\(.*)");
    std::set<std::string> names;
    std::smatch match;
    for (const fs::path& header : sourcesBelow(root / "Platform/include"))
        for (const std::string& line : linesOf(contentOf(header)))
            if (std::regex_match(line, match, declaration))
                names.insert(match[1]);
    return names;
}

/// Whether a line begins a class of communicators, or the definition of one of the platform's `calls`.
bool beginsAWorld(const std::string& line, const std::set<std::string>& calls) {
    static const std::regex communicator(
        R"(\b(class|struct)\b.*[:,] *(public |virtual )*(Posix)?(Ethernet)?Communicator\b)");
    static const std::regex definition(
        R"(^[A-Za-z_][\w:*& ]* [*&]?((Platform::)?TcpSocket::\w+|Platform::Clock::now|(Platform::)?(Winsock::)?(\w+))\(.*[^;])");
    std::smatch match;
    if (std::regex_search(line, communicator))
        return true;
    return std::regex_match(line, match, definition) && (!match[5].matched || calls.contains(match[5]));
}

/// Who plays a part of the world, and why there.
const std::map<std::string, std::string> furtherWorlds = {
    {"Fuzz/SpanCommunicator.h", "speed: it reads from the fuzzer's memory"},
    {"Tests/Integration/ServedCamera.h", "real sockets, with shorter time-outs than the plug-in asks for"},
    {"Tests/NativeCameraKorva/KorvaAdapterListTest.cpp", "lists of adapters that no network has"},
    {"Tests/NativeCameraKorva/OtherEthernet.h", "a connection that is not the host's TCP client"},
    {"Tests/ReferenceHost/FakeCamera.h", "the host: of any camera and its communicator"},
    {"Tests/Structure/StructureTest.cpp", "the examples below"},
    {"Tests/Support/ScriptedCommunicator.h", "what the plug-in asks of a communicator, argument by argument"},
};

TEST(Structure, TestsHaveOneWorld) {
    const std::set<std::string> calls = callsOfThePlatform();
    EXPECT_GT(calls.size(), 30u);
    std::set<std::string> found;
    for (const char* const folder : {"Tests", "Fuzz", "Benchmarks"})
        for (const fs::path& source : sourcesBelow(root / folder))
            for (const std::string& line : linesOf(contentOf(source)))
                if (beginsAWorld(line, calls))
                    found.insert(fs::relative(source, root).string());
    const auto isOfTheWorld = [](const std::string& file) { return file.starts_with("Tests/World/"); };
    EXPECT_EQ(std::erase_if(found, isOfTheWorld), 5u) << "its network, sight, system, sockets and receiving";
    for (const auto& [file, reason] : furtherWorlds)
        EXPECT_EQ(found.erase(file), 1u) << file << " is none any more";
    for (const std::string& file : found)
        ADD_FAILURE() << file << " plays what Tests/World plays";
}

/// Whether a line of the tool's makes a verdict, or gives one a code, words or a remedy of its own, or joins
/// words and a remedy: Diagnosis does all that.
bool wordsAFailure(const std::string& line) {
    static const std::regex verdict(R"(\bVerdict(\{| \w*[a-z](;|\{| = \{))|verdict\.emplace\()");
    static const std::regex words(R"((\.|->)(code|text|remedy) \+?= )");
    static const std::regex given(R"(\.(reason|failure|cut) \+?= (std::string\()?")");
    static const std::regex joint(R"(; try: )");
    for (const std::regex& each : {verdict, words, given, joint})
        if (std::regex_search(line, each))
            return true;
    return false;
}

/// What is wrong with a command line is worded where that is read.
bool readsTheCommandLine(const fs::path& source) {
    const std::string name = source.stem().string();
    return name.ends_with("Options") || name == "CommandLine" || name == "main";
}

/// Who writes to standard error; the others hand verdicts on.
const std::set<std::string> writers = {"CommandRun", "DiscoverCommand", "LibraryLines", "ProgressBar"};

TEST(Structure, TheToolWordsNoFailureItself) {
    std::size_t sources = 0;
    for (const fs::path& source : sourcesBelow(root / "Console"))
        for (const std::string& line : linesOf(contentOf(source))) {
            const bool isComment = line.find_first_not_of(' ') == line.find("//");
            if (isComment || line.empty())
                continue;
            ++sources;
            EXPECT_FALSE(wordsAFailure(line) && !readsTheCommandLine(source)) << source << ": " << line;
            const bool isWritten = line.find("printf(") != std::string::npos &&
                                   line.find("snprintf(") == std::string::npos &&
                                   line.find("std::printf(") == std::string::npos;
            EXPECT_TRUE(!isWritten || writers.contains(source.stem().string())) << source << ": " << line;
        }
    EXPECT_GT(sources, 5000u);
}

TEST(StructureRules, FindAFailureThatTheToolWords) {
    for (const char* const line :
         {"    Diagnosis::Verdict verdict;", "    const Verdict odd{\"odd\"};", "    return Verdict{};",
          "    Verdict made = {\"odd\", ...};", "    row.verdict.emplace();", "    verdict.code = \"odd\";",
          "    verdict->text += \", too\";", "    verdict.remedy = again;",
          "    attempt.reason = \"no luck\";", "    search_.failure = \"no search\";",
          "    warn(\"no luck; try: again\");"})
        EXPECT_TRUE(wordsAFailure(line)) << line;
    for (const char* const line :
         {"    Diagnosis::Verdict verdict = *failure;", "    verdict.room.clear();",
          "    verdict.address = address;", "    attempt.reason = reasonFrom(error);",
          "    object[\"text\"] = verdict.text;", "    if (verdict.code == \"absent\")",
          "std::optional<Diagnosis::Verdict> verdict;", "    for (const Verdict& cause : causes)"})
        EXPECT_FALSE(wordsAFailure(line)) << line;
}

TEST(StructureRules, FindASecondWorld) {
    const std::set<std::string> calls = callsOfThePlatform();
    for (const char* const line :
         {"class Line final : public Communicator {", "struct Other : EthernetCommunicator {",
          "class Slow : public PosixEthernetCommunicator {", "void Sleep(DWORD milliseconds) {",
          "std::FILE* Platform::fopen(const char* path, const char* mode) {",
          "SOCKET socket(int family, int type, int protocol) {", "char* _ctime64(const __time64_t* when) {",
          "SocketResult TcpSocket::send(const void* data, std::size_t count,",
          "Platform::Clock::time_point Platform::Clock::now() noexcept {"})
        EXPECT_TRUE(beginsAWorld(line, calls)) << line;
    for (const char* const line : {"    Sleep(10);", "void Sleep(DWORD milliseconds);", "class Communicator;",
                                   "struct Camera : Scene {", "SOCKET socketOf(int family) {",
                                   "void use(Communicator& communicator) {"})
        EXPECT_FALSE(beginsAWorld(line, calls)) << line;
}

TEST(StructureRules, FindAnEvaluationInAScript) {
    for (const char* line : {"  eval \"$line\" &", "ready && eval x", "    return eval(text)"})
        EXPECT_TRUE(evaluatesText(line)) << line;
    for (const char* line : {"# no eval here", "retrieval evaluate"})
        EXPECT_FALSE(evaluatesText(line)) << line;
}

TEST(StructureRules, FindAnIncludeAgainstTheArrows) {
    for (const auto& [room, header] : {
             std::pair<std::string, std::string>("HostFramework", "NativeCameraKorva/KorvaHelper.h"),
             {"Simulator/Camera", "Network/CameraServer.h"},
             {"Simulator/Network", "NativeCameraKorva/KorvaMessage.h"},
             {"Console", "NativeCameraKorva/KorvaHelper.h"},
             {device, "ReferenceHost/HostControl.h"},
             {device, "../../Platform/posix/Kernel.h"},
             {device, "NativeCameraKorva/KorvaNowhere.h"},
             {camera, "NativeCameraKorva/KorvaCamera.h"},
             {wire, "NativeCameraKorva/KorvaHelper.h"},
             {wire, "NativeCameraKorva/KorvaSampleKernels.h"},
             {picture, "NativeCameraKorva/KorvaMessage.h"},
             {base, "NativeCameraKorva/KorvaMessage.h"},
         })
        EXPECT_EQ(violations(room, {"  #  include \"" + header + "\""}).size(), 1u) << room << header;
}

TEST(StructureRules, FindWhatOnlyThePlatformMayDoAndThreadsAndLocksInThePlugIn) {
    for (const char* line : {"#include <windows.h>", "#include <unistd.h>", "#include <sys/socket.h>",
                             "#include <time.h>", "#ifdef _WIN32", "#if defined(__linux__)"})
        for (const std::string& room : {base, picture, std::string("ReferenceHost"), std::string("Console")})
            EXPECT_EQ(violations(room, {line}).size(), 1u) << line;
    EXPECT_EQ(violations(camera, {"#include <thread>", "#include <mutex>"}).size(), 2u);
}

} // namespace
