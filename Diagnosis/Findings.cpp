#include "Findings.h"

#include "Beginning.h"
#include "FactsIndex.h"
#include "Printable.h"
#include "Rules.h"
#include "RulesOfSearch.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>

namespace Diagnosis {

namespace {

using Status = Finding::Status;
using Codes = std::initializer_list<std::string_view>;

/// What is shown of a camera's answer.
constexpr std::size_t shownAnswerBytes = 80;

/// The lines so far, and which causes have shown.
class Lines {
public:
    explicit Lines(const std::vector<Verdict>& causes) {
        for (const Verdict& cause : causes)
            waiting_.push_back(&cause);
    }

    /// Adds a line. If one of these causes is about the same address, and the same adapter where one is
    /// given, the line is its place.
    void add(std::string_view look, Status status, std::string seen, const std::string& address,
             const std::vector<std::string_view>& codes, const std::string& adapter = {}) {
        Finding finding{std::string(look), status, std::move(seen), address, {}};
        const auto isHere = [&](const Verdict* cause) {
            const bool isAboutIt = adapter.empty() || cause->adapter.empty() || cause->adapter == adapter;
            const bool isOfAdapter = !adapter.empty() && cause->adapter == adapter && cause->address.empty();
            return isAboutIt && (isOfAdapter || cause->address == address) &&
                   std::find(codes.begin(), codes.end(), cause->code) != codes.end();
        };
        const auto cause = std::find_if(waiting_.begin(), waiting_.end(), isHere);
        if (cause != waiting_.end()) {
            show(**cause, finding);
            waiting_.erase(cause);
        }
        lines_.push_back(std::move(finding));
    }

    /// Adds a line about this computer, with what to do.
    void addNote(std::string_view look, std::string seen, std::string remedy) {
        lines_.push_back({std::string(look), Status::note, std::move(seen), "", std::move(remedy)});
    }

    /// Adds a line for each cause about this address that has not shown yet.
    void addWaiting(const std::string& address) {
        for (const Verdict* cause : waiting_)
            if (cause->address == address)
                addCause(*cause);
        std::erase_if(waiting_, [&](const Verdict* cause) { return cause->address == address; });
    }

    std::vector<Finding> take() {
        for (const Verdict* cause : waiting_)
            addCause(*cause);
        return std::move(lines_);
    }

private:
    static Status statusOf(const Verdict& cause) {
        return cause.severity == Severity::failure ? Status::failure : Status::note;
    }

    /// What looks well says nothing of what is wrong; a picture's numbers do.
    static void show(const Verdict& cause, Finding& finding) {
        if (finding.status == Status::ok && finding.look != "picture")
            finding.seen += ": " + cause.text;
        finding.status = statusOf(cause);
        finding.remedy = cause.remedy;
    }

    void addCause(const Verdict& cause) {
        lines_.push_back({cause.code, statusOf(cause), cause.text, cause.address, cause.remedy});
    }

    std::vector<const Verdict*> waiting_;
    std::vector<Finding> lines_;
};

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string timeText(Milliseconds time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", std::chrono::duration<double>(time).count());
    return text.data();
}

void addOwnAddress(Lines& lines, const Adapter& adapter, const OwnAddress& own) {
    const std::string mask = ", with the mask " + own.mask;
    if (own.address.starts_with("169.254."))
        lines.add("own-address", Status::note, adapter.name + " gave itself " + own.address + mask, "",
                  {"link-local-address"}, adapter.name);
    else
        lines.add("own-address", Status::ok, "of " + adapter.name + mask, own.address,
                  {"own-address-taken", "wrong-mask"}, adapter.name);
}

void addAdapter(Lines& lines, const Adapter& adapter) {
    if (!adapter.isUp)
        return lines.add("adapter", Status::note, adapter.name + " is switched off", "", {"adapter-down"},
                         adapter.name);
    if (!adapter.hasLink)
        return lines.add("adapter", Status::note, adapter.name + " has nothing at the other end of its cable",
                         "", {"no-link"}, adapter.name);
    lines.add("adapter", Status::ok, adapter.name + " is on, and connected", "", {});
    if (adapter.addresses.empty() && !adapter.isPart)
        lines.add("own-address", Status::note, adapter.name + " has no address", "", {"no-address"},
                  adapter.name);
    for (const OwnAddress& own : adapter.addresses)
        addOwnAddress(lines, adapter, own);
}

void addComputer(Lines& lines, const Facts& facts) {
    if (!facts.adaptersKnown)
        lines.add("adapter", Status::failure, "the system does not tell of its adapters", "", {"no-adapter"});
    for (const Adapter& adapter : facts.adapters)
        if (!adapter.isLoopback)
            addAdapter(lines, adapter);
    const bool mayNobodyAsk = facts.commands == CommandSet::netsh;
    if (facts.askedByArp == false && mayNobodyAsk)
        lines.addNote("own-address",
                      "whether another device has one of these addresses is not known: this system does not "
                      "let programs ask",
                      "");
    else if (facts.askedByArp == false)
        lines.addNote("own-address",
                      "whether another device has one of these addresses is not known: to ask takes an "
                      "administrator's rights",
                      "sudo korva doctor");
    lines.add("default-route", Status::ok,
              facts.defaultGateway.empty() ? "there is none" : "leads to " + facts.defaultGateway, "", {});
    const auto silent = std::count_if(facts.neighbours.begin(), facts.neighbours.end(),
                                      [](const Neighbour& each) { return each.macAddress.empty(); });
    lines.add("neighbours", Status::ok,
              std::to_string(static_cast<std::ptrdiff_t>(facts.neighbours.size()) - silent) + " known, " +
                  std::to_string(silent) + " did not answer",
              "", {});
}

bool isSearched(const SearchedNetwork& network) {
    return network.outcome == SearchedNetwork::Outcome::searched ||
           network.outcome == SearchedNetwork::Outcome::linkLocal;
}

std::string outcomeText(const SearchedNetwork& network) {
    using Outcome = SearchedNetwork::Outcome;
    if (isSearched(network))
        return "asked everybody at " + network.broadcast;
    const bool wasTried = network.outcome == Outcome::refused || network.outcome == Outcome::noLink;
    return (wasTried ? "" : "not searched: ") + whyNotSearched(network);
}

void addSearch(Lines& lines, const Search& search) {
    for (const SearchedNetwork& network : search.networks) {
        const std::string seen = network.adapter + ": " + outcomeText(network);
        using Outcome = SearchedNetwork::Outcome;
        if (network.outcome == Outcome::refused)
            lines.add("search", Status::failure, seen, "", {"adapter-refused"}, network.adapter);
        else
            lines.add("search", isSearched(network) ? Status::ok : Status::note, seen, "", {});
    }
    if (!search.failure.empty())
        lines.add("search", Status::failure, search.failure, "", {"search-failed", "no-adapter"});
    if (!search.cut.empty())
        lines.add("search", Status::note, search.cut, "", {"search-cut"});
    lines.add("search", search.answers.empty() ? Status::note : Status::ok,
              counted(search.answers.size(), "answer", "answers"), "",
              {"no-camera", "discovery-blocked", "broadcast-lost", "too-many-answers"});
    for (const StrangeAnswer& strange : search.strange)
        lines.add("search", Status::note, "sent what is no camera's answer", strange.source,
                  {"strange-answer"});
}

std::string whoAnswered(const std::string& room) {
    return room.empty() ? "answered" : room + " answered";
}

void addOtherNetworks(Lines& lines, const Facts& facts) {
    if (facts.foreign.empty() && facts.limitedOnly.empty())
        return lines.add("other-networks", Status::ok,
                         "nobody answered from a network that is not this computer's", "", {});
    for (const Answer& answer : facts.foreign)
        lines.add("other-networks", Status::note,
                  whoAnswered(answer.room) + (answer.adapter.empty() ? "" : " over " + answer.adapter) +
                      ", from a network that is not this computer's",
                  answer.address, {"other-subnet"});
    for (const Answer& answer : facts.limitedOnly)
        lines.add("other-networks", Status::note,
                  whoAnswered(answer.room) + " a query to everybody, and none to the network", answer.address,
                  {"wrong-mask"});
}

void addWay(Lines& lines, const Camera& camera) {
    if (!camera.hasRoute)
        return lines.add("route", Status::failure, "no route leads there", camera.address, {"no-route"});
    if (camera.text == PortState::notLooked)
        return;
    lines.add("route", Status::ok,
              camera.isOnOwnNetwork ? "on a network of this computer's" : "behind a router", camera.address,
              {});
    if (!camera.answersArp)
        return;
    std::string machines;
    for (const std::string& mac : camera.macAddresses)
        machines += (machines.empty() ? "" : ", ") + mac;
    lines.add("arp", *camera.answersArp ? Status::ok : Status::failure,
              !*camera.answersArp ? "nobody there"
              : machines.empty()  ? "somebody there"
                                  : machines,
              camera.address, {"absent", "duplicate-address", "duplicate-mac", "died-after-answer"});
}

void addQuery(Lines& lines, const Camera& camera) {
    if (camera.answeredSearch)
        lines.add("search", Status::ok, whoAnswered(camera.room), camera.address,
                  {"second-answer", "duplicate-address", "duplicate-mac", "wrong-address"});
    if (camera.answersQuery)
        lines.add("query", *camera.answersQuery ? Status::ok : Status::note,
                  *camera.answersQuery ? "answers on UDP 32768" : "no answer on UDP 32768", camera.address,
                  {"discovery-blocked", "broadcast-lost", "second-answer", "wrong-address"});
}

void addPort(Lines& lines, std::string_view look, const std::string& port, PortState state,
             const Camera& camera, Codes codes) {
    static constexpr std::array states = {"", "open", "refused", "no answer", "unreachable", "not looked: "};
    if (state == PortState::notLooked)
        return;
    lines.add(look, state == PortState::open ? Status::ok : Status::failure,
              "TCP " + port + ": " + states[static_cast<std::size_t>(state)] +
                  (state == PortState::failed ? camera.lookFailure : ""),
              camera.address, codes);
}

void addPorts(Lines& lines, const Camera& camera) {
    addPort(lines, "text-port", "32768", camera.text, camera,
            {"text-port-blocked", "text-port-refused", "no-camera-there", "died-after-answer", "absent"});
    addPort(lines, "picture-port", "32769", camera.picture, camera,
            {"picture-port-blocked", "picture-port-refused"});
    if (camera.text != PortState::open)
        return;
    if (camera.textAnswer.empty())
        return lines.add("text-answer", Status::failure, "no answer to the question for its version",
                         camera.address, {"silent"});
    lines.add("text-answer", Status::ok, std::string(beginningOf(camera.textAnswer, shownAnswerBytes)),
              camera.address, {"garbage", "old-firmware"});
}

std::string identityText(const Identity& camera) {
    return camera.model + ", serial number " + camera.serialNumber + ", firmware " + camera.firmware + ", " +
           std::to_string(camera.width) + " x " + std::to_string(camera.height) + " pixels";
}

std::string pictureText(const PictureFacts& photo) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%u x %u pixels of %u to %u, %.1f %% overexposed, %.1f %% black",
                  photo.width, photo.height, photo.minimum, photo.maximum, 100.0 * photo.clipped,
                  100.0 * photo.black);
    return text.data();
}

std::string seenOf(const Attempt& attempt, const Camera& camera) {
    if (attempt.what == Attempt::What::identification)
        return attempt.succeeded && camera.identity ? identityText(*camera.identity) : "not identified";
    if (attempt.what == Attempt::What::probe)
        return attempt.errorCode   ? "it answers, with error " + std::to_string(*attempt.errorCode)
               : attempt.succeeded ? "it answers"
                                   : "no answer";
    return attempt.succeeded && camera.photo ? pictureText(*camera.photo) : "no picture";
}

/// Whether it failed for want of time alone, which says nothing of the camera.
bool wasCutShort(const Attempt& attempt, const Camera& camera) {
    if (attempt.succeeded || attempt.allowed == attempt.allowed.zero())
        return false;
    const std::optional<Verdict> verdict = verdictOn(attempt, camera);
    return verdict && verdict->severity == Severity::note;
}

std::vector<std::string_view> causesAt(const Attempt& attempt, const Camera& camera) {
    if (wasCutShort(attempt, camera))
        return {"took-too-long"};
    std::vector<std::string_view> codes;
    if (attempt.what == Attempt::What::identification)
        codes = {"old-firmware", "unknown-model", "another-camera"};
    if (attempt.what == Attempt::What::picture)
        codes = {"dark",       "overexposed",     "all-black",       "exposure-too-long",
                 "wrong-size", "picture-garbage", "damaged-picture", "no-picture"};
    const bool isBroken = !attempt.succeeded || attempt.errorCode;
    if (isBroken)
        codes.insert(codes.end(), {"silent", "garbage", "camera-error", "connection-lost", "took-too-long",
                                   "too-slow", "no-memory", "plugin-failed"});
    return codes;
}

void addAttempt(Lines& lines, const Attempt& attempt, const Camera& camera) {
    static constexpr std::array looks = {"identity", "probe", "picture"};
    const bool isOdd = wasCutShort(attempt, camera) || (attempt.succeeded && attempt.errorCode);
    const Status status = isOdd ? Status::note : attempt.succeeded ? Status::ok : Status::failure;
    lines.add(looks[static_cast<std::size_t>(attempt.what)], status,
              seenOf(attempt, camera) + ", after " + timeText(attempt.took), camera.address,
              causesAt(attempt, camera));
}

void addCamera(Lines& lines, const Camera& camera) {
    addQuery(lines, camera);
    addWay(lines, camera);
    addPorts(lines, camera);
    for (const Attempt& attempt : camera.attempts)
        addAttempt(lines, attempt, camera);
    lines.addWaiting(camera.address);
}

} // namespace

const char* nameOf(Finding::Status status) {
    static constexpr std::array names = {"ok", "note", "FAIL"};
    return names[static_cast<std::size_t>(status)];
}

std::string wordsOf(const Finding& finding) {
    const std::string place = finding.address.empty() ? "" : finding.address + ": ";
    const std::string remedy = finding.remedy.empty() ? "" : "; try: " + finding.remedy;
    return printable(place + finding.seen + remedy);
}

std::vector<Finding> findingsOf(const Facts& facts, const std::vector<Verdict>& causes) {
    Lines lines(causes);
    addComputer(lines, facts);
    if (facts.search) {
        addSearch(lines, *facts.search);
        addOtherNetworks(lines, facts);
    }
    lines.addWaiting("");
    for (const Camera* const camera : sortedByAddress(facts.cameras))
        addCamera(lines, *camera);
    return lines.take();
}

} // namespace Diagnosis
