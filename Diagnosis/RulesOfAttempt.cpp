// Why an attempt failed.

#include "Printable.h"
#include "Rules.h"
#include "RulesOfCamera.h"
#include "RulesOfLines.h"
#include "RulesOfTool.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

namespace Diagnosis {

namespace {

/// What an attempt left behind, in the order it came. Lines below a warning are left out: they hold the
/// camera's own words, which may read like any sign.
std::vector<std::string> textsOf(const Attempt& attempt) {
    std::vector<std::string> texts;
    for (const LogLine& line : attempt.lines)
        if (line.level >= LogLine::Level::warn)
            texts.push_back(line.message);
    if (!attempt.reason.empty())
        texts.push_back(attempt.reason);
    return texts;
}

bool tellsOf(std::string_view text, std::errc code) {
    return text.find(transportText(code)) != std::string_view::npos;
}

PortState portStateIn(std::string_view text) {
    const auto says = [text](std::errc code) { return tellsOf(text, code); };
    if (says(std::errc::connection_refused))
        return PortState::refused;
    if (says(std::errc::host_unreachable))
        return PortState::unreachable;
    if (says(std::errc::timed_out))
        return PortState::silent;
    return PortState::notLooked;
}

/// What the transport says of its attempt to connect: "ADDRESS:PORT: connect failed: REASON".
std::optional<Verdict> verdictOnConnect(const std::vector<std::string>& texts, const Camera& camera) {
    for (const int port : {textPort, picturePort}) {
        const std::string reason = behind(texts, ":" + std::to_string(port) + ": connect failed: ");
        Camera learnt = camera;
        PortState& state = port == textPort ? learnt.text : learnt.picture;
        state = portStateIn(reason);
        if (tellsOf(reason, std::errc::network_unreachable))
            return verdictWith(camera, "no-route", Severity::failure,
                               "this computer has no way to this address",
                               "check the address and this computer's network settings");
        if (tellsOf(reason, std::errc::operation_not_permitted) ||
            tellsOf(reason, std::errc::permission_denied))
            return verdictWith(camera, port == textPort ? "text-port-blocked" : "picture-port-blocked",
                               Severity::failure,
                               "this computer does not let the connection out: a firewall?",
                               "let TCP 32768 and 32769 through the firewall of this computer");
        if (state == PortState::notLooked)
            continue;
        if (!learnt.answersArp && textWith(texts, "Couldn't retrieve MAC address with ARP call") != nullptr)
            learnt.answersArp = false;
        if (port == picturePort && textWith(texts, "Determine resolution from image grab") != nullptr)
            learnt.text = PortState::open; // it has told its model
        if (std::optional<Verdict> verdict = verdictOnConnection(learnt, port))
            return verdict;
    }
    return std::nullopt;
}

std::optional<Verdict> firstOf(const std::vector<LineRule>& rules, const Tried& tried) {
    for (const LineRule& rule : rules) {
        const bool isSaid =
            std::any_of(rule.signs.begin(), rule.signs.end(),
                        [&tried](const std::string& sign) { return textWith(tried.texts, sign) != nullptr; });
        if (isSaid && (rule.holds == nullptr || rule.holds(tried)))
            return verdictWith(tried.camera, rule.code, rule.severity, rule.text(tried),
                               withAddress(rule.remedy, tried.camera.address));
    }
    return std::nullopt;
}

std::optional<Verdict> verdictOnTexts(const Tried& tried) {
    if (std::optional<Verdict> verdict = firstOf(rulesBeforeConnecting(), tried))
        return verdict;
    if (std::optional<Verdict> verdict = verdictOnConnect(tried.texts, tried.camera))
        return verdict;
    for (const auto* const rules : {&rulesOfIdentification(), &rulesOfPictures(), &rulesOfAnswers()})
        if (std::optional<Verdict> verdict = firstOf(*rules, tried))
            return verdict;
    return std::nullopt;
}

/// What a text says itself, without what the plug-in and the transport put before it.
std::string essenceOf(std::string text) {
    for (const char* const beginning :
         {"Communicator error trying to get sample image: ", "Communicator error: ", " failed: "}) {
        const std::size_t at = text.find(beginning);
        if (at != std::string::npos)
            text.erase(0, at + std::string_view(beginning).size());
    }
    return printable(text.substr(std::min(text.find_first_not_of(' '), text.size())));
}

/// The last that says more than that there was a failure; empty if none does.
std::string lastEssence(const Attempt& attempt) {
    if (!attempt.reason.empty())
        return essenceOf(attempt.reason);
    for (auto line = attempt.lines.rbegin(); line != attempt.lines.rend(); ++line) {
        const bool saysNothing = line->message == "DeviceException while determining camera info." ||
                                 line->message == "Failed to capture Korva image" ||
                                 line->message.starts_with("Couldn't retrieve MAC address");
        if (line->level >= LogLine::Level::warn && !saysNothing)
            return essenceOf(line->message);
    }
    return {};
}

struct Usual {
    const char* code;
    const char* text;
    const char* briefly;
};

constexpr Usual usual[] = {{"not-identified", "the camera was not identified", "was not identified"},
                           {"no-answer", "the camera does not answer", "did not answer the check"},
                           {"no-picture", "the camera gave no picture", "gave no picture"}};

/// Of a failure that no rule knows.
Verdict unexplained(const Attempt& attempt, const Camera& camera) {
    const Usual& what = usual[static_cast<std::size_t>(attempt.what)];
    const std::string essence = lastEssence(attempt);
    return verdictWith(camera, what.code, Severity::failure,
                       essence.empty() ? what.text : what.text + std::string(": ") + essence,
                       "again with --log debug to see what the camera says");
}

bool isOfAUselessPicture(const Verdict& verdict) {
    return verdict.code == "wrong-size" || verdict.code == "unknown-model" ||
           verdict.code == "picture-garbage";
}

/// What is to be said of an attempt that came to its end.
std::optional<Verdict> verdictOnSuccess(const Tried& tried) {
    if (tried.attempt.errorCode)
        return verdictWith(tried.camera, "camera-error", Severity::note,
                           "the camera answers, with error " + std::to_string(*tried.attempt.errorCode),
                           "take a picture; if that fails, restart the camera");
    if (tried.attempt.what != Attempt::What::picture)
        return std::nullopt;
    std::optional<Verdict> verdict = verdictOnTexts(tried);
    if (!verdict || isOfAUselessPicture(*verdict))
        return verdict;
    verdict->severity = Severity::note;
    if (toldBehind(tried.attempt, "First image grab attempt failed"))
        verdict->text = "only the second try gave a picture: " + verdict->text;
    return verdict;
}

} // namespace

std::optional<Verdict> verdictOn(const Attempt& attempt, const Camera& camera) {
    const std::vector<std::string> texts = textsOf(attempt);
    const Tried tried{attempt, camera, texts};
    if (attempt.succeeded)
        return verdictOnSuccess(tried);
    if (attempt.reason == interruptedBriefly) {
        Verdict verdict = verdictOn({.what = Obstacle::interrupt, .address = camera.address});
        verdict.room = camera.room;
        return verdict;
    }
    if (attempt.errorCode)
        return verdictWith(camera, "camera-error", Severity::failure,
                           "the camera refuses, with error " + std::to_string(*attempt.errorCode),
                           "use another --exposure; if it stays so, restart the camera");
    if (std::optional<Verdict> verdict = verdictOnTexts(tried))
        return verdict;
    return unexplained(attempt, camera);
}

std::optional<Verdict> verdictOnReturn(const Attempt& attempt, const Camera& after) {
    const bool isThere = after.text == PortState::open && after.picture == PortState::open;
    if (attempt.succeeded || !isThere || textWith(textsOf(attempt), ": connect failed: ") == nullptr)
        return std::nullopt;
    const Usual& what = usual[static_cast<std::size_t>(attempt.what)];
    return verdictWith(after, what.code, Severity::failure, what.briefly + std::string(", and answers now"),
                       "once more; if it comes again, check the cable and the camera's power");
}

} // namespace Diagnosis
