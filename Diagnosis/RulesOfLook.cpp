// What a look at an address says of the camera there: tables in the order in which a cause comes before
// another.

#include "Ipv4.h"
#include "PictureRules.h"
#include "Printable.h"
#include "RulesOfCamera.h"
#include "SeenCamera.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <sstream>

namespace Diagnosis {

namespace {

constexpr std::array neededFirmware = {3, 2, 15};

/// A cause, if it holds. The first row that does decides.
struct CameraRule {
    const char* code;
    std::function<bool(const SeenCamera&)> holds;
    std::function<std::string(const SeenCamera&)> text;
    const char* remedy; ///< null: the command that puts this computer into the camera's network
};

std::function<std::string(const SeenCamera&)> says(const char* text) {
    return [text](const SeenCamera&) { return std::string(text); };
}

/// The first of them, and how many more there are.
std::string listed(const std::set<std::string>& texts) {
    constexpr std::size_t most = 4;
    std::string all;
    std::size_t count = 0;
    for (const std::string& text : texts)
        if (++count <= most)
            all += (all.empty() ? "" : ", ") + printable(text);
    return count <= most ? all : all + " and " + std::to_string(count - most) + " more";
}

std::string duplicateText(const SeenCamera& seen) {
    const std::set<std::string> rooms = seen.rooms();
    return "same address as another camera: " +
           (rooms.size() > 1 ? listed(rooms) : "MAC addresses " + listed(seen.macs()));
}

/// Where the answers came from that name this address, the first of them; empty if one may have come from
/// there: a camera on two networks answers from both of its addresses.
std::string otherSource(const SeenCamera& seen) {
    if (seen.answers.empty() && seen.camera.answersQuery != true)
        return seen.camera.namedFrom;
    for (const Answer* const answer : seen.answers)
        if (answer->source.empty() || answer->source == placeOf(seen.camera))
            return {};
    return seen.answers.empty() ? std::string() : seen.answers.front()->source;
}

/// The adapter in whose network the address stands for all; null if there is none.
const Adapter* adapterWhoseAllItIs(const SeenCamera& seen) {
    const std::string& place = placeOf(seen.camera);
    for (const Adapter& adapter : seen.index.adapters)
        for (const OwnAddress& own : adapter.addresses) {
            const std::uint32_t hosts = ~ipv4Number(own.mask).value_or(0xFFFFFFFFu);
            const bool hasBroadcasts = hosts > 1 && isInNetworkOf(own, place);
            if (hasBroadcasts && (ipv4Number(place).value_or(0) & hosts) == hosts)
                return &adapter;
        }
    return nullptr;
}

std::string ownNetworks(const FactsIndex& index) {
    std::string all;
    for (const Adapter& adapter : index.adapters)
        if (!adapter.addresses.empty())
            all += (all.empty() ? "" : ", ") + printable(adapter.name) + " " + addressesOf(adapter);
    return all.empty() ? "" : " (" + all + ")";
}

std::string shutPorts(const SeenCamera& seen) {
    return isShut(seen.camera.picture) ? "TCP 32768 and 32769" : "TCP 32768";
}

std::string textPortBlocked(const SeenCamera& seen) {
    if (seen.hasAnswered)
        return "answered the search, then nothing on " + shutPorts(seen) + ": a firewall?";
    return "somebody is there, but does not answer on " + shutPorts(seen) + ": a firewall?";
}

std::string firmwareText(const std::string& firmware) {
    const std::string found = firmware.empty() ? "of an unknown version" : printable(firmware);
    return "firmware " + found + ", needs 3.2.15";
}

/// Whether the plug-in takes a camera of this model with this firmware.
bool isNewEnough(const std::string& model, const std::string& firmware) {
    constexpr std::size_t taken = 2; // for M61 as well
    if (!model.ends_with("M61") && model.size() != taken)
        return true;
    std::vector<int> parts;
    std::istringstream pieces(firmware);
    for (std::string piece; std::getline(pieces, piece, '.');)
        parts.push_back(static_cast<std::uint8_t>(std::strtol(piece.c_str(), nullptr, 10)));
    return parts.size() == neededFirmware.size() &&
           !std::lexicographical_compare(parts.begin(), parts.end(), neededFirmware.begin(),
                                         neededFirmware.end());
}

std::string remedyByJoining(const SeenCamera& seen) {
    const std::vector<Adapter>& adapters = seen.index.adapters;
    const auto joinable = std::find_if(adapters.begin(), adapters.end(), [](const Adapter& adapter) {
        return adapter.isUp && adapter.hasLink && mayLeadToCameras(adapter);
    });
    if (joinable == adapters.end())
        return "check the address, and this computer's network adapters";
    const OwnAddress theirs{placeOf(seen.camera), maskOf({})};
    return "check the address; if the camera is on the cable of " + printable(joinable->name) + ": " +
           commandToJoin(seen.index, joinable->name, theirs);
}

constexpr auto checkPower = "check the address, the cable and the camera's power";
constexpr auto openFirewall =
    "let TCP 32768 and 32769 through the firewall of this computer and of the network; restart the camera";
constexpr auto isItStarted = "check that this is a Korva camera and that it has finished starting";
constexpr auto restartAndCheck = "restart the camera; if it stays so, check that this is a Korva camera";

bool isUnknownName(const SeenCamera& seen) {
    const std::string& reason = seen.camera.unknownName;
    return !reason.empty() && !isNameServiceSilent(reason) && !seen.camera.identity;
}

const std::vector<CameraRule>& networkRules() {
    static const std::vector<CameraRule> rules = {
        {"unknown-name", isUnknownName, says("no computer knows this name"),
         "check the name, or give the camera's IPv4 address"},
        {"unknown-name",
         // An attempt to connect waits longer for the name, and tells more.
         [](const SeenCamera& seen) {
             return isNameServiceSilent(seen.camera.unknownName) && !seen.camera.identity &&
                    seen.camera.attempts.empty();
         },
         says(nameServiceSilent), tryNameAgain},
        {"duplicate-address", [](const SeenCamera& seen) { return seen.sharesItsAddress(); }, duplicateText,
         "give one of the cameras another address: unplug all but one of them to reach it"},
        {"duplicate-mac", [](const SeenCamera& seen) { return seen.sharesItsMac(); },
         [](const SeenCamera& seen) {
             const FactsIndex::Holder other = *seen.otherWithItsMac();
             return "same MAC address " + printable(seen.oneMac()) +
                    " as another camera: " + printable(std::string(other.address)) + " (" +
                    printable(std::string(other.room)) + ")";
         },
         "use one of the two at a time, or each in a network of its own; ask for another MAC address"},
        {"wrong-address",
         [](const SeenCamera& seen) {
             return !otherSource(seen).empty() && seen.camera.text != PortState::open &&
                    !seen.camera.identity;
         },
         [](const SeenCamera& seen) {
             return "the camera says that this is its address, but it answers from " +
                    printable(otherSource(seen));
         },
         "correct the address in the camera's settings, or use the one it answers from"},
        {"no-camera-there",
         [](const SeenCamera& seen) {
             return seen.camera.isOwnAddress && seen.camera.text == PortState::refused;
         },
         says("this is this computer's own address"),
         "check the camera's address; if it has this one, give this computer another one"},
        {"not-an-address", [](const SeenCamera& seen) { return adapterWhoseAllItIs(seen) != nullptr; },
         [](const SeenCamera& seen) {
             return "is the broadcast address of " + printable(adapterWhoseAllItIs(seen)->name) +
                    ": it stands for all";
         },
         "the IPv4 address of one camera"},
        {"no-route", [](const SeenCamera& seen) { return !seen.camera.hasRoute && !seen.isAlive; },
         [](const SeenCamera& seen) {
             return "this computer has no way to this address: it is in none of its networks" +
                    ownNetworks(seen.index);
         },
         nullptr},
        {"other-subnet",
         [](const SeenCamera& seen) { return !seen.isBesideUs() && seen.isSilent() && !seen.hasAnswered; },
         [](const SeenCamera& seen) {
             return "nobody answers; the address is in none of this computer's networks" +
                    ownNetworks(seen.index);
         },
         nullptr},
    };
    return rules;
}

/// Whether ARP, or the system for want of it, says that nobody is there; or nothing at all comes back.
bool isGone(const SeenCamera& seen) {
    const Camera& camera = seen.camera;
    if (isOpenOrRefused(camera.text) || isOpenOrRefused(camera.picture) || camera.answersQuery == true)
        return false;
    const bool isUnreachable =
        camera.text == PortState::unreachable || camera.picture == PortState::unreachable;
    if (camera.answersArp == false || (isUnreachable && camera.answersArp != true))
        return true;
    return isShut(camera.text) && isShut(camera.picture) && camera.answersQuery == false;
}

bool isAbsent(const SeenCamera& seen) {
    if (seen.hasAnswered || seen.camera.answersArp == true)
        return false;
    return isGone(seen) || (isShut(seen.camera.text) && seen.isSilent());
}

const std::vector<CameraRule>& presenceRules() {
    static const std::vector<CameraRule> rules = {
        {"died-after-answer",
         [](const SeenCamera& seen) { return (seen.hasAnswered || seen.camera.identity) && isGone(seen); },
         [](const SeenCamera& seen) {
             return std::string(seen.hasAnswered ? "answered the search" : "answered before") +
                    ", then nothing at all: it has lost power or its cable, or restarts";
         },
         "check the camera's power and cable; search again in a minute"},
        {"absent", isAbsent, says("nobody answers at this address"), checkPower},
        {"no-camera-there",
         [](const SeenCamera& seen) {
             const Camera& camera = seen.camera;
             return camera.text == PortState::refused && camera.picture == PortState::refused &&
                    !seen.hasAnswered && camera.answersQuery != true;
         },
         says("a computer is there, but no camera: it refuses TCP 32768 and 32769"), isItStarted},
    };
    return rules;
}

const std::vector<CameraRule>& textPortRules() {
    static const std::vector<CameraRule> rules = {
        {"text-port-refused", [](const SeenCamera& seen) { return seen.camera.text == PortState::refused; },
         says("refuses TCP 32768: a camera that still starts, or no camera"), isItStarted},
        {"text-port-blocked", [](const SeenCamera& seen) { return isShut(seen.camera.text); },
         textPortBlocked, openFirewall},
    };
    return rules;
}

/// The plug-in takes an answer without a word of the camera's language for one that says nothing.
bool isGarbage(const SeenCamera& seen) {
    if (seen.camera.identity)
        return seen.isBlank();
    const std::string& answer = seen.camera.textAnswer;
    return !answer.empty() && answer.find("--HW") == std::string::npos &&
           answer.find("--SW") == std::string::npos;
}

bool isMute(const SeenCamera& seen) {
    const Camera& camera = seen.camera;
    return camera.text == PortState::open && camera.textAnswer.empty() && !camera.identity &&
           camera.lookFailure.empty();
}

/// The identification that the user's limit ended; null if the last one had its time.
const Attempt* cutIdentification(const SeenCamera& seen) {
    if (seen.camera.attempts.empty())
        return nullptr;
    const Attempt& last = seen.camera.attempts.back();
    const bool isCut = std::any_of(last.lines.begin(), last.lines.end(), [](const LogLine& line) {
        return line.level >= LogLine::Level::warn &&
               line.message.find("Took too long: ") != std::string::npos;
    });
    const bool isIdentification = last.what == Attempt::What::identification && !last.succeeded;
    return isIdentification && isCut && last.allowed == last.allowed.zero() ? &last : nullptr;
}

/// It may be slow: nobody has waited as long as its answer may take.
bool hadNoTime(const SeenCamera& seen) {
    const bool isSearchCut = seen.index.facts.search && !seen.index.facts.search->cut.empty();
    return isMute(seen) && (cutIdentification(seen) != nullptr || isSearchCut);
}

std::string noTimeText(const SeenCamera& seen) {
    constexpr Milliseconds unit{100};
    const Attempt* const cut = cutIdentification(seen);
    return cut == nullptr
               ? "was not identified before the search was cut"
               : "was not identified within " + secondsText(static_cast<int>(cut->took / unit)) + " s";
}

const std::vector<CameraRule>& answerRules() {
    static const std::vector<CameraRule> rules = {
        {"took-too-long", hadNoTime, noTimeText, "a longer --max-time"},
        {"silent", isMute, says("accepts the connection on TCP 32768, and answers nothing"), restartAndCheck},
        {"garbage", isGarbage, says("answers on TCP 32768, but not as a camera does"), restartAndCheck},
        {"old-firmware",
         [](const SeenCamera& seen) {
             const Camera& camera = seen.camera;
             return !camera.textAnswer.empty() && !isNewEnough(seen.model(), seen.firmware());
         },
         [](const SeenCamera& seen) { return firmwareText(seen.firmware()); },
         "update the camera's firmware"},
    };
    return rules;
}

const std::vector<CameraRule>& picturePortRules() {
    static const std::vector<CameraRule> rules = {
        {"picture-port-refused",
         [](const SeenCamera& seen) { return seen.camera.picture == PortState::refused; },
         says("refuses TCP 32769, on which pictures come: it still starts, or has failed"),
         "wait a minute, then restart the camera"},
        {"picture-port-blocked", [](const SeenCamera& seen) { return isShut(seen.camera.picture); },
         [](const SeenCamera& seen) {
             return seen.camera.text == PortState::open || seen.camera.identity
                        ? std::string("answers on TCP 32768, but nothing comes on TCP 32769: a firewall?")
                        : std::string("no answer on TCP 32769: a firewall, or the camera is switched off");
         },
         openFirewall},
    };
    return rules;
}

std::optional<Verdict> firstOf(const std::vector<CameraRule>& rules, const SeenCamera& seen) {
    for (const CameraRule& rule : rules)
        if (rule.holds(seen))
            return verdictWith(seen.camera, rule.code, Severity::failure, rule.text(seen),
                               rule.remedy == nullptr ? remedyByJoining(seen)
                                                      : withAddress(rule.remedy, seen.camera.address));
    return std::nullopt;
}

} // namespace

std::optional<Verdict> verdictOnConnection(const Camera& camera, int port) {
    const Facts none;
    const FactsIndex index(none);
    const SeenCamera seen(camera, index);
    if (std::optional<Verdict> verdict = firstOf(presenceRules(), seen))
        return verdict;
    return firstOf(port == 32768 ? textPortRules() : picturePortRules(), seen);
}

std::optional<Verdict> verdictOnLook(const SeenCamera& seen) {
    for (const auto* const rules :
         {&networkRules(), &presenceRules(), &textPortRules(), &answerRules(), &picturePortRules()})
        if (std::optional<Verdict> verdict = firstOf(*rules, seen))
            return verdict;
    return std::nullopt;
}

} // namespace Diagnosis
