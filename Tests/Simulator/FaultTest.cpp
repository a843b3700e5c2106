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

Bytes withWrongChecksum(Bytes answer) {
    ++answer.back();
    return answer;
}

const std::string done = "01 00 00 00 0d 01 00 00 00 00 00 00 0f";

} // namespace

TEST(Fault, ReadsItsPlaceKindAndValues) {
    const Fault error{FaultKind::error, Place::take, 7, 0, 1};
    const Fault drip{FaultKind::drip, Place::get, 1000, 5, 2};
    const Fault delay{FaultKind::delay, Place::anyBinary, std::nullopt, 250, std::nullopt};
    const Fault halved{FaultKind::truncateClose, Place::get, std::nullopt, 0, std::nullopt};
    const Fault cut{FaultKind::truncateSilent, Place::get, 0, 0, std::nullopt};
    const Fault address{FaultKind::wrongAddress, Place::discovery, std::nullopt, 0, 1, "10.9.9.9"};
    const Fault key{FaultKind::missingKey, Place::anyText, std::nullopt, 0, std::nullopt, "--NetGateway"};
    for (const auto& [text, fault] :
         {std::pair("take:error=7*1", error), std::pair("get:drip=1000/5*2", drip),
          std::pair("any:delay=250", delay), std::pair("get:truncate-close", halved),
          std::pair("get:truncate-silent=0", cut), std::pair("discovery:wrong-address=10.9.9.9*1", address),
          std::pair("text:missing-key=--NetGateway", key)})
        EXPECT_EQ(parseFault(text), fault) << text;
}

TEST(Fault, WritesItselfAsItIsRead) {
    for (const std::string& text : wordsOf(
             "get:checksum take:error=7*1 any:wrong-response configure:no-argument any:two-arguments "
             "any:wrong-command any:unknown-code any:length-large any:length-small any:length-wrap "
             "any:long-value get:truncate-close get:truncate-close=5 get:truncate-silent=6*3 probe:reset "
             "take:delay=100 get:drip=1000/5*2 any:close any:silent get:garbage-picture get:empty-picture "
             "any:black-picture*1 version:missing-key=--SW discovery:missing-key=--Room*2 "
             "network:empty-value=--NetMask text:not-closed discovery:length=256 serial:twice*1 "
             "discovery:garbage text:empty discovery:other-marker version:hostile "
             "discovery:wrong-address=10.9.9.9 discovery:delay=5 discovery:drip=10/1 discovery:silent "
             "text:reset serial:close network:truncate-close=7 version:truncate-silent "
             "configure:many-arguments get:huge-image*1 take:flip=103 discovery:flip=0 any:garbage "
             "get:twice*1 take:stale serial:stale*2 get:scatter=15 discovery:scatter=2 probe:endless "
             "text:endless*1 serial:trail"))
        EXPECT_EQ(parseFault(text).describe(), text);
}

TEST(Fault, HitsTheRequestItNamesAndTheGroupsOnlyTheirOwnLanguage) {
    const std::vector<std::pair<std::string, Place>> places{
        {"configure", Place::configure}, {"take", Place::take},          {"get", Place::get},
        {"probe", Place::probe},         {"version", Place::version},    {"serial", Place::serial},
        {"network", Place::network},     {"discovery", Place::discovery}};
    for (const auto& [fault, hit] : {
             std::pair("take:silent", "take"),
             std::pair("serial:silent", "serial"),
             std::pair("any:silent", "configure take get probe"),
             std::pair("any:black-picture", "get"), // where there are some
             std::pair("text:silent", "version serial network"),
             std::pair("discovery:silent", "discovery"),
         }) {
        std::string all;
        for (const auto& [name, place] : places)
            if (parseFault(fault).hits(place))
                all += (all.empty() ? "" : " ") + name;
        EXPECT_EQ(all, hit) << fault;
    }
    for (const auto& [name, place] : places)
        EXPECT_TRUE(parseFault(name + ":twice").hits(place)) << name;
}

TEST(Fault, SaysWhatIsWrongWithAText) {
    EXPECT_EQ(refusalOf("version:missing-key=SW"),
              "Fault \"version:missing-key=SW\": this reply has no key \"SW\", but --HW, --SW, --API");
    for (const auto& [text, reason] : {
             std::pair("checksum", "Fault \"checksum\": write PLACE:FAULT"),
             std::pair("put:checksum", "one of configure, take, get, probe, any, version, serial, network, "
                                       "text, discovery"),
             std::pair("get:nonsense", "there is no fault \"nonsense\"; there are checksum, error,"),
             std::pair("get:", "there is no fault \"\""),
             std::pair("get:not-closed", "the binary protocol has no fault not-closed"),
             std::pair("version:checksum", "the text language has no fault checksum"),
             std::pair("version:wrong-address=1.2.3.4", "the text language has no fault wrong-address"),
             std::pair("discovery:close", "discovery has no fault "),
             std::pair("discovery:reset", "discovery has no fault "),
             std::pair("discovery:truncate-close", "discovery has no fault "),
             std::pair("version:black-picture", "write get:black-picture"),
             std::pair("take:empty-picture", "write get:empty-picture"),
             std::pair("get:checksum=1", "checksum takes no value"),
             std::pair("get:error", "write error=CODE"),
             std::pair("get:delay", "write delay=MS"),
             std::pair("get:drip", "write drip=BYTES/MS"),
             std::pair("get:drip=10", "write drip=BYTES/MS"),
             std::pair("text:length", "write length=BYTES"),
             std::pair("version:missing-key", "write missing-key=KEY"),
             std::pair("discovery:empty-value=--HW", "but --Room, --IP, --NetMask"),
             std::pair("text:missing-key=--Room", "but --HW, --SW, --API, --Camera, --NetworkProtocol, "
                                                  "--NetMask, --NetGateway"),
             std::pair("discovery:wrong-address=there", "\"there\" is no IPv4 address"),
             std::pair("discovery:wrong-address", "write wrong-address=ADDRESS"),
         })
        EXPECT_THAT(refusalOf(text), HasSubstr(reason)) << text;
}

TEST(Fault, RefusesNumbersThatAreNone) {
    for (const auto& [faults, what] : {
             std::pair("get:error= get:error=x get:error=7x get:error=-1 get:error=4294967296",
                       "the error code is a whole number from 0 to 4294967295"),
             std::pair("get:flip= get:flip=4294967296",
                       "the number of the bit is a whole number from 0 to 4294967295"),
             std::pair("get:truncate-close=half",
                       "the count of bytes is a whole number from 0 to 4294967295"),
             std::pair("text:length=0 text:length=65508 text:length=",
                       "the count of bytes is a whole number from 1 to 65507"),
             std::pair("get:drip=0/5", "the count of bytes is a whole number from 1 to 4294967295"),
             std::pair("get:drip=5/", "the pause in milliseconds is a whole number from 0 to 3600000"),
             std::pair("get:delay=3600001", "the delay in milliseconds is a whole number from 0 to 3600000"),
             std::pair("get:checksum* get:checksum*0 get:checksum*2*2",
                       "the count behind * is a whole number from 1 to 4294967295"),
         })
        for (const std::string& text : wordsOf(faults))
            EXPECT_EQ(refusalOf(text), "Fault \"" + text + "\": " + what);
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
             {"take:error=258", "01 00 00 00 11 01 01 00 00 00 04 00 00 01 02 00 1b"},
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
    Bytes empty = bytesOf({0x01, 0xDA, 0, 2, 0, 3, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0x40, 0});
    empty.resize(512);
    const Bytes emptyPng =
        bytesOf({0x89, 'P',  'N',  'G', 13, 10, 26, 10,  0,   0,   0,   13,   'I',  'H',  'D',
                 'R',  0,    0,    0,   0,  0,  0,  0,   0,   16,  0,   0,    0,    0,    0x4E,
                 0x70, 0xFF, 0x8D, 0,   0,  0,  0,  'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82});
    for (const auto& [fault, format, answer] : {
             std::tuple("", PictureFormat::sgi, imageAnswer(file)),
             std::tuple("get:checksum", PictureFormat::sgi, withWrongChecksum(imageAnswer(file))),
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
