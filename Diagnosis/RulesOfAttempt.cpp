// Why an attempt failed: what each line of the plug-in, and of the transport below it, means.

#include "PictureRules.h"
#include "Printable.h"
#include "Rules.h"
#include "RulesOfCamera.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

namespace Diagnosis {

namespace {

constexpr int textPort = 32768;
constexpr int picturePort = 32769;

std::string systemText(std::errc code) {
    return std::make_error_code(code).message();
}

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

/// The text that contains `sign`; null if none does.
const std::string* textWith(const std::vector<std::string>& texts, std::string_view sign) {
    const auto at = std::find_if(texts.begin(), texts.end(), [sign](const std::string& text) {
        return text.find(sign) != std::string::npos;
    });
    return at == texts.end() ? nullptr : &*at;
}

/// What follows `sign`; empty if there is no such text.
std::string behind(const std::vector<std::string>& texts, std::string_view sign) {
    const std::string* const text = textWith(texts, sign);
    return text == nullptr ? "" : text->substr(text->find(sign) + sign.size());
}

/// What follows `sign` at the beginning of a line of any level; nothing if there is no such line.
std::optional<std::string> toldBehind(const Attempt& attempt, std::string_view sign) {
    const auto at = std::find_if(attempt.lines.begin(), attempt.lines.end(),
                                 [sign](const LogLine& line) { return line.message.starts_with(sign); });
    return at == attempt.lines.end() ? std::nullopt : std::optional(at->message.substr(sign.size()));
}

PortState portStateIn(std::string_view text) {
    const auto says = [text](std::errc code) {
        return text.find(systemText(code)) != std::string_view::npos;
    };
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
        if (reason.find(systemText(std::errc::network_unreachable)) != std::string::npos)
            return verdictWith(camera, "no-route", Severity::failure,
                               "this computer has no way to this address",
                               "check the address and this computer's network settings");
        if (reason.find(systemText(std::errc::operation_not_permitted)) != std::string::npos ||
            reason.find(systemText(std::errc::permission_denied)) != std::string::npos)
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

/// An attempt with its texts.
struct Tried {
    const Attempt& attempt;
    const Camera& camera;
    const std::vector<std::string>& texts;
};

struct LineRule {
    const char* code;
    std::vector<std::string> signs; ///< what a line contains, any of them
    std::function<std::string(const Tried&)> text;
    std::string remedy;
    bool (*holds)(const Tried&) = nullptr; ///< what else must be so; null: nothing
    Severity severity = Severity::failure;
};

constexpr auto again = "take the picture again; if it stays so, restart the camera";
constexpr auto askAgain = "ask again; if it stays so, restart the camera";
constexpr auto checkCable = "check the cable, the switch and the network's load, then try again";
constexpr auto isItACamera = "check that this is a Korva camera; restart it";
constexpr auto waitLonger = "korva health with its address, which waits longer";
constexpr auto reportIt = "try again with --log debug, and report it if it stays";

std::function<std::string(const Tried&)> states(const char* text) {
    return [text](const Tried&) { return std::string(text); };
}

/// `beginning`, and what a line says behind `sign`.
std::function<std::string(const Tried&)> tells(const char* beginning, const char* sign) {
    return [=](const Tried& tried) { return beginning + printable(behind(tried.texts, sign)); };
}

int exposureUnitsOf(const Tried& tried) {
    constexpr Milliseconds unit{100};
    return static_cast<int>(tried.attempt.exposure / unit);
}

std::string modelOf(const Camera& camera) {
    return camera.identity ? modelIn(camera.identity->model) : "";
}

/// The size that was sent, and the one that was expected.
std::pair<std::string, std::string> sizesIn(const Tried& tried) {
    constexpr std::string_view joint = ", the camera's resolution is ";
    const std::string sizes = behind(tried.texts, "Korva picture has the size ");
    const std::size_t at = std::min(sizes.find(joint), sizes.size());
    return {sizes.substr(0, at), at < sizes.size() ? sizes.substr(at + joint.size()) : "another size"};
}

/// "the camera sent 2748 x 1836, it should send 1676 x 1266 (model X99 is unknown)".
std::string sizesText(const Tried& tried) {
    const auto [sent, expected] = sizesIn(tried);
    std::string text = "the camera sent " + printable(sent) + ", it should send " + printable(expected);
    if (tried.camera.identity && !isKnownModel(tried.camera.identity->model))
        text += " (model " + printable(modelOf(tried.camera)) + " is unknown)";
    return text;
}

bool wasSizeGuessed(const Tried& tried) {
    const std::string guess = guessedSize(modelOf(tried.camera));
    return !guess.empty() && sizesIn(tried).second == guess;
}

std::string unmeasuredText(const Tried& tried) {
    const std::string model = toldBehind(tried.attempt, "HWid lookup failed, don't recognize ").value_or("");
    return "model " + (model.empty() ? "(none)" : printable(model)) +
           " is unknown, and no sample picture tells its size";
}

/// The limit was too short for it from the beginning.
bool hadTooLittleTime(const Tried& tried) {
    const bool isPicture = tried.attempt.what == Attempt::What::picture;
    return isPicture && tried.attempt.exposure.count() > 0 &&
           verdictOnTime(exposureUnitsOf(tried), tried.attempt.took);
}

bool isExposedLong(const Tried& tried) {
    return exposureUnitsOf(tried) >= longestSureExposure;
}

bool waitedInVainForExposure(const Tried& tried) {
    return verdictOnExposure(exposureUnitsOf(tried)) &&
           textWith(tried.texts, "Failed to read Header: bytesRead = 0") != nullptr;
}

bool isOfUnknownModel(const Tried& tried) {
    return textWith(tried.texts, "couldn't determine its resolution") != nullptr;
}

/// Whoever made the attempt had less time for it than a healthy camera may take.
bool wasCut(const Tried& tried) {
    return tried.attempt.allowed > tried.attempt.allowed.zero();
}

std::string cutText(const Tried& tried) {
    constexpr Milliseconds unit{100};
    const bool isProbe = tried.attempt.what == Attempt::What::probe;
    return (isProbe ? "did not answer the probe within " : "was not identified within ") +
           secondsText(static_cast<int>(tried.attempt.allowed / unit)) +
           " s, and there was no time to wait longer";
}

/// Those that say why an attempt could not be made, before those on what it came to.
const std::vector<LineRule>& rulesBeforeConnecting() {
    static const std::vector<LineRule> rules = {
        {"unknown-name",
         {"Name or service not known", "No address associated with hostname"},
         states("no computer knows this name"),
         "check the name, or give the camera's IPv4 address"},
        {"unknown-name", {"ame resolution"}, states(nameServiceSilent), tryNameAgain},
        {"took-too-long", {"Took too long: "}, cutText, waitLonger, wasCut, Severity::note},
        {"short-time",
         {"Took too long: "},
         [](const Tried& tried) { return verdictOnTime(exposureUnitsOf(tried), tried.attempt.took)->text; },
         "a longer --max-time, or none",
         hadTooLittleTime},
        {"took-too-long",
         {"Took too long: "},
         tells("took too long: ", "Took too long: "),
         "restart the camera and check the network, or allow a longer --max-time"},
        {"too-slow",
         {"Too slow: "},
         tells("too slow: ", "Too slow: "),
         "check the cable, the switch and the network's load, or allow a lower --min-speed"},
        {"no-memory",
         {"not enough memory", "No memory for an image from Korva", "std::bad_alloc"},
         states("this computer has not enough memory"),
         "end other programs, or use fewer cameras at a time"},
    };
    return rules;
}

const std::vector<LineRule>& rulesOfIdentification() {
    static const std::vector<LineRule> rules = {
        {"old-firmware",
         {"Rejecting Korva camera"},
         [](const Tried& tried) {
             const std::string found = behind(tried.texts, "3.2.15 found ");
             return "firmware " + (found.empty() ? "of an unknown version" : printable(found)) +
                    ", needs 3.2.15";
         },
         "update the camera's firmware"},
        {"silent",
         {"Couldn't get any version info", "Couldn't get any serial info", "Couldn't get any network info"},
         states("accepts the connection on TCP 32768, and does not answer"),
         isItACamera},
        {"all-black",
         {"All black image from Korva detected"},
         [](const Tried& tried) { return unmeasuredText(tried) + ": it is all black"; },
         "open the lens cap, and light the scene",
         isOfUnknownModel},
        {"unknown-model",
         {"couldn't determine its resolution"},
         unmeasuredText,
         "restart the camera and check TCP 32769; ask for a release that knows this model"},
    };
    return rules;
}

const std::vector<LineRule>& rulesOfPictures() {
    static const std::vector<LineRule> rules = {
        {"camera-error",
         {"Korva returned an error code: "},
         tells("the camera refuses, with error ", "Korva returned an error code: "),
         "use another --exposure; if it stays so, restart the camera"},
        {"all-black",
         {"All black image from Korva detected"},
         states("the picture is all black"),
         "open the lens cap, or light the scene",
         isExposedLong},
        {"all-black",
         {"All black image from Korva detected"},
         states("the picture is all black"),
         "open the lens cap, light the scene or use a longer --exposure, up to " +
             secondsText(longestSureExposure)},
        {"picture-garbage",
         {"Korva picture has the size 0 x 0", "does not hold the expected samples"},
         states("what the camera sent is no picture"),
         again},
        {"unknown-model",
         {"Korva picture has the size "},
         [](const Tried& tried) { return sizesText(tried) + ": what it should send is a guess"; },
         "korva describe ADDRESS > camera.xml, put there what it sent as resolutionX and resolutionY, then "
         "korva capture --from camera.xml; or ask for a release that knows this model",
         wasSizeGuessed},
        {"wrong-size",
         {"Korva picture has the size "},
         sizesText,
         "describe the camera anew with korva describe ADDRESS, or ask for a release that knows its model"},
        {"exposure-too-long",
         {"parseIncomingMessage failed for take image request"},
         [](const Tried& tried) {
             return "no answer within " + secondsText(answerTime) + " s at an exposure of " +
                    secondsText(exposureUnitsOf(tried)) +
                    " s: this camera may answer only after its exposure";
         },
         "--exposure " + secondsText(longestSureExposure) +
             " or less, and more light; if it does not answer that either, restart the camera",
         waitedInVainForExposure},
    };
    return rules;
}

bool isOfAPicture(const Tried& tried) {
    return tried.attempt.what == Attempt::What::picture;
}

const std::vector<LineRule>& rulesOfAnswers() {
    static const std::vector<std::string> closed = {
        "closed by the peer", systemText(std::errc::connection_reset), systemText(std::errc::broken_pipe)};
    static const std::vector<LineRule> rules = {
        {"connection-lost", closed, states("the camera closed the connection"), again, isOfAPicture},
        {"connection-lost", closed, states("the camera closed the connection"), askAgain},
        {"connection-lost", {"Error reading ARG value"}, states("the answer stopped on its way"), checkCable},
        {"garbage",
         {"didn't receive our Camera command", "inconsistent message", "an argument that is too large",
          "an image that is too large", "Korva returned no argument", "an unexpected GetImage code",
          "an unexpected response code"},
         states("answers on TCP 32769, but not as a camera does"),
         isItACamera},
        {"damaged-picture",
         {"Korva Response failed chksum"},
         states("what the camera sent was damaged on its way"),
         checkCable},
        {"no-picture",
         {"Expected GetImage response, got Done"},
         states("the camera has taken no picture"),
         again},
        {"silent",
         {"Failed to read Header", "Failed to read ArgHeader", "parseIncomingMessage failed"},
         states("accepts the connection on TCP 32769, and does not answer as it should"),
         "restart the camera and check the cable"},
        {"plugin-failed",
         {"Unknown error during", "Unknown exception", "isAlive Unknown error",
          "No communicator to capture with", "has no communicator", "Ethernet communicator needed",
          "Arglist exceeds allowed size", "Client is not expected to send", "network-health callback failed"},
         states("the plug-in failed for a reason that it does not tell"),
         reportIt},
    };
    return rules;
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
                       "try again with --log debug to see what the camera says");
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
    if (attempt.reason == "interrupted")
        return verdictWith(camera, "interrupted", Severity::failure,
                           "interrupted by Ctrl-C or a request to end",
                           "run it again and let it come to its end");
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
                       "try again; if it comes again, check the cable and the camera's power");
}

} // namespace Diagnosis
