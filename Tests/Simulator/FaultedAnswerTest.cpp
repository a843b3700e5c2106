#include "Camera/FaultedAnswer.h"

#include "Camera/SgiWriter.h"
#include "Conversation.h"

#include <gtest/gtest.h>

#include <string_view>
#include <tuple>

namespace Simulator {

using namespace Testing;

namespace {

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
