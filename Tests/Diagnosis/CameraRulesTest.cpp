// One camera at a time, all of what is known of it or a part.

#include "Worlds.h"

#include "Diagnosis/Rules.h"

#include <gtest/gtest.h>

using namespace Diagnosis;

namespace {

struct Row {
    const char* name;
    const char* code; ///< empty if it is ready; "note: " before that of a note
    const char* text;
    Camera camera;
    std::vector<Answer> answers{}; ///< to a search, if there are any
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

constexpr auto address = "10.77.1.11";

Camera ready(const std::function<void(Camera&)>& change) {
    Camera camera = readyCamera(address, "Lab 1");
    change(camera);
    return camera;
}

Camera asked(const std::function<void(Camera&)>& change) {
    Camera camera = askedCamera(address);
    change(camera);
    return camera;
}

/// That answered the search, and of which no more is known.
Camera found(const std::function<void(Camera&)>& change) {
    Camera camera;
    camera.address = address;
    camera.answeredSearch = true;
    change(camera);
    return camera;
}

Answer here(const std::string& room, const std::string& mac, const std::string& adapter = "net1") {
    return answer(address, room, mac, adapter);
}

/// From elsewhere, as somebody with the address.
Answer from(const std::string& source) {
    Answer made = here("Lab", "");
    made.source = source;
    return made;
}

/// Which answers for its version with this, and is not identified.
Camera answering(const std::string& text) {
    return asked([&text](Camera& c) {
        c.text = c.picture = PortState::open;
        c.textAnswer = text;
    });
}

Camera pictured(const std::vector<std::string>& lines) {
    return ready([&lines](Camera& c) { c.attempts = {attempt(Attempt::What::picture, lines)}; });
}

const Row rows[] = {
    {"ready", "", "", ready([](Camera&) {})},
    {"nothing known", "", "", asked([](Camera&) {})},
    {"only found", "", "", found([](Camera&) {})},
    // Its address.
    {"no address", "not-an-address", "names a port: give the address alone, since a camera's ports are fixed",
     askedCamera("10.77.1.11:80")},
    {"name nobody knows", "unknown-name", "no computer knows this name",
     asked([](Camera& c) { c.unknownName = "no such host"; })},
    {"name that nobody answers for", "unknown-name",
     "the name service does not answer, so this name has no address",
     asked([](Camera& c) { c.unknownName = "Name resolution timed out"; })},
    {"name that an attempt waited for longer", "camera-error", "the camera refuses, with error 7",
     asked([](Camera& c) {
         c.unknownName = "Name resolution timed out";
         c.attempts = {attempt(Attempt::What::picture, {"Korva returned an error code: 7"})};
     })},
    {"identified by a slow name", "", "",
     ready([](Camera& c) { c.unknownName = "Name resolution timed out"; })},
    {"identified by a name forgotten since", "", "",
     ready([](Camera& c) { c.unknownName = "Name or service not known"; })},
    {"two rooms",
     "duplicate-address",
     "same address as another camera: Twin A, Twin B",
     ready([](Camera&) {}),
     {here("Twin B", ""), here("Twin A", "")}},
    {"six rooms",
     "duplicate-address",
     "same address as another camera: 1, 2, 3, 4 and 2 more",
     ready([](Camera&) {}),
     {here("1", ""), here("2", ""), here("3", ""), here("4", ""), here("5", ""), here("6", "")}},
    {"one room, two adapters, two MAC addresses",
     "note: second-answer",
     "second answer of 10.77.1.11, over net2",
     ready([](Camera& c) {
         c.macAddresses = {"02-a", "02-b"};
     }),
     {here("Lab", "02-a"), here("Lab", "02-b", "net2")}},
    {"two MAC addresses", "duplicate-address", "same address as another camera: MAC addresses 02-a, 02-b",
     ready([](Camera& c) {
         c.macAddresses = {"02-b", "02-a"};
     })},
    {"no MAC address is none",
     "note: second-answer",
     "second answer of 10.77.1.11, over net1",
     ready([](Camera&) {}),
     {here("Lab", "02-a"), here("Lab", "00-00-00-00-00-00")}},
    {"two adapters",
     "note: second-answer",
     "second answer of 10.77.1.11, over net2",
     ready([](Camera&) {}),
     {here("Lab", "02-a"), here("Lab", "02-a", "net2")}},
    {"two addresses",
     "note: second-answer",
     "second answer of 10.77.2.11, over net1",
     ready([](Camera&) {}),
     {answer("10.77.2.11", "Lab", "02-a", "net2"), here("Lab", "02-a")}},
    {"two addresses, two rooms",
     "duplicate-mac",
     "same MAC address 02-a as another camera: 10.77.1.12 (Lab 2)",
     found([](Camera&) {}),
     {answer("10.77.1.12", "Lab 2", "02-a", "net1"), here("Lab", "02-a")}},
    {"two addresses, two rooms, and its own the first",
     "duplicate-mac",
     "same MAC address 02-a as another camera: 10.77.1.12 (Lab 2)",
     found([](Camera&) {}),
     {here("Lab", "02-a"), answer("10.77.1.12", "Lab 2", "02-a", "net1")}},
    {"three addresses, two rooms, and the first two are one's",
     "duplicate-mac",
     "same MAC address 02-a as another camera: 10.77.1.12 (Lab 2)",
     found([](Camera&) {}),
     {answer("10.77.2.11", "Lab", "02-a", "net2"), here("Lab", "02-a"),
      answer("10.77.1.12", "Lab 2", "02-a", "net1")}},
    {"says another address", "note: wrong-address", "answers here, but says that its address is 10.77.1.99",
     ready([](Camera& c) { c.announces = "10.77.1.99"; })},
    {"another's address",
     "wrong-address",
     "the camera says that this is its address, but it answers from 10.77.1.99",
     asked([](Camera&) {}),
     {from("10.77.1.99")}},
    {"another's address, that somebody else has",
     "wrong-address",
     "the camera says that this is its address, but it answers from 10.77.1.99",
     asked([](Camera& c) { c.text = c.picture = PortState::refused; }),
     {from("10.77.1.99")}},
    {"another's address, which was asked alone", "wrong-address",
     "the camera says that this is its address, but it answers from 10.77.1.13",
     asked([](Camera& c) {
         c.text = c.picture = PortState::silent;
         c.answersQuery = false;
         c.namedFrom = "10.77.1.13";
     })},
    {"both of its addresses",
     "note: second-answer",
     "second answer of 10.77.1.11, over net1",
     found([](Camera&) {}),
     {here("Lab", ""), from("10.77.2.11")}},
    {"another's address, perhaps",
     "note: second-answer",
     "second answer of 10.77.1.11, over net1",
     found([](Camera&) {}),
     {from("10.77.2.11"), from("")}},
    {"own address", "no-camera-there", "this is this computer's own address", asked([](Camera& c) {
         c.isOwnAddress = true;
         c.text = c.picture = PortState::refused;
     })},
    // Whether it is there.
    {"no ARP", "absent", "nobody answers at this address", missingCamera(address)},
    {"no ARP alone", "absent", "nobody answers at this address",
     asked([](Camera& c) { c.answersArp = false; })},
    {"unreachable alone", "absent", "nobody answers at this address",
     asked([](Camera& c) { c.text = PortState::unreachable; })},
    {"silent alone", "absent", "nobody answers at this address",
     asked([](Camera& c) { c.text = PortState::silent; })},
    {"silent everywhere", "absent", "nobody answers at this address", asked([](Camera& c) {
         c.text = c.picture = PortState::silent;
         c.answersQuery = false;
     })},
    {"died, by ARP", "died-after-answer",
     "answered the search, then nothing at all: it has lost power or its cable, or restarts",
     found([](Camera& c) {
         c.answersArp = false;
         c.text = PortState::unreachable;
     })},
    {"died, known by ARP yet", "died-after-answer",
     "answered the search, then nothing at all: it has lost power or its cable, or restarts",
     found([](Camera& c) {
         c.answersArp = true;
         c.answersQuery = false;
         c.text = c.picture = PortState::silent;
     })},
    {"died, by the search's answers",
     "died-after-answer",
     "answered the search, then nothing at all: it has lost power or its cable, or restarts",
     missingCamera(address),
     {here("Lab", "")}},
    {"died after its identification", "died-after-answer",
     "answered before, then nothing at all: it has lost power or its cable, or restarts",
     ready([](Camera& c) {
         c.answersArp = c.answersQuery = false;
         c.text = c.picture = PortState::unreachable;
     })},
    {"a computer", "no-camera-there", "a computer is there, but no camera: it refuses TCP 32768 and 32769",
     asked([](Camera& c) {
         c.text = c.picture = PortState::refused;
         c.answersArp = true;
     })},
    // Its ports.
    {"text blocked, found", "text-port-blocked",
     "answered the search, then nothing on TCP 32768: a firewall?",
     found([](Camera& c) { c.text = PortState::silent; })},
    {"text blocked, picture open", "text-port-blocked",
     "somebody is there, but does not answer on TCP 32768: a firewall?", asked([](Camera& c) {
         c.text = PortState::silent;
         c.picture = PortState::open;
     })},
    {"text rejected, ARP", "text-port-blocked",
     "somebody is there, but does not answer on TCP 32768: a firewall?", asked([](Camera& c) {
         c.text = PortState::unreachable;
         c.answersArp = true;
     })},
    {"both blocked, query answered", "text-port-blocked",
     "somebody is there, but does not answer on TCP 32768 and 32769: a firewall?", asked([](Camera& c) {
         c.text = c.picture = PortState::silent;
         c.answersQuery = true;
     })},
    {"text refused", "text-port-refused", "refuses TCP 32768: a camera that still starts, or no camera",
     asked([](Camera& c) { c.text = PortState::refused; })},
    {"both refused, found", "text-port-refused",
     "refuses TCP 32768: a camera that still starts, or no camera",
     found([](Camera& c) { c.text = c.picture = PortState::refused; })},
    {"picture blocked", "picture-port-blocked",
     "answers on TCP 32768, but nothing comes on TCP 32769: a firewall?",
     ready([](Camera& c) { c.picture = PortState::silent; })},
    {"picture blocked alone", "picture-port-blocked",
     "no answer on TCP 32769: a firewall, or the camera is switched off",
     asked([](Camera& c) { c.picture = PortState::silent; })},
    {"picture refused", "picture-port-refused",
     "refuses TCP 32769, on which pictures come: it still starts, or has failed",
     ready([](Camera& c) { c.picture = PortState::refused; })},
    // Its answers.
    {"silent", "silent", "accepts the connection on TCP 32768, and answers nothing", answering("")},
    {"silent for as long as the user let it be asked", "took-too-long", "was not identified within 2 s",
     [] {
         Camera c = answering("");
         c.attempts = {attempt(Attempt::What::identification, {"10.77.1.11:32768: Took too long: 0 bytes"})};
         c.attempts[0].took = Milliseconds(2040);
         return c;
     }()},
    {"silent for as long as the doctor has asked", "silent",
     "accepts the connection on TCP 32768, and answers nothing",
     [] {
         Camera c = answering("");
         c.attempts = {attempt(Attempt::What::identification, {"10.77.1.11:32768: Took too long: 0 bytes"})};
         c.attempts[0].allowed = Milliseconds(800);
         return c;
     }()},
    {"garbage", "garbage", "answers on TCP 32768, but not as a camera does", answering("\x07\x99zz")},
    {"garbage that the plug-in took", "garbage", "answers on TCP 32768, but not as a camera does",
     ready([](Camera& c) {
         c.identity = Identity();
         c.identity->model = "Korva Meridian ";
         c.identity->width = 1676;
     })},
    {"no model, but a serial number", "note: unknown-model",
     "model (none) is unknown: that its pictures are 2748 x 1836 is what a sample of them showed",
     ready([](Camera& c) {
         c.identity->model = "Korva Meridian ";
         c.textAnswer.clear();
     })},
    {"old firmware", "old-firmware", "firmware 3.1.0, needs 3.2.15",
     answering("[Version --HW M61 --SW 3.1.0 --API 1.4]")},
    {"firmware just too old", "old-firmware", "firmware 3.2.14, needs 3.2.15",
     answering("[Version --HW XM61 --SW 3.2.14 --API 1.4]")},
    {"firmware just new enough", "", "", answering("[Version --HW M61 --SW 3.2.15 --API 1.4]")},
    {"firmware newer", "", "", answering("[Version --HW M61 --SW 4.0.0]")},
    {"firmware without three parts", "old-firmware", "firmware 3.9, needs 3.2.15",
     answering("[Version --HW M61 --SW 3.9 --API 1.4]")},
    {"firmware unknown", "old-firmware", "firmware of an unknown version, needs 3.2.15",
     answering("[Version --HW M61 --API 1.4]")},
    {"firmware that does not matter", "", "", answering("[Version --HW M615 --SW 1.0.0 --API 1.4]")},
    {"firmware told", "old-firmware", "firmware 3.1.0, needs 3.2.15",
     [] {
         Camera c = answering("--SW");
         c.toldModel = "M61";
         c.toldFirmware = "3.1.0";
         return c;
     }()},
    {"unknown model", "note: unknown-model",
     "model X99 is unknown: that its pictures are 2748 x 1836 is a guess",
     ready([](Camera& c) { c.identity->model = "Korva Meridian X99"; })},
    {"unknown model whose name is long enough to be measured", "note: unknown-model",
     "model X900 is unknown: that its pictures are 2748 x 1836 is what a sample of them showed",
     ready([](Camera& c) { c.identity->model = "Korva Meridian X900"; })},
    {"unknown model told", "note: unknown-model", "model (none) is unknown",
     answering("[Version --SW 3.2.15]")},
    {"unknown model that sends another size", "unknown-model",
     "the camera sent 1676 x 1266, it should send 2748 x 1836 (model X99 is unknown): what it should send is a "
     "guess",
     [] {
         Camera c =
             pictured({"Korva picture has the size 1676 x 1266, the camera's resolution is 2748 x 1836"});
         c.identity->model = "Korva Meridian X99";
         return c;
     }()},
    // What was tried.
    {"failed picture", "camera-error", "the camera refuses, with error 7",
     pictured({"Korva returned an error code: 7"})},
    {"picture that failed before it came", "", "", ready([](Camera& c) {
         c.attempts.insert(c.attempts.begin(),
                           attempt(Attempt::What::picture, {"Korva returned an error code: 7"}));
     })},
    {"failed attempt and a blocked port", "picture-port-blocked",
     "answers on TCP 32768, but nothing comes on TCP 32769: a firewall?",
     [] {
         Camera c = pictured({"Korva returned an error code: 7"});
         c.picture = PortState::silent;
         return c;
     }()},
    {"noted attempt", "note: camera-error", "the camera answers, with error 5",
     ready([](Camera& c) { c.attempts[1].errorCode = 5; })},
    {"UDP blocked", "note: discovery-blocked", "answers on TCP, but no search: a firewall?",
     ready([](Camera& c) { c.answersQuery = false; })},
    {"behind a router", "note: behind-router", "is behind a router, which a search does not cross",
     ready([](Camera& c) { c.isOnOwnNetwork = false; })},
    {"look failed", "note: look-failed", "could not be looked at: it is not permitted",
     asked([](Camera& c) { c.lookFailure = "it is not permitted"; })},
    {"probe that had less time than usual", "note: took-too-long",
     "did not answer the probe within 1.2 s, and there was no time to wait longer",
     ready([](Camera& c) {
         c.attempts[1] = attempt(Attempt::What::probe, {"Took too long: 1200 ms"});
         c.attempts[1].allowed = Milliseconds(1250);
     })},
    {"probe that failed in less time than usual", "camera-error", "the camera refuses, with error 5",
     ready([](Camera& c) {
         c.attempts[1] = attempt(Attempt::What::probe, {});
         c.attempts[1].errorCode = 5;
         c.attempts[1].allowed = Milliseconds(1250);
     })},
    {"identification that had less time than usual", "note: took-too-long",
     "was not identified within 0.8 s, and there was no time to wait longer",
     asked([](Camera& c) {
         c.text = c.picture = PortState::open;
         c.textAnswer = "[Version --HW M615 --SW 3.2.15 --API 1.4]";
         c.attempts = {attempt(Attempt::What::identification, {"Took too long: 800 ms"})};
         c.attempts[0].allowed = Milliseconds(800);
     })},
    // Its picture.
    {"all white", "overexposed", "100 % overexposed",
     ready([](Camera& c) { c.photo = PictureFacts{4, 4, 255, 255, 255.0, 1.0, 0.0, 255, 255, 255}; })},
};

class CameraRules : public testing::TestWithParam<Row> {};

} // namespace

TEST_P(CameraRules, SayWhyItCannotBeUsedOrWhatIsOdd) {
    const Row& row = GetParam();
    Facts facts;
    if (!row.answers.empty()) {
        facts.search = Search();
        facts.search->answers = row.answers;
    }
    facts.cameras = {row.camera};
    const auto verdict = verdictOn(facts.cameras[0], facts);
    const std::vector<std::string> codes = verdict ? codesOf({*verdict}) : std::vector<std::string>{""};
    EXPECT_EQ(codes.front(), row.code);
    EXPECT_EQ(verdict ? verdict->text : "", row.text);
    EXPECT_EQ(verdict ? verdict->address : row.camera.address, row.camera.address);
    EXPECT_FALSE(verdict && verdict->remedy.empty());
}

INSTANTIATE_TEST_SUITE_P(Each, CameraRules, testing::ValuesIn(rows));

TEST(CamerasAskedByThemselves, WithOneMacAddressAndTwoRoomsAreToldOfEachOther) {
    const auto holder = [](const std::string& own, const std::string& room) {
        Camera camera = readyCamera(own, room);
        camera.macAddresses = {"02-a"};
        return camera;
    };
    Facts facts;
    facts.cameras = {holder("10.77.1.11", "A"), holder("10.77.1.12", "B"), holder("10.77.1.13", "A")};
    const auto verdicts = verdictsOn(facts);
    EXPECT_EQ(verdicts[0]->text, "same MAC address 02-a as another camera: 10.77.1.12 (B)");
    EXPECT_EQ(verdicts[1]->text, "same MAC address 02-a as another camera: 10.77.1.11 (A)");
    EXPECT_EQ(verdicts[2]->text, verdicts[0]->text);
    facts.cameras[1].room = "A"; // one camera, perhaps
    EXPECT_FALSE(verdictOn(facts.cameras[0], facts));
}
