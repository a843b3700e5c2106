#include "FaultMatrixIdentity.h"

#include "Platform/Text.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

using namespace std::chrono_literals;

namespace FaultMatrix {
namespace {

constexpr int mostGrabs = 2;
constexpr int attemptsOfAGrab = 2;
constexpr std::string_view whiteSpace = " \t\n\v\f\r";

std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t at = text.find_first_not_of(whiteSpace); at != std::string::npos;
         at = text.find_first_not_of(whiteSpace, at)) {
        const std::size_t end = std::min(text.find_first_of(whiteSpace, at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

/// One identification, from reply to reply.
class Walk {
public:
    explicit Walk(const Identified& camera) : camera_(camera) {}

    IdentityOutcome run() {
        Identity identity;
        if (!ask(0, "version"))
            return outcome_;
        identity.hardware = valueOf(entries_, "--HW");
        identity.software = valueOf(entries_, "--SW");
        identity.api = valueOf(entries_, "--API");
        if (isTooOld(identity) || !ask(1, "serial"))
            return outcome_;
        // Looked up now: a key without a value would later find the next reply's first key behind it.
        identity.serial = valueOf(entries_, "--Camera");
        if (!ask(2, "network"))
            return outcome_;
        identity.netMask = valueOf(entries_, "--NetMask");
        identity.gateway = valueOf(entries_, "--NetGateway");
        outcome_.identity = identity;
        findSize();
        return outcome_;
    }

private:
    std::wstring textEndpoint() const { return camera_.address + L":" + std::to_wstring(camera_.textPort); }

    bool ask(std::size_t query, const std::string& what) {
        if (state_ == Afterwards::broken)
            return fail(failureOf(textEndpoint(), L"send", reason_));
        ReplyReading reading{ReplyReading::What::replied, camera_.replies.at(query)};
        if (state_ == Afterwards::flooded)
            reading = readingOfFlood();
        else if (camera_.faulty && camera_.faulty->first == query)
            reading = camera_.faulty->second;
        outcome_.waited += reading.waited;
        if (reading.what == ReplyReading::What::thrown)
            return fail(failureOf(textEndpoint(), L"receive", reading.reason));
        if (reading.what == ReplyReading::What::nothing)
            return failLogged("Couldn't get any " + what + " info from Korva device at: " +
                              Platform::utf8FromWide(camera_.address) + ".. ignore it");
        const std::vector<std::string> more = entriesOf(reading.delivered);
        entries_.insert(entries_.end(), more.begin(), more.end());
        state_ = reading.afterwards;
        reason_ = reading.reason;
        return true;
    }

    bool isTooOld(const Identity& identity) {
        // A name of two characters counts as an M61, too.
        const bool isM61 = identity.hardware.ends_with("M61") || identity.hardware.size() == 2;
        if (!isM61 || isNewEnough(identity.software))
            return false;
        failLogged("Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found " +
                   identity.software);
        return true;
    }

    void findSize() {
        std::optional<Size> size = knownSize(outcome_.identity->hardware);
        if (!size)
            size = sizeOfSample();
        if (*size == Size{0, 0}) {
            outcome_.identity.reset();
            failLogged("Found Korva, but couldn't determine its resolution");
            return;
        }
        outcome_.identity->size = *size;
    }

    Size sizeOfSample() {
        const std::wstring endpoint = camera_.address + L":32769";
        const Struck none{{Exchange::probe, 0}, goodReading()};
        for (int grab = 0; grab < mostGrabs; ++grab) {
            const CaptureOutcome sample =
                capture(endpoint, camera_.struck ? *camera_.struck : none, 1 + grab * attemptsOfAGrab);
            ++outcome_.grabs;
            outcome_.lines.insert(outcome_.lines.end(), sample.lines.begin(), sample.lines.end());
            outcome_.configurations += sample.configurations;
            outcome_.waited += sample.waited;
            if (sample.what == CaptureOutcome::What::picture)
                return camera_.sampleSize;
            if (sample.what == CaptureOutcome::What::thrown) {
                outcome_.lines.push_back(captureError("Communicator error trying to get sample image: " +
                                                      Platform::utf8FromWide(sample.exception)));
                break;
            }
        }
        return {0, 0};
    }

    bool failLogged(const std::string& message) {
        outcome_.lines.push_back(captureError(message));
        return fail(Platform::wideFromUtf8(message));
    }

    bool fail(const std::wstring& exception) {
        outcome_.exception = exception;
        return false;
    }

    const Identified& camera_;
    IdentityOutcome outcome_;
    std::vector<std::string> entries_;
    Afterwards state_ = Afterwards::usable;
    std::wstring reason_;
};

} // namespace

std::vector<std::string> entriesOf(const std::string& reply) {
    std::vector<std::string> entries;
    std::string value;
    for (const std::string& word : wordsOf(reply.substr(0, reply.find('\0')))) {
        const bool isKey = word.starts_with("--");
        if (isKey && !value.empty())
            entries.push_back(std::exchange(value, ""));
        if (isKey)
            entries.push_back(word);
        else if (!entries.empty())
            value += (value.empty() ? "" : " ") + word;
        if (value.ends_with(']')) {
            entries.push_back(value.substr(0, value.size() - 1));
            break;
        }
    }
    return entries;
}

std::string valueOf(const std::vector<std::string>& entries, const std::string& key) {
    const auto found = std::find(entries.begin(), entries.end(), key);
    return found == entries.end() || found + 1 == entries.end() ? "" : *(found + 1);
}

bool isNewEnough(const std::string& firmware) {
    std::vector<int> numbers;
    for (std::size_t at = 0; at < firmware.size();) {
        const std::size_t dot = std::min(firmware.find('.', at), firmware.size());
        numbers.push_back(std::atoi(firmware.substr(at, dot - at).c_str()) & 0xFF);
        at = dot + 1;
    }
    return numbers.size() == 3 && numbers >= std::vector{3, 2, 15};
}

std::ostream& operator<<(std::ostream& stream, const Identity& identity) {
    for (const std::string& text : {identity.hardware, identity.software, identity.api, identity.serial,
                                    identity.netMask, identity.gateway})
        stream << '"' << text << "\" ";
    return stream << identity.size.first << " x " << identity.size.second;
}

std::optional<Size> knownSize(const std::string& hardware) {
    constexpr std::pair<std::string_view, Size> known[] = {
        {"M61", {1676, 1266}}, {"M615", {2748, 1836}}, {"M62", {2748, 1836}}};
    // A name that is one character shorter than a known one is deliberately taken for it.
    for (const auto& [name, size] : known)
        if (hardware.ends_with(name) || hardware.size() + 1 == name.size())
            return size;
    return std::nullopt;
}

IdentityOutcome identify(const Identified& camera) {
    return Walk(camera).run();
}

Lines linesOfASkippedCamera(const std::wstring& exception) {
    return {locatorError("DeviceException while determining camera info."),
            locatorError("    " + Platform::utf8FromWide(exception))};
}

std::optional<FoundCamera> foundIn(const std::string& datagram) {
    const std::string text = datagram.substr(0, datagram.find('\0'));
    const std::vector<std::string> entries = entriesOf(text);
    FoundCamera found{valueOf(entries, "--Room"), valueOf(entries, "--IP")};
    if (text.find("[Korva") == std::string::npos || found.room.empty() || found.ip.empty())
        return std::nullopt;
    return found;
}

} // namespace FaultMatrix
