#include "Camera/CameraSet.h"

#include "Camera/TextLanguage.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <tuple>
#include <utility>

namespace Simulator {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using TestSupport::thrownBy;

namespace {

namespace fs = std::filesystem;

std::vector<CameraEntry> parsed(const std::string& text) {
    return parseCameraSet(text, "lab.json");
}

std::string refusalOf(const std::string& text) {
    return thrownBy<CameraSetError>([&] { parsed(text); });
}

/// Of a set whose second camera says this.
std::string refusalOfCamera(const std::string& key, const std::string& value) {
    return refusalOf(R"({"cameras": [{"address": "10.77.1.10"}, {"address": "10.77.1.11", ")" + key +
                     "\": " + value + "}]}");
}

/// A set's folder `set` with pictures, and what lies around it.
class SceneOfASet : public ::testing::Test {
protected:
    SceneOfASet() {
        for (const char* each : {"set/below", "set-2"})
            fs::create_directories(folder.file(each));
        for (const char* each : {"set/a.png", "set/below/b.png", "set-2/c.png", "outside.png"})
            std::ofstream(folder.file(each)) << "picture";
        fs::create_symlink("below/b.png", folder.file("set/inner"));
        fs::create_symlink("../outside.png", folder.file("set/outer"));
        fs::create_symlink("../set-2", folder.file("set/outer-folder"));
        fs::create_symlink("circle", folder.file("set/circle"));
        mkfifo(folder.file("set/fifo").c_str(), 0600);
    }

    Scene sceneOf(const std::string& path) const {
        return parseCameraSet(R"({"cameras": [{"address": "10.77.1.11", "scene": "file:)" + path + "\"}]}",
                              folder.file("set/set.json"))
            .at(0)
            .settings.scene;
    }

    /// Without the place, which is the same for all.
    std::string refusalOfScene(const std::string& path) const {
        const std::string place = folder.file("set/set.json") + ", camera 1, key \"scene\": ";
        const std::string complaint = thrownBy<CameraSetError>([&] { sceneOf(path); });
        return complaint.starts_with(place) ? complaint.substr(place.size()) : complaint;
    }

    const TestSupport::TemporaryFolder folder;
};

} // namespace

TEST(CameraSet, ReadsEveryKeyAndTheRepliesSayTheTexts) {
    const std::vector<CameraEntry> cameras = parsed(R"({"cameras": [{
        "address": "10.77.1.11", "announce": "10.77.1.12", "api": "2.0", "binary": "silent",
        "discovery": "refused", "faults": ["version:missing-key=--SW", "get:checksum*1"],
        "firmware": "4.0.0", "gateway": "10.77.1.1", "hardware": "XM61", "model": "M615",
        "netmask": "255.255.0.0", "port": 5001, "protocol": "DHCP", "room": "Lab 2", "scene": "ramp",
        "seed": 18446744073709551615, "serial": "K-7", "size": "64x48", "text": "answered",
        "text-port": 0, "wait-exposure": true}]})");
    const CameraEntry due{
        .address = "10.77.1.11",
        .binaryTcpPort = 5001,
        .textTcpAndUdpPort = 0,
        .settings = {.model = "M615",
                     .firmware = "4.0.0",
                     .size = PictureSize{64, 48},
                     .scene = {SceneKind::ramp, ""},
                     .seed = 18446744073709551615U,
                     .waitExposure = true,
                     .faults = {parseFault("version:missing-key=--SW"), parseFault("get:checksum*1")},
                     .room = "Lab 2",
                     .announcedAddress = "10.77.1.12",
                     .hardware = "XM61",
                     .api = "2.0",
                     .serialNumber = "K-7",
                     .networkProtocol = "DHCP",
                     .netMask = "255.255.0.0",
                     .gateway = "10.77.1.1",
                     .discovery = Service::refused,
                     .text = Service::answered,
                     .binary = Service::silent}};
    EXPECT_EQ(cameras, std::vector{due});
    std::string replies;
    for (const Query& query : queries)
        replies += replyTo(query, {}, due.settings).text();
    EXPECT_EQ(replies, "[Version --HW XM61 --SW 4.0.0 --API 2.0][SerialNumber --Camera K-7]"
                       "[--Settings --NetworkProtocol DHCP --NetMask 255.255.0.0 --NetGateway 10.77.1.1]"
                       "[Korva --Room Lab 2 --IP 10.77.1.12 --NetMask 255.255.0.0]");
}

TEST(CameraSet, KeepsTheOrderOfTheFileAndACameraWithAnAddressAloneIsTheUsualOne) {
    const CameraEntry usual{"10.77.1.1", 32769, 32768, CameraSettings{}};
    CameraEntry first = usual;
    first.address = "10.77.2.9";
    EXPECT_EQ(parsed(R"({"cameras": [{"address": "10.77.2.9"}, {"address": "10.77.1.1"}]})"),
              (std::vector{first, usual}));
}

TEST(CameraSet, RefusesAKeyAndItsValueByNameWithWhatIsDue) {
    const auto expectRefusal = [](const std::string& key, const std::string& value,
                                  const std::string& reason) {
        EXPECT_THAT(refusalOfCamera(key, value),
                    StartsWith("lab.json, camera 2, key \"" + key + "\": " + reason));
    };
    for (const char* key : {"model", "room", "serial", "firmware", "api", "hardware", "announce", "gateway",
                            "netmask", "protocol", "scene", "size", "text", "binary", "discovery"})
        for (const char* value : {"1", "1.4", "null", "true", "{}", R"(["1"])"})
            expectRefusal(key, value, "a text is due, in quotation marks");
    constexpr const char* port = "a whole number from 0 to 65535 is due";
    for (const auto& [key, value, reason] : {
             std::tuple("faults", "[1]", "a text is due, in quotation marks"),
             std::tuple("faults", R"("any:close")", "an array of at most 256 texts is due"),
             std::tuple("port", R"("1")", port),
             std::tuple("port", "-1", port),
             std::tuple("port", "1.5", port),
             std::tuple("text-port", "65536", port),
             std::tuple("seed", R"("1")", "a whole number from 0 to 18446744073709551615 is due"),
             std::tuple("seed", "1e999", "the number is larger than any number can be"),
             std::tuple("wait-exposure", "1", "true or false is due"),
             std::tuple("announce", R"("here")", R"("here" is no IPv4 address such as 10.77.1.11)"),
             std::tuple("gateway", R"("10.0.0")", R"("10.0.0" is no IPv4 address such as 10.77.1.11)"),
             std::tuple("netmask", R"("255.0.0.1")", R"("255.0.0.1" is no net mask such as 255.255.255.0)"),
             std::tuple("protocol", R"("dhcp")", R"("dhcp" is neither static nor DHCP)"),
             std::tuple("size", R"("0x1")", R"("0x1" is not WIDTHxHEIGHT, 1 to 65535 each)"),
             std::tuple("size", R"("65535x65535")", "No camera takes pictures of 65535 x 65535 pixels"),
             std::tuple("text", R"("dead")", R"("dead" is none of answered, silent, refused)"),
             std::tuple("scene", R"("sunset")", R"(Scene "sunset": write grid)"),
             std::tuple("faults", R"(["get:gremlins"])", R"(Fault "get:gremlins": there is no fault)"),
         })
        expectRefusal(key, value, reason);
    EXPECT_THAT(
        refusalOfCamera("romo", "1"),
        StartsWith("lab.json, camera 2: there is no key \"romo\"; there are address, announce, api, "));
}

TEST(CameraSet, BoundsTextsAndCounts) {
    const auto quoted = [](std::size_t length) { return "\"" + std::string(length, 'r') + "\""; };
    EXPECT_EQ(refusalOfCamera("room", quoted(1024)), "");
    EXPECT_THAT(refusalOfCamera("room", quoted(1025)), EndsWith("the text has more than 1024 bytes"));
    const auto array = [](const std::string& each, int count) {
        std::string all = "[" + each;
        while (--count > 0)
            all += "," + each;
        return all + "]";
    };
    EXPECT_EQ(refusalOfCamera("faults", array("\"any:close\"", 256)), "");
    EXPECT_THAT(refusalOfCamera("faults", array("\"any:close\"", 257)), HasSubstr("at most 256"));
    const std::string camera = R"({"address": "10.77.1.11"})";
    EXPECT_EQ(parsed("{\"cameras\": " + array(camera, 256) + "}").size(), 256U);
    EXPECT_THAT(refusalOf("{\"cameras\": " + array(camera, 257) + "}"),
                EndsWith("an array of 1 to 256 cameras is due"));
}

TEST(CameraSet, RefusesWhatIsNoSetHoweverDeepAndNamesThePlaceOfANumberBeyondAllNumbers) {
    const std::string noJson = "lab.json: this is no JSON: ";
    const std::string noSet = "lab.json: {\"cameras\": [...]} is due";
    const std::string noCameras = "lab.json, key \"cameras\": an array of 1 to 256 cameras is due";
    const std::string tooLarge = ": the number is larger than any number can be";
    for (const auto& [text, reason] : {
             std::pair<std::string, std::string>("", noJson),
             {"{", noJson},
             {"[1,", noJson},
             {"\"\xFF\"", noJson},
             {"{\"cameras\": [}", noJson},
             {std::string(1 << 20, '['), noJson},
             {"1", noSet},
             {"[]", noSet},
             {"{}", noSet},
             {R"({"camera": []})", noSet},
             {R"({"cameras": [], "more": 1})", noSet},
             {std::string(1 << 18, '[') + std::string(1 << 18, ']'), noSet},
             {R"({"cameras": []})", noCameras},
             {R"({"cameras": {}})", noCameras},
             {R"({"cameras": 1})", noCameras},
             {R"({"cameras": ["10.77.1.11"]})", "lab.json, camera 1: an object {...} is due"},
             {R"({"cameras": [{"model": "M61"}]})", "lab.json, camera 1: the key \"address\" is missing"},
             {R"({"cameras": [{"faults": [{"a": 1e999}]}]})",
              "lab.json, camera 1, key \"faults\"" + tooLarge},
             {R"({"cameras": [{"seed": 1}], "more": -1e999})", "lab.json" + tooLarge},
         })
        EXPECT_THAT(refusalOf(text), StartsWith(reason)) << text.substr(0, 100);
}

TEST_F(SceneOfASet, IsAFileBesideItOrBelow) {
    for (const char* path : {"a.png", "below/b.png", "below/../a.png", "./a.png", "inner"})
        EXPECT_EQ(refusalOfScene(path), "") << path;
    EXPECT_EQ(refusalOfScene(folder.file("set/a.png")), "");
    EXPECT_EQ(sceneOf("below/../a.png").path, fs::canonical(folder.file("set/a.png")));
    EXPECT_EQ(sceneOf("inner").path, fs::canonical(folder.file("set/below/b.png")));
}

TEST_F(SceneOfASet, IsNoFileElsewhereAndARegularOne) {
    for (const std::string& path :
         {std::string("../outside.png"), std::string("below/../../outside.png"), folder.file("outside.png"),
          folder.file("set-2/c.png"), std::string("../set-2/c.png"), std::string("outer"),
          std::string("outer-folder/c.png"), std::string("/dev/zero")})
        EXPECT_EQ(refusalOfScene(path),
                  "the picture " + path + " is neither in the folder of this file nor below it");
    for (const char* path : {"below", ".", "fifo"})
        EXPECT_EQ(refusalOfScene(path), "the picture " + std::string(path) + " is no regular file");
    EXPECT_EQ(refusalOfScene("none.png"), "cannot read the picture none.png: No such file or directory");
    EXPECT_EQ(refusalOfScene("circle"), "cannot read the picture circle: Too many levels of symbolic links");
}

TEST(CameraSet, ReadsAFileOfAtMostOneMebibyteAndNamesOneThatItCannotRead) {
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.file("lab.json");
    std::string text = R"({"cameras": [{"address": "10.77.1.11"}]})";
    text.resize(1 << 20, ' ');
    std::ofstream(path) << text;
    EXPECT_EQ(readCameraSet(path).at(0).address, "10.77.1.11");
    std::ofstream(path) << text << ' ';
    const auto refusalOfFile = [](const std::string& file) {
        return thrownBy<CameraSetError>([&] { readCameraSet(file); });
    };
    EXPECT_EQ(refusalOfFile(path), path + ": the file has more than 1 MiB");
    EXPECT_EQ(refusalOfFile("/no/such.json"), "/no/such.json: No such file or directory");
    EXPECT_THAT(refusalOfFile("/"), StartsWith("/: "));
}

} // namespace Simulator
