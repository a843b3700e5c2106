#pragma once
// Facts to start from: a healthy computer with cameras on two networks.

#include "Diagnosis/Facts.h"
#include "Diagnosis/Verdict.h"

#include <functional>
#include <string>
#include <vector>

namespace Diagnosis {

inline Adapter adapter(const std::string& name, const std::string& address,
                       const std::string& mask = "255.255.255.0") {
    Adapter made;
    made.name = name;
    made.macAddress = "02-00-00-00-00-" + name.substr(name.size() - 1) + "0";
    if (!address.empty())
        made.addresses.push_back({address, mask});
    return made;
}

inline Answer answer(const std::string& address, const std::string& room, const std::string& mac,
                     const std::string& adapter) {
    Answer made;
    made.address = made.source = address;
    made.room = room;
    made.macAddress = mac;
    made.adapter = adapter;
    return made;
}

inline Attempt attempt(Attempt::What what, const std::vector<std::string>& lines, bool succeeded = false) {
    Attempt made;
    made.what = what;
    made.succeeded = succeeded;
    for (const std::string& line : lines)
        made.lines.push_back({LogLine::Level::error, "Plenar.KorvaCamera.KorvaCapture", line});
    return made;
}

/// That answers whatever it is asked.
inline Camera readyCamera(const std::string& address, const std::string& room) {
    Camera camera;
    camera.address = address;
    camera.room = room;
    camera.answersQuery = camera.answersArp = true;
    camera.text = camera.picture = PortState::open;
    camera.textAnswer = "[Version --HW M615 --SW 3.2.15 --API 1.4]";
    Identity identity;
    identity.address = address;
    identity.model = "Korva Meridian M615";
    identity.serialNumber = "1234";
    identity.subnetMask = "255.255.255.0";
    identity.width = 2748;
    identity.height = 1836;
    camera.identity = identity;
    for (const auto what : {Attempt::What::identification, Attempt::What::probe, Attempt::What::picture})
        camera.attempts.push_back(attempt(what, {}, true));
    return camera;
}

/// Of which nothing is known yet.
inline Camera askedCamera(const std::string& address) {
    Camera camera;
    camera.address = address;
    camera.wasAskedFor = true;
    return camera;
}

/// That nothing comes back from.
inline Camera missingCamera(const std::string& address) {
    Camera camera = askedCamera(address);
    camera.answersQuery = camera.answersArp = false;
    camera.text = camera.picture = PortState::unreachable;
    return camera;
}

/// The computer alone: two networks, no search.
inline Facts computer() {
    Facts facts;
    facts.adapters = {adapter("lo", "127.0.0.1", "255.0.0.0"), adapter("net1", "10.77.1.1"),
                      adapter("net2", "10.77.2.1")};
    facts.adapters.front().isLoopback = true;
    return facts;
}

/// A search that nobody answers, and no camera known.
inline Facts quiet() {
    Facts facts = computer();
    facts.search = Search();
    return facts;
}

/// A camera in each network, both found and ready.
inline Facts healthy() {
    Facts facts = quiet();
    facts.search->answers = {answer("10.77.1.11", "Lab 1", "02-4b-00-01-00-01", "net1"),
                             answer("10.77.2.11", "Lab 2", "02-4b-00-02-00-01", "net2")};
    facts.cameras = {readyCamera("10.77.1.11", "Lab 1"), readyCamera("10.77.2.11", "Lab 2")};
    for (Camera& camera : facts.cameras)
        camera.answeredSearch = true;
    return facts;
}

/// The facts after a change.
inline Facts with(Facts facts, const std::function<void(Facts&)>& change) {
    change(facts);
    return facts;
}

/// The codes, "note: " before those of notes.
inline std::vector<std::string> codesOf(const std::vector<Verdict>& verdicts) {
    std::vector<std::string> codes;
    for (const Verdict& verdict : verdicts)
        codes.push_back((verdict.severity == Severity::note ? "note: " : "") + verdict.code);
    return codes;
}

} // namespace Diagnosis
