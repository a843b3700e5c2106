// What the platform's operations do on Windows. Their twins' tests are in Tests/Platform; what says the same
// on both systems runs from there. scripts/test-windows gives the adapter korva0 its address.

#include "Platform/ArpProbe.h"
#include "Platform/CRuntime.h"
#include "Platform/DynamicLibrary.h"
#include "Platform/ErrorText.h"
#include "Platform/FileNames.h"
#include "Platform/IpHelper.h"
#include "Platform/NetworkView.h"
#include "Platform/Path.h"
#include "Platform/PortQuestions.h"
#include "Platform/PrivateFolder.h"
#include "Platform/Program.h"
#include "Platform/QuerySocket.h"
#include "Platform/StandardError.h"
#include "Platform/TcpSocket.h"
#include "Platform/Terminal.h"
#include "Platform/Text.h"
#include "Platform/WholeFile.h"
#include "Support/Environment.h"
#include "Support/LoopbackPeer.h"
#include "Support/PictureFiles.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

using namespace std::chrono_literals;
using namespace std::string_literals;
using Platform::Clock;
using Platform::SocketStatus;
using Platform::Way;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using TestSupport::DatagramPeer;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;

namespace {

namespace fs = std::filesystem;

/// Outside ASCII, and outside the basic plane.
const std::string strangeName = "\xC3\xA4\xF0\x9F\x98\x80";
const std::uint32_t loopback = inet_addr("127.0.0.1");
const std::uint32_t own = inet_addr("10.9.0.1");
const std::uint32_t everybody = inet_addr("10.9.0.255");
const std::uint32_t nobody = inet_addr("10.9.0.2");
const std::uint32_t neverAsked =
    inet_addr("10.9.0.3"); // so that the system does not know yet that nobody is there
const std::uint32_t elsewhere = inet_addr("192.0.2.1");

struct Files : testing::Test {
    TestSupport::TemporaryFolder folder;
    const std::string file = folder.file("") + strangeName + ".bin";
    const std::vector<unsigned char> bytes{1, 2, '\n', '\r', 26, 255};

    std::vector<unsigned char> content() const { return Support::readFile(Platform::wideFromUtf8(file)); }
    std::ptrdiff_t count() const {
        return std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
    }
};

/// Why a connection there comes to nothing.
std::string failureOf(const std::string& host, int port, std::chrono::milliseconds timeout = 5s) {
    Platform::TcpSocket socket;
    const auto result = socket.open(host, static_cast<std::uint16_t>(port), timeout);
    return (result.status == SocketStatus::timedOut ? "timed out: " : "") + result.reason;
}

int freePort() {
    return DatagramPeer().port(); // free of connections, too
}

} // namespace

// The first test: none has started Winsock yet.
TEST(Connection, ThatWasNeverOpenSaysSo) {
    Platform::TcpSocket none;
    char received = 0;
    EXPECT_EQ(none.send("x", 1, 1s).reason, "Bad file descriptor");
    EXPECT_EQ(none.receive(&received, 1, Clock::now()).reason, "Bad file descriptor");
}

TEST(Time, IsTextOfFixedLayoutFrom1970ToTheYear3000) {
    const TestSupport::Variable zone("TZ", "UTC0");
    _tzset();
    const auto text = [](__time64_t when) {
        const char* const found = _ctime64(&when);
        return found == nullptr ? "null"s : found;
    };
    EXPECT_EQ(text(1794795000), "Mon Nov 16 02:10:00 2026\n");
    EXPECT_EQ(text(-1), "null");
    EXPECT_EQ(text(32535215999), "Wed Dec 31 23:59:59 3000\n");
}

TEST(Time, PastTheYear3000IsNone) {
    const TestSupport::Variable zone("TZ", "UTC0");
    _tzset();
    const __time64_t when = 32535215999 + 1;
    EXPECT_EQ(_ctime64(&when), nullptr);
}

TEST_F(Files, AreOpenedForWritingAndEmptied) {
    for (const std::string& text : {"longer text\n"s, "short\r\n"s}) {
        std::FILE* const open = Platform::fopen(file.c_str(), "wb");
        ASSERT_NE(open, nullptr);
        EXPECT_EQ(Platform::fwrite(text.data(), 1, text.size(), open), text.size());
        EXPECT_EQ(Platform::fclose(open), 0);
        EXPECT_EQ(content(), std::vector<unsigned char>(text.begin(), text.end()));
    }
}

TEST_F(Files, AreNotOpenedWhereTheyHaveAnotherNameOrAreDevicesOrForReading) {
    ASSERT_FALSE(Platform::writeWholeFile(file, bytes));
    ASSERT_NE(CreateHardLinkW(Platform::wideFromUtf8(folder.file("other")).c_str(),
                              Platform::wideFromUtf8(file).c_str(), nullptr),
              0);
    for (const auto& [path, mode] :
         {std::pair(file, "wb"), std::pair("NUL"s, "wb"), std::pair(folder.path().string(), "wb"),
          std::pair(file, "rb"), std::pair(folder.file("missing/file"), "wb")})
        EXPECT_EQ(Platform::fopen(path.c_str(), mode), nullptr) << path << " " << mode;
    EXPECT_EQ(content(), bytes) << "it is not emptied";
}

TEST_F(Files, AreWrittenWholeNewOrInThePlaceOfOthers) {
    ASSERT_FALSE(Platform::writeWholeFile(file, std::vector<unsigned char>(1000)));
    ASSERT_FALSE(Platform::checkWholeFile(file));
    EXPECT_EQ(content().size(), 1000u) << "a check touches nothing";
    ASSERT_FALSE(Platform::writeWholeFile(file, bytes));
    EXPECT_EQ(content(), bytes);
    EXPECT_EQ(count(), 1) << "nothing is left beside it";
}

TEST_F(Files, ThatCannotBeSayWhyInTheWordsOfPosix) {
    EXPECT_EQ(Platform::writeWholeFile(folder.path().string(), bytes), std::errc::is_a_directory);
    EXPECT_EQ(Platform::checkWholeFile(folder.file("missing/file")), std::errc::no_such_file_or_directory);
    EXPECT_TRUE(Platform::checkWholeFile(folder.file("no?name"))) << "before anything is written";
    EXPECT_EQ(Platform::checkWholeFile(folder.path().string()), std::errc::is_a_directory);
    EXPECT_EQ(Platform::checkWholeFile(folder.file("missing/file")).message(), "No such file or directory");
    EXPECT_EQ(count(), 0);
}

TEST_F(Files, OfAFolderOfTheUsersOwnAreTheUsersAlone) {
    const TestSupport::Variable state("LOCALAPPDATA", folder.path().string());
    EXPECT_EQ(Platform::stateFolder("korva"), folder.file("korva"));
    const std::string deep = folder.file("a/b/") + strangeName;
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(Platform::makePrivateFolder(deep), "");
    EXPECT_TRUE(fs::is_directory(Platform::wideFromUtf8(deep)));
    ASSERT_FALSE(Platform::writeWholeFile(folder.file("file"), bytes));
    EXPECT_EQ(Platform::makePrivateFolder(folder.file("file")), "is not a folder");
    EXPECT_EQ(Platform::makePrivateFolder("C:\\windows"), "is open to others");
    // The system's own, by Wine, which tells its rights as a list.
    if (const fs::path everybodys = "Z:\\tmp"; fs::exists(everybodys)) {
        const fs::path replaceable = everybodys / folder.path().filename();
        EXPECT_EQ(Platform::makePrivateFolder(replaceable.string()),
                  "is where others may put another folder in its place");
        fs::remove(replaceable);
    }
    EXPECT_EQ(Platform::fopen((Platform::noFolder + "\\file"s).c_str(), "wb"), nullptr);
}

TEST(Program, KnowsItsFolderAndThatItHasNoTerminal) {
    EXPECT_TRUE(fs::exists(fs::path(Platform::programFolder()) / "WindowsPlatformTest.exe"));
    EXPECT_FALSE(Platform::isTerminal(stdout));
    EXPECT_EQ(Platform::terminalColumns(stdout), 80);
    EXPECT_FALSE(Platform::interrupted());
    EXPECT_EQ(Platform::standardError(), stderr);
}

TEST(Program, OfTheToolMayHaveFilesOfLongPaths) {
    const fs::path tool =
        Platform::pathFromUtf8(Platform::programFolder()).parent_path() / "bin" / "korva.exe";
    const HMODULE file = LoadLibraryExW(tool.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(file, nullptr);
    const HRSRC manifest = FindResourceW(file, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24));
    ASSERT_NE(manifest, nullptr);
    const std::string text(static_cast<const char*>(LockResource(LoadResource(file, manifest))),
                           SizeofResource(file, manifest));
    EXPECT_THAT(text, testing::ContainsRegex("<longPathAware xmlns=.*>true<"));
    FreeLibrary(file);
}

TEST(Reasons, AreInTheWordsOfPosixSystemsWhoeverGaveTheCode) {
    for (const auto& [error, text] : {std::pair{ERROR_PATH_NOT_FOUND, "No such file or directory"},
                                      {ERROR_ACCESS_DENIED, "Permission denied"},
                                      {ERROR_DISK_FULL, "No space left on device"},
                                      {ERROR_BAD_NETPATH, "No such file or directory"},
                                      {ERROR_BAD_NET_NAME, "No such file or directory"},
                                      {ERROR_PROC_NOT_FOUND, "A library that it needs lacks an operation"},
                                      {ERROR_DLL_INIT_FAILED, "Its initialisation failed"},
                                      {ERROR_NETNAME_DELETED, "Input/output error"},
                                      {ERROR_NOT_READY, "No medium found"},
                                      {ERROR_BROKEN_PIPE, "Broken pipe"},
                                      {ERROR_NO_DATA, "Broken pipe"},
                                      {ERROR_SEM_TIMEOUT, "Connection timed out"},
                                      {WSAENOPROTOOPT, "Protocol not available"},
                                      {WSAEOPNOTSUPP, "Operation not supported"},
                                      {WSAEAFNOSUPPORT, "Address family not supported by protocol"},
                                      {WSAECONNREFUSED, "Connection refused"},
                                      {WSAHOST_NOT_FOUND, "Name or service not known"},
                                      {WSATRY_AGAIN, "Temporary failure in name resolution"},
                                      {54'321L, "Error 54321"}})
        EXPECT_EQ(Platform::errorText(std::error_code(static_cast<int>(error), std::system_category())),
                  text);
    EXPECT_EQ(Platform::errorText(std::errc::timed_out), "Connection timed out");
    EXPECT_EQ(Platform::errorText(std::errc::is_a_directory), "Is a directory");
    std::error_code missing;
    fs::create_directory("no/such/folder", missing);
    EXPECT_EQ(Platform::errorText(missing), "No such file or directory");
}

TEST(Paths, AreUtf8ForTheProgramAndWideForTheSystem) {
    const fs::path path = Platform::pathFromUtf8("C:/" + strangeName);
    EXPECT_EQ(path.wstring(), L"C:/\u00E4\U0001F600");
    EXPECT_EQ(Platform::utf8FromPath(path), "C:/" + strangeName);
    EXPECT_TRUE(Platform::isSeparator('/') && Platform::isSeparator('\\'));
    EXPECT_FALSE(Platform::isSeparator(':'));
}

TEST(Paths, DoNotNameDevicesNorAnythingElseThanTheySay) {
    for (const auto& [name, kept] : {std::pair{"NUL", "_NUL"},
                                     {"nul.png", "_nul.png"},
                                     {"Con .a.b", "_Con .a.b"},
                                     {"COM1.png", "_COM1.png"},
                                     {"lpt0", "_lpt0"},
                                     {"CONOUT$", "_CONOUT$"},
                                     {"Aux.", "Aux_"},
                                     {"Lab. .", "Lab___"},
                                     {"..", "__"},
                                     {"", ""},
                                     {"null.png", "null.png"},
                                     {"a.nul", "a.nul"},
                                     {"COM.png", "COM.png"},
                                     {"COM10", "COM10"},
                                     {"COMx", "COMx"},
                                     {"\xC3\xA4.png", "\xC3\xA4.png"}})
        EXPECT_EQ(Platform::keptName(name), kept);
}

TEST(Paths, AreTheSameInCapitals) {
    EXPECT_EQ(Platform::comparedPath("c:\\\xC3\xA4\\" + strangeName),
              Platform::comparedPath("C:\\\xC3\x84\\" + strangeName));
    EXPECT_NE(Platform::comparedPath("a"), Platform::comparedPath("b"));
    EXPECT_EQ(Platform::comparedPath(""), "");
}

TEST(Library, IsNamedAsTheSystemNamesItAndSaysWhyItIsNotLoaded) {
    EXPECT_EQ(Platform::libraryFileName("Korva"), "Korva.dll");
    Platform::DynamicLibrary library;
    EXPECT_EQ(library.load("C:\\missing.dll"), "No such file or directory");
    EXPECT_NE(library.load("kernel32.dll"), "") << "it is searched for";
    ASSERT_EQ(library.load("C:\\windows\\system32\\kernel32.dll"), "");
    EXPECT_NE(library.find("Sleep"), nullptr);
    EXPECT_EQ(library.find("NoSuchFunction"), nullptr);
}

TEST(Library, MayNeedOthersBesideItAndNeverThoseOfTheCurrentFolder) {
    const TestSupport::TemporaryFolder folder;
    for (const char* const name : {"apart", "both", "planted"})
        fs::create_directory(folder.file(name));
    for (const char* const name : {"apart", "both"})
        fs::copy_file(FILE_OF_Needing, folder.file(name) + "/Needing.dll");
    for (const char* const name : {"both", "planted"})
        fs::copy_file(FILE_OF_Needed, folder.file(name) + "/Needed.dll");
    const fs::path before = fs::current_path();
    fs::current_path(folder.file("planted"));
    Platform::DynamicLibrary library;
    EXPECT_EQ(library.load(folder.file("apart") + "/Needing.dll"), "No such file or directory");
    for (const char separator : {'/', '\\'}) {
        std::string path = fs::path(folder.file("both") + "/Needing.dll").string();
        std::replace_if(path.begin(), path.end(), Platform::isSeparator, separator);
        ASSERT_EQ(library.load(path), "");
        EXPECT_EQ(reinterpret_cast<int (*)()>(library.find("needing"))(), 42);
        library.unload();
    }
    fs::current_path(before);
}

TEST(Network, OfThisComputerIsSeen) {
    const auto adapters = Platform::listAdapters();
    ASSERT_TRUE(adapters);
    std::vector<std::tuple<std::uint32_t, std::uint32_t, bool>> found;
    for (const Platform::Adapter& adapter : *adapters)
        for (const Platform::Adapter::Address& address : adapter.addresses)
            found.emplace_back(address.ip, address.mask, adapter.isUp && adapter.isEthernet);
    EXPECT_THAT(found, Contains(std::tuple(own, inet_addr("255.255.255.0"), true)));
    EXPECT_THAT(found, Contains(std::tuple(loopback, inet_addr("255.0.0.0"), false)));

    for (const auto& [address, way] :
         {std::pair(own, Way::own), std::pair(loopback, Way::own), std::pair(nobody, Way::direct),
          std::pair(elsewhere, Way::none), std::pair(everybody, Way::none)})
        EXPECT_EQ(Platform::routeTo(address).value().way, way) << std::hex << address;
    EXPECT_EQ(Platform::defaultGateway(), std::nullopt);
    EXPECT_TRUE(Platform::listNeighbours());
    EXPECT_EQ(Platform::askByArp({{1, {2, 3, 4, 5, 6, 7}, nobody}}, Clock::now()), std::nullopt);
}

TEST(Network, GivesTheAdaptersToWhoAsksTwice) {
    ULONG bytes = 0;
    ASSERT_EQ(GetAdaptersInfo(nullptr, &bytes), ERROR_BUFFER_OVERFLOW);
    std::vector<IP_ADAPTER_INFO> list(bytes / sizeof(IP_ADAPTER_INFO) + 1);
    ASSERT_EQ(GetAdaptersInfo(list.data(), &bytes), NO_ERROR);
    std::vector<std::string> found;
    for (const IP_ADAPTER_INFO* each = list.data(); each != nullptr; each = each->Next)
        found.push_back(each->IpAddressList.IpAddress.String + "/"s + each->IpAddressList.IpMask.String);
    EXPECT_THAT(found, Contains("10.9.0.1/255.255.255.0"));
    EXPECT_THAT(found, Contains("0.0.0.0/0.0.0.0")) << "korva1, which has no address";
}

TEST(Network, KnowsTheHardwareAddressOfAnOwnAddressAndThatNobodyAnswers) {
    std::array<unsigned char, 8> mac{};
    ULONG bytes = mac.size();
    EXPECT_EQ(SendARP(own, 0, mac.data(), &bytes), NO_ERROR);
    EXPECT_EQ(bytes, 6u);
    bytes = mac.size();
    EXPECT_EQ(SendARP(nobody, 0, mac.data(), &bytes), ERROR_BAD_NET_NAME);
}

TEST(Names, AreLookedUp) {
    const auto addressesOf = [](const std::string& host) {
        return Platform::lookUpHost(host, Clock::now() + 10s).addresses;
    };
    EXPECT_THAT(addressesOf("10.9.0.2"), ElementsAre(nobody));
    EXPECT_THAT(addressesOf("localhost"), Contains(loopback));
    // No name server is asked for what cannot be a name: one that keeps silent would have the last word.
    const auto unknown = Platform::lookUpHost("no such host", Clock::now() + 10s);
    EXPECT_THAT(unknown.addresses, IsEmpty());
    EXPECT_EQ(unknown.reason, "Name or service not known");
}

TEST(Connection, FailsInTheWordsOfPosix) {
    EXPECT_EQ(failureOf("127.0.0.1", freePort()), "Connection refused");
    EXPECT_EQ(failureOf("192.0.2.1", 9), "Network is unreachable");
    EXPECT_EQ(failureOf("10.9.0.2", 9, 200ms), "timed out: Connection timed out");
}

TEST(Connection, CarriesBytesBothWaysUntilThePeerCloses) {
    const std::string much(3 << 20, 'x');
    std::string heard;
    std::string told;
    {
        LoopbackPeer peer([&](PeerConnection& connection) {
            heard = connection.receive(much.size());
            connection.drip("answer", 1, 0ms);
            connection.close();
        });
        Platform::TcpSocket socket;
        ASSERT_EQ(socket.open("127.0.0.1", static_cast<std::uint16_t>(peer.port()), 5s).reason, "");
        EXPECT_EQ(socket.send(much.data(), much.size(), 5s).bytes, much.size());
        std::array<char, 4> piece{};
        Platform::SocketResult result;
        while ((result = socket.receive(piece.data(), piece.size(), Clock::now() + 5s)).status ==
               SocketStatus::done)
            told.append(piece.data(), result.bytes);
        EXPECT_EQ(result.status, SocketStatus::closed);
        EXPECT_EQ(result.reason, "Connection closed by the peer");
    }
    EXPECT_EQ(heard, much);
    EXPECT_EQ(told, "answer");
}

TEST(Connection, ThatWasResetSaysSo) {
    WSADATA data{};
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    Platform::TcpSocket client;
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
    const auto port = static_cast<std::uint16_t>(TestSupport::bindToFreePort(static_cast<int>(listener)));
    ASSERT_EQ(listen(listener, 1), 0);
    ASSERT_EQ(client.open("127.0.0.1", port, 5s).reason, "");
    const SOCKET peer = accept(listener, nullptr, nullptr);
    const linger abort{1, 0};
    setsockopt(peer, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abort), sizeof abort);
    EXPECT_EQ(closesocket(peer), 0);
    closesocket(listener);
    char received = 0;
    EXPECT_EQ(client.receive(&received, 1, Clock::now()).reason, "Connection reset by peer");
    EXPECT_EQ(client.send("x", 1, 1s).status, SocketStatus::failed);
}

TEST(Connection, TimesOutWhereNothingComesOrGoes) {
    Platform::TcpSocket socket;
    std::string told;
    LoopbackPeer peer([&](PeerConnection& connection) { told = connection.receive(1); });
    ASSERT_EQ(socket.open("127.0.0.1", static_cast<std::uint16_t>(peer.port()), 5s).reason, "");
    char received = 0;
    const TestSupport::Stopwatch stopwatch;
    EXPECT_EQ(socket.receive(&received, 1, Clock::now() + 50ms).status, SocketStatus::timedOut);
    EXPECT_GE(stopwatch.elapsed(), 40ms); // a tick of the system's clock is less than 10 ms
    EXPECT_EQ(socket.receive(&received, 1, Clock::now() - 1s).reason, "Connection timed out");
    EXPECT_EQ(socket.send("x", 1, 1s).bytes, 1u);
    // More than all buffers hold.
    const std::string flood(64 << 20, 'x');
    const auto stalled = socket.send(flood.data(), flood.size(), 100ms);
    EXPECT_EQ(stalled.status, SocketStatus::timedOut);
    EXPECT_LT(stalled.bytes, flood.size());
}

TEST(Ports, AreAskedAllAtOnce) {
    LoopbackPeer peer([](PeerConnection& connection) {
        EXPECT_EQ(connection.receive(2), "hi");
        connection.drip("[yes]", 1, 0ms);
    });
    const auto answers = Platform::askPorts(
        {{loopback, static_cast<std::uint16_t>(peer.port()), "hi", ']'}, {elsewhere, 9}, {neverAsked, 9}},
        Clock::now() + 1s);
    using Outcome = Platform::PortAnswer::Outcome;
    ASSERT_EQ(answers.size(), 3u);
    EXPECT_EQ(answers[0].outcome, Outcome::open);
    EXPECT_EQ(answers[0].text, "[yes]");
    EXPECT_EQ(answers[1].outcome, Outcome::unreachable);
    EXPECT_EQ(answers[1].reason, "Network is unreachable");
    EXPECT_EQ(answers[2].outcome, Outcome::silent);
    // Windows asks a port that refuses for two more seconds.
    EXPECT_EQ(Platform::askPorts({{loopback, static_cast<std::uint16_t>(freePort())}}, Clock::now() + 10s)
                  .at(0)
                  .outcome,
              Outcome::refused);
}

TEST(Datagrams, GoAndCome) {
    Platform::QuerySocket socket;
    EXPECT_EQ(socket.failure(), "");
    DatagramPeer peer;
    const auto port = static_cast<std::uint16_t>(peer.port());
    EXPECT_EQ(socket.receive(Clock::now()), std::nullopt);
    ASSERT_EQ(socket.send("AreThere", loopback, port), "");
    EXPECT_EQ(peer.receive(), "AreThere");
    peer.answer(std::string(300, 'y'));
    const auto answer = socket.receive(Clock::now() + 5s);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->source, loopback);
    EXPECT_EQ(answer->text, std::string(Platform::QuerySocket::datagramBytes, 'y'));
    EXPECT_EQ(socket.send("x", elsewhere, 9), "Network is unreachable");
}

TEST(Datagrams, GoToEverybodyByTheAdapterThatIsNamed) {
    unsigned index = 0;
    const auto adapters = Platform::listAdapters();
    for (const Platform::Adapter& adapter : adapters.value())
        if (!adapter.addresses.empty() && adapter.addresses.front().ip == own)
            index = adapter.index;
    ASSERT_NE(index, 0u);
    Platform::QuerySocket socket;
    EXPECT_EQ(socket.send("x", INADDR_BROADCAST, 9, index), "");
    EXPECT_EQ(socket.send("x", everybody, 9, index), "");
}
