#include "Oracle.h"

#include "Connection.h"
#include "Messages.h"
#include "Pictures.h"

#include "Camera/BinarySession.h"
#include "Camera/TextSession.h"
#include "Platform/Text.h"
#include "World/Answers.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <type_traits>

using namespace std::chrono_literals;

namespace Faults {
namespace {

constexpr int attemptsOfACapture = 2;
constexpr int mostSamples = 2;
constexpr int healthGood = 2;
constexpr int healthNoPicture = 1032;
constexpr int healthNoConnection = 2056;
constexpr auto replyPatience = 4s;
constexpr std::size_t mostReplyBytes = 256;
constexpr auto gatheringTime = 1s;
constexpr std::size_t configurationBytes = 39;

Line captureLine(const std::string& message) {
    return lineOf("ERROR", "KorvaCapture", "KorvaHelper", message);
}

Line internalsLine(const char* level, const std::string& message, int number = 0) {
    return lineOf(level, "KorvaInternals", "KorvaInternals", message, number);
}

Line searchLine(const std::string& message) {
    return lineOf("ERROR", "KorvaCameraLocator", "KorvaCameraLocator", message);
}

/// With every byte that is no UTF-8 replaced.
std::string asTheHostReads(const std::string& text) {
    return Platform::utf8FromWide(Platform::wideFromUtf8(text));
}

std::wstring sizeText(int width, int height) {
    return std::to_wstring(width) + L" x " + std::to_wstring(height);
}

/// Any answer to it shows that there is a camera.
Bytes checkRequest() {
    constexpr std::uint8_t formatCode = 4;
    return World::message({{formatCode, {0}}});
}

/// What ends an operation; its message is the host's exception.
struct Failure {
    std::string message;
};

struct Taken {
    Bytes pixels;
    Size size;
};

/// One operation of the plug-in's, step by step.
class Client {
public:
    Client(const Camera& camera, const Asking& asking) : camera_(camera), asking_(asking) {}

    /// Runs `operation`; an exception is part of what comes of it.
    template <class Operation>
    Outcome run(Operation operation) {
        try {
            operation(*this);
        } catch (const Failure& failure) {
            outcome_.exception = failure.message;
        }
        if (!outcome_.isGood)
            outcome_.identity.clear();
        outcome_.elapsed = clock_.now.time_since_epoch();
        outcome_.receives = clock_.waits;
        return std::move(outcome_);
    }

    void captureAlone() {
        if (const auto taken = capture(asking_))
            keep(*taken);
    }

    void takePicture() {
        try {
            const auto taken = capture(asking_);
            if (taken && isLargeEnough(*taken))
                return report(healthGood);
            say(internalsLine("ERROR", "Failed to capture Korva image"));
        } catch (const Failure& failure) {
            say(internalsLine("ERROR", "Communicator error: " + failure.message, 101));
        }
        report(healthNoPicture);
    }

    void checkConnection() {
        try {
            outcome_.isGood = atBinaryPort([this](Connection& connection) {
                connection.send(checkRequest());
                return readMessage(connection, outcome_.lines).has_value(); // what it says is not judged
            });
            if (outcome_.isGood)
                return;
            say(internalsLine("ERROR", "validateConnection: parseIncomingMessage failed", 138));
        } catch (const Failure& failure) {
            say(internalsLine("ERROR", "validateConnection: Communicator error: " + failure.message, 147));
        }
        report(healthNoConnection);
    }

    void identify() {
        ++outcome_.textConnections;
        const std::string place = camera_.address + ":" + std::to_string(camera_.textPort);
        Connection connection(camera_.text(), clock_, asking_.longestRead);
        translated(place, [&] { askTexts(connection); });
        const Size size = requireSize();
        outcome_.identity.push_back(sizeText(size.first, size.second));
        outcome_.isGood = true;
    }

    void search(const std::vector<Datagram>& datagrams) {
        const std::vector<std::string> addresses = gather(datagrams);
        bool isSeen = false;
        bool isNobodySeen = false; // whom ARP does not find counts as one
        for (const std::string& address : addresses) {
            if (address != camera_.address)
                say(lineOf("WARN", "KorvaCapture", "KorvaHelper",
                           "Couldn't retrieve MAC address with ARP call: error: 67"));
            if (!std::exchange(address == camera_.address ? isSeen : isNobodySeen, true))
                contact(address);
        }
    }

private:
    void say(Line line) { outcome_.lines.push_back(std::move(line)); }
    void report(int code) { outcome_.health.push_back(code); }

    void keep(const Taken& taken) {
        outcome_.isGood = true;
        outcome_.pixels = taken.pixels;
    }

    /// What breaks the connection to `place` there is the host's exception.
    template <class Step>
    std::invoke_result_t<Step> translated(const std::string& place, Step step) {
        try {
            return step();
        } catch (const Broken& broken) {
            outcome_.isSure = outcome_.isSure && broken.isSure;
            throw Failure{place + ": " + broken.operation + " failed: " + broken.reason};
        }
    }

    template <class Step>
    std::invoke_result_t<Step, Connection&> atBinaryPort(Step step) {
        ++outcome_.binaryConnections;
        Connection connection(camera_.binary(), clock_, asking_.longestRead);
        return translated(camera_.address + ":" + std::to_string(camera_.binaryPort),
                          [&] { return step(connection); });
    }

    std::optional<Taken> capture(const Asking& asking) {
        return atBinaryPort([&](Connection& connection) {
            std::optional<Taken> taken;
            for (int attempt = 0; attempt < attemptsOfACapture && !taken; ++attempt)
                taken = tryOnce(connection, asking);
            return taken;
        });
    }

    std::optional<Taken> tryOnce(Connection& connection, const Asking& asking) {
        const auto exposure = asking.exposureUnits;
        const std::uint8_t mode = asking.samplesPerPixel == 1 ? 3 : 2;
        const std::uint8_t format = asking.isPng ? 2 : 1;
        const Bytes configuration = World::message(
            {{2, {static_cast<std::uint8_t>(exposure >> 8), static_cast<std::uint8_t>(exposure)}},
             {3, {mode}},
             {4, {format}},
             {7, {16}},
             {8, {4}}});
        if (!ask(connection, configuration, "image configuration", false) ||
            !ask(connection, World::message({{5}}), "take image request", false))
            return std::nullopt;
        const auto answer = ask(connection, World::message({{6}}), "GetImage", true);
        return answer ? pictureIn(answer->arguments.front().value, asking) : std::nullopt;
    }

    std::optional<Message> ask(Connection& connection, const Bytes& request, const char* name,
                               bool wantsPicture) {
        const bool isNothingDropped = connection.send(request);
        outcome_.isSure = outcome_.isSure && isNothingDropped;
        outcome_.attempts += request.size() == configurationBytes ? 1 : 0;
        auto message = readMessage(connection, outcome_.lines);
        if (!message)
            say(captureLine(std::string("parseIncomingMessage failed for ") + name));
        else if (!isWanted(*message, wantsPicture, outcome_.lines))
            message.reset();
        return message;
    }

    std::optional<Taken> pictureIn(const Bytes& file, const Asking& asking) {
        const Picture picture = asking.isPng ? pngPicture(file, asking.mostPictureBytes)
                                             : sgiPicture(file, asking.mostPictureBytes);
        outcome_.isSure =
            outcome_.isSure && !(asking.isPng && picture.has16Bits && picture.channels % 2 == 0);
        const std::string flaw = flawOf(picture, asking.samplesPerPixel);
        if (!flaw.empty()) {
            say(captureLine(flaw));
            return std::nullopt;
        }
        return Taken{greyOf(picture, asking.samplesPerPixel),
                     {static_cast<int>(picture.width), static_cast<int>(picture.height)}};
    }

    /// Of a picture that is too large a device has the first pixels.
    bool isLargeEnough(Taken taken) {
        const auto [width, height] = asking_.resolution;
        if (taken.size != asking_.resolution)
            say(internalsLine("WARN", "Korva picture has the size " + std::to_string(taken.size.first) +
                                          " x " + std::to_string(taken.size.second) +
                                          ", the camera's resolution is " + std::to_string(width) + " x " +
                                          std::to_string(height)));
        const auto wanted = static_cast<std::size_t>(width * height);
        if (taken.pixels.size() < wanted)
            return false;
        taken.pixels.resize(wanted);
        keep(taken);
        return true;
    }

    [[noreturn]] void failLogged(const std::string& message) {
        say(captureLine(message));
        throw Failure{asTheHostReads(message)};
    }

    void askTexts(Connection& connection) {
        const auto query = [&](const std::string& text, const std::string& what) {
            connection.send(Bytes(text.begin(), text.end()));
            const Bytes reply = connection.receive(mostReplyBytes, replyPatience);
            if (reply.empty())
                failLogged("Couldn't get any " + what + " info from Korva device at: " + camera_.address +
                           ".. ignore it");
            const std::vector<std::string> more = entriesOf({reply.begin(), reply.end()});
            entries_.insert(entries_.end(), more.begin(), more.end());
        };
        // Looked up at once: a key without a value would later find the next reply's first key behind it.
        query("[Version --HW --SW --API]", "version");
        hardware_ = value("--HW");
        const std::string software = value("--SW");
        tell("Korva Meridian " + hardware_);
        tell("SW-" + software + "_API-" + value("--API"));
        if (isM61(hardware_) && !isNewEnough(software))
            failLogged("Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found " +
                       software);
        query("[SerialNumber --Camera]", "serial");
        tell(value("--Camera"));
        query("[--Settings --NetworkProtocol --NetMask --NetGateway]", "network");
        tell(value("--NetMask"));
        tell(value("--NetGateway"));
    }

    std::string value(const char* key) const { return valueOf(entries_, key); }
    void tell(const std::string& text) { outcome_.identity.push_back(Platform::wideFromUtf8(text)); }

    Size requireSize() {
        Size size = knownSize(hardware_).value_or(Size{0, 0});
        if (size == Size{0, 0})
            size = sizeOfASample();
        if (size == Size{0, 0})
            failLogged("Found Korva, but couldn't determine its resolution");
        return size;
    }

    Size sizeOfASample() {
        Asking sample = asking_;
        sample.isPng = true;
        sample.samplesPerPixel = 1;
        sample.exposureUnits = 1;
        try {
            for (int grab = 0; grab < mostSamples; ++grab)
                if (const auto taken = capture(sample))
                    return taken->size;
        } catch (const Failure& failure) {
            say(captureLine("Communicator error trying to get sample image: " + failure.message));
        }
        return {0, 0};
    }

    std::vector<std::string> gather(const std::vector<Datagram>& datagrams) {
        std::vector<std::string> addresses;
        for (const auto& [text, after] : datagrams) {
            if (after > gatheringTime)
                break;
            clock_.now += after;
            if (text.empty()) // ends it
                return addresses;
            if (const auto address = addressIn(text))
                addresses.push_back(*address);
        }
        clock_.now += gatheringTime;
        return addresses;
    }

    void contact(const std::string& address) {
        try {
            if (address != camera_.address)
                throw Failure{asTheHostReads(address) + ":" + std::to_string(camera_.textPort) +
                              ": connect failed: Connection refused"};
            identify();
        } catch (const Failure& failure) {
            say(searchLine("DeviceException while determining camera info."));
            say(searchLine("    " + failure.message));
        }
    }

    const Camera& camera_;
    const Asking& asking_;
    Outcome outcome_;
    Connection::Clock clock_;
    std::vector<std::string> entries_;
    std::string hardware_;
};

} // namespace

bool Line::operator==(const Line& other) const {
    return level == other.level && logger == other.logger && file == other.file && message == other.message &&
           (number == other.number || number == 0 || other.number == 0);
}

std::ostream& operator<<(std::ostream& stream, const Line& line) {
    return stream << line.level << ' ' << line.logger << ' ' << line.file << ':' << line.number << " \""
                  << line.message << '"';
}

Camera sessionsOf(Simulator::Camera& camera) {
    return {[&camera] { return std::make_unique<Simulator::TextSession>(camera); },
            [&camera] { return std::make_unique<Simulator::BinarySession>(camera); }};
}

Outcome capture(const Camera& camera, const Asking& asking) {
    return Client(camera, asking).run(std::mem_fn(&Client::captureAlone));
}

Outcome picture(const Camera& camera, const Asking& asking) {
    return Client(camera, asking).run(std::mem_fn(&Client::takePicture));
}

Outcome check(const Camera& camera, const Asking& asking) {
    return Client(camera, asking).run(std::mem_fn(&Client::checkConnection));
}

Outcome identify(const Camera& camera, const Asking& asking) {
    return Client(camera, asking).run(std::mem_fn(&Client::identify));
}

Outcome search(const Camera& camera, const std::vector<Datagram>& datagrams, const Asking& asking) {
    return Client(camera, asking).run([&](Client& client) { client.search(datagrams); });
}

Time waitFor(const Camera::Accept& accept) {
    Connection::Clock clock;
    Connection connection(accept(), clock, Asking().longestRead);
    Lines lines;
    try {
        connection.send(checkRequest());
        readMessage(connection, lines);
    } catch (const Broken&) {
        // as good as read
    }
    return clock.now.time_since_epoch();
}

std::vector<std::wstring> told(const CameraInfo& info) {
    return {info.getModel(),          info.getFW(),
            info.getSerialNumber(),   info.getSubnetMask(),
            info.getDefaultGateway(), sizeText(info.getResolutionX(), info.getResolutionY())};
}

} // namespace Faults
