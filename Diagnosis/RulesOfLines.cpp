#include "RulesOfLines.h"

#include "PictureRules.h"
#include "Printable.h"
#include "RulesOfCamera.h"
#include "RulesOfTool.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace Diagnosis {

namespace {

struct TransportText {
    std::errc code;
    const char* text;
};

constexpr TransportText transportTexts[] = {
    {std::errc::broken_pipe, "Broken pipe"},
    {std::errc::connection_refused, "Connection refused"},
    {std::errc::connection_reset, "Connection reset by peer"},
    {std::errc::host_unreachable, "No route to host"},
    {std::errc::network_unreachable, "Network is unreachable"},
    {std::errc::operation_not_permitted, "Operation not permitted"},
    {std::errc::permission_denied, "Permission denied"},
    {std::errc::timed_out, "Connection timed out"},
};

} // namespace

std::string transportText(std::errc code) {
    const auto* const at = std::find_if(std::begin(transportTexts), std::end(transportTexts),
                                        [code](const TransportText& row) { return row.code == code; });
    return at == std::end(transportTexts) ? std::make_error_code(code).message() : at->text;
}

const std::string* textWith(const std::vector<std::string>& texts, std::string_view sign) {
    const auto at = std::find_if(texts.begin(), texts.end(), [sign](const std::string& text) {
        return text.find(sign) != std::string::npos;
    });
    return at == texts.end() ? nullptr : &*at;
}

std::string behind(const std::vector<std::string>& texts, std::string_view sign) {
    const std::string* const text = textWith(texts, sign);
    return text == nullptr ? "" : text->substr(text->find(sign) + sign.size());
}

std::optional<std::string> toldBehind(const Attempt& attempt, std::string_view sign) {
    const auto at = std::find_if(attempt.lines.begin(), attempt.lines.end(),
                                 [sign](const LogLine& line) { return line.message.starts_with(sign); });
    return at == attempt.lines.end() ? std::nullopt : std::optional(at->message.substr(sign.size()));
}

namespace {

constexpr auto again = "take the picture again; if it stays so, restart the camera";
constexpr auto askAgain = "ask again; if it stays so, restart the camera";
constexpr auto checkCable = "check the cable, the switch and the network's load, then try again";
constexpr auto isItACamera = "check that this is a Korva camera; restart it";
constexpr auto waitLonger = "korva health with its address, which waits longer";
constexpr auto reportIt = "again with --log debug, and report it if it stays";

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

bool isOfAPicture(const Tried& tried) {
    return tried.attempt.what == Attempt::What::picture;
}

} // namespace

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
         {notEnoughMemory, "No memory for an image from Korva", "std::bad_alloc"},
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

const std::vector<LineRule>& rulesOfAnswers() {
    static const std::vector<std::string> closed = {"closed by the peer",
                                                    transportText(std::errc::connection_reset),
                                                    transportText(std::errc::broken_pipe)};
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

} // namespace Diagnosis
