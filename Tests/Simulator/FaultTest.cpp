#include "Camera/Fault.h"

#include "Camera/FaultTable.h"
#include "Camera/SgiWriter.h"
#include "Conversation.h"
#include "Support/Thrown.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Simulator {

using namespace Testing;
using ::testing::HasSubstr;

namespace {

std::string refusalOf(std::string_view text) {
    return TestSupport::thrownBy<std::invalid_argument>([&] { parseFault(text); });
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// The answer to the last request of a whole capture in `format`, or of its beginning if a take is to fail.
std::vector<Action> answerWith(std::string_view fault, PictureFormat format = PictureFormat::sgi) {
    Camera camera(fault.empty() ? smallCamera() : smallCameraWith({fault}));
    BinarySession session(camera);
    reactionTo(session, configureWith(15, 2, static_cast<int>(format)));
    std::vector<Action> taken = reactionTo(session, takeRequest).actions;
    return fault.starts_with("take:") ? taken : reactionTo(session, getRequest).actions;
}

/// A GetImage of that file, followed by as many empty Done as make `arguments`.
Bytes imageAnswer(const Bytes& file, int arguments = 1) {
    const int fileBytes = static_cast<int>(file.size());
    const int length = 8 + 5 * arguments + fileBytes;
    const Bytes head = bytesOf({1, 0, 0, length >> 8, length & 255, arguments, //
                                6, 0, 0, fileBytes >> 8, fileBytes & 255});
    return sealed(joined({head, file, Bytes(5U * static_cast<std::size_t>(arguments - 1))}));
}

const std::string done = "01 00 00 00 0d 01 00 00 00 00 00 00 0f";

} // namespace

TEST(Fault, IsReadAndWritesItselfAsItIsRead) {
    for (const auto& [text, fault] : {
             std::pair("take:error=7*1", Fault{FaultKind::error, Place::take, 7, 0, 1}),
             {"configure:flip=103", {FaultKind::flip, Place::configure, 103, 0, {}}},
             {"get:drip=1000/5*2", {FaultKind::drip, Place::get, 1000, 5, 2}},
             {"any:delay=250", {FaultKind::delay, Place::anyBinary, {}, 250, {}}},
             {"probe:scatter=15", {FaultKind::scatter, Place::probe, {}, 15, {}}},
             {"serial:truncate-close", {FaultKind::truncateClose, Place::serial, {}, 0, {}}},
             {"network:truncate-silent=0", {FaultKind::truncateSilent, Place::network, 0, 0, {}}},
             {"version:length=256", {FaultKind::length, Place::version, 256, 0, {}}},
             {"text:missing-key=--SW", {FaultKind::missingKey, Place::anyText, {}, 0, {}, "--SW"}},
             {"discovery:wrong-address=1.2.3.4*1",
              {FaultKind::wrongAddress, Place::discovery, {}, 0, 1, "1.2.3.4"}},
         }) {
        EXPECT_EQ(parseFault(text), fault) << text;
        EXPECT_EQ(fault.describe(), text);
    }
}

TEST(Fault, HitsTheRequestItNamesAndTheGroupsOnlyTheirOwnLanguage) {
    for (const auto& [fault, hit] : {
             std::pair("take:silent", "take"),
             std::pair("serial:silent", "serial"),
             std::pair("any:silent", "configure take get probe"),
             std::pair("any:black-picture", "get"), // where there are some
             std::pair("text:silent", "version serial network"),
             std::pair("discovery:silent", "discovery"),
         }) {
        std::string all;
        for (const auto& [name, place, group, language] : placeRows) {
            const bool isGroup = place == Place::anyBinary || place == Place::anyText;
            if (!isGroup && parseFault(fault).hits(place))
                all.append(all.empty() ? "" : " ").append(name);
        }
        EXPECT_EQ(all, hit) << fault;
    }
}

TEST(Fault, SaysWhatIsWrongWithAText) {
    EXPECT_EQ(refusalOf("version:missing-key=SW"),
              "Fault \"version:missing-key=SW\": this reply has no key \"SW\", but --HW, --SW, --API");
    for (const auto& [faults, reason] : {
             std::pair("checksum", "Fault \"checksum\": write PLACE:FAULT"),
             std::pair("put:checksum", "one of configure, take, get, probe, any, version, serial, network, "
                                       "text, discovery"),
             std::pair("get:nonsense", "there is no fault \"nonsense\"; there are checksum, error,"),
             std::pair("get:", "there is no fault \"\""),
             std::pair("get:not-closed", "the binary protocol has no fault not-closed"),
             std::pair("version:checksum", "the text language has no fault checksum"),
             std::pair("version:wrong-address=1.2.3.4", "the text language has no fault wrong-address"),
             std::pair("discovery:close discovery:reset discovery:truncate-close", "discovery has no fault "),
             std::pair("version:black-picture", "write get:black-picture"),
             std::pair("take:empty-picture", "write get:empty-picture"),
             std::pair("get:checksum=1", "checksum takes no value"),
             std::pair("get:error", "write error=CODE"),
             std::pair("get:delay", "write delay=MS"),
             std::pair("get:drip get:drip=10", "write drip=BYTES/MS"),
             std::pair("text:length", "write length=BYTES"),
             std::pair("version:missing-key", "write missing-key=KEY"),
             std::pair("discovery:empty-value=--HW", "but --Room, --IP, --NetMask"),
             std::pair("text:missing-key=--Room", "but --HW, --SW, --API, --Camera, --NetworkProtocol, "
                                                  "--NetMask, --NetGateway"),
             std::pair("discovery:wrong-address=there", "\"there\" is no IPv4 address"),
             std::pair("discovery:wrong-address", "write wrong-address=ADDRESS"),
             std::pair("get:error= get:error=x get:error=7x get:error=-1 get:error=4294967296",
                       ": the error code is a whole number from 0 to 4294967295"),
             std::pair("get:flip= get:flip=4294967296",
                       ": the number of the bit is a whole number from 0 to 4294967295"),
             std::pair("get:truncate-close=half",
                       ": the count of bytes is a whole number from 0 to 4294967295"),
             std::pair("text:length=0 text:length=65508 text:length=",
                       ": the count of bytes is a whole number from 1 to 65507"),
             std::pair("get:drip=0/5", ": the count of bytes is a whole number from 1 to 4294967295"),
             std::pair("get:drip=5/", ": the pause in milliseconds is a whole number from 0 to 3600000"),
             std::pair("get:delay=3600001",
                       ": the delay in milliseconds is a whole number from 0 to 3600000"),
             std::pair("get:checksum* get:checksum*0 get:checksum*2*2",
                       ": the count behind * is a whole number from 1 to 4294967295"),
         })
        for (const std::string& text : wordsOf(faults))
            EXPECT_THAT(refusalOf(text), HasSubstr(reason)) << text;
}

TEST(Fault, HelpNamesEveryFaultWithItsValue) {
    for (const FaultRow& row : faultRows)
        EXPECT_THAT(faultHelp(),
                    HasSubstr("\n  " + std::string(row.name) + std::string(syntaxOf(row.form)) + " "));
    EXPECT_THAT(faultHelp(), HasSubstr("  truncate-close[=BYTES]  so many bytes"));
}

TEST(FaultedAnswer, IsToTheByteAndTheStepWhatTheFaultSays) {
    for (const auto& [fault, answer] : {
             std::pair<const char*, std::string>("take:checksum", "01 00 00 00 0d 01 00 00 00 00 00 00 10"),
             {"take:error=16909060", "01 00 00 00 11 01 01 00 00 00 04 01 02 03 04 00 22"},
             {"take:wrong-response", "01 00 00 00 0d 01 06 00 00 00 00 00 15"},
             {"get:wrong-response", done},
             {"take:no-argument", "01 00 00 00 08 00 00 09"},
             {"take:two-arguments", "01 00 00 00 12 02 00 00 00 00 00 00 00 00 00 00 00 15"},
             {"take:wrong-command", "02 00 00 00 0d 01 00 00 00 00 00 00 10"},
             {"get:unknown-code", "01 00 00 00 0d 01 63 00 00 00 00 00 72"},
             {"take:length-large", "01 00 00 00 1a 01 00 00 00 00 00 00 1c"},
             {"take:length-small", "01 00 00 00 06 01 00 00 00 00 00 00 08"},
             {"take:length-wrap", "01 00 00 00 0d 01 00 ff ff ff f5 04 01"}, // 11 and that are 2^32
             {"get:long-value", "01 00 00 00 15 01 00 00 00 00 08 00 00 00 00 00 00 00 00 00 1f"},
             {"get:huge-image", "01 ff ff ff ff 01 06 7f ff ff ff"},
             {"take:flip=0", "00 00 00 00 0d 01 00 00 00 00 00 00 0f"},
             {"take:flip=103", "01 00 00 00 0d 01 00 00 00 00 00 00 8f"},
             {"take:flip=104", done}, // behind the end
             {"take:twice", done + " " + done},
             {"get:stale", done},
             {"take:garbage", hex(garbage(64))},
             {"take:endless", "endlessly " + hex(Bytes(65536, 'U'))},
             {"take:trail", done + ", endlessly " + hex(Bytes(65536))},
             {"take:drip=4/5", "4 bytes each 5 ms of " + done},
             {"take:scatter=15",
              "01 00, pause 7, 00, pause 11, 00 0d, pause 0, 01 00, pause 5, 00, pause 6, 00 00, pause 14, "
              "00, pause 10, 00, pause 11, 0f, pause 1"},
             {"take:truncate-close=4", "01 00 00 00, close"},
             {"take:truncate-silent", "01 00 00 00 0d 01"},
             {"take:truncate-silent=1000", done},
             {"take:reset", "reset"},
             {"take:close", "close"},
             {"take:silent", ""},
             {"take:delay=250", "pause 250, " + done},
         })
        EXPECT_EQ(told(answerWith(fault), hex), answer) << fault;
}

TEST(FaultedAnswer, SpoilsAPictureAsTheFaultSays) {
    const Bytes file = writeSgi(renderScene(SceneKind::ramp, {8, 3}, 3, 15, 1));
    const Bytes black = writeSgi({{8, 3}, 3, std::vector<std::uint16_t>(3 * 8 * 3)});
    Bytes unsummed = imageAnswer(file);
    ++unsummed.back();
    Bytes empty = bytesOf({0x01, 0xDA, 0, 2, 0, 3, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0x40, 0});
    empty.resize(512);
    const Bytes emptyPng =
        bytesOf({0x89, 'P',  'N',  'G', 13, 10, 26, 10,  0,   0,   0,   13,   'I',  'H',  'D',
                 'R',  0,    0,    0,   0,  0,  0,  0,   0,   16,  0,   0,    0,    0,    0x4E,
                 0x70, 0xFF, 0x8D, 0,   0,  0,  0,  'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82});
    for (const auto& [fault, format, answer] : {
             std::tuple("", PictureFormat::sgi, imageAnswer(file)),
             std::tuple("get:checksum", PictureFormat::sgi, unsummed),
             std::tuple("get:two-arguments", PictureFormat::sgi, imageAnswer(file, 2)),
             std::tuple("get:many-arguments", PictureFormat::sgi, imageAnswer(file, 255)),
             std::tuple("get:garbage-picture", PictureFormat::sgi, imageAnswer(garbage(4096))),
             std::tuple("get:empty-picture", PictureFormat::sgi, imageAnswer(empty)),
             std::tuple("get:empty-picture", PictureFormat::png, imageAnswer(emptyPng)),
             std::tuple("get:black-picture", PictureFormat::sgi, imageAnswer(black)),
         })
        EXPECT_EQ(hex(sentBytes(answerWith(fault, format))), hex(answer)) << fault;
}

} // namespace Simulator
