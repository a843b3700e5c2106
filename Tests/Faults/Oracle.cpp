#include "Oracle.h"

#include "Pictures.h"
#include "Protocol.h"

#include "Camera/BinarySession.h"
#include "Camera/TextSession.h"
#include "Platform/Text.h"
#include "World/Answers.h"

#include <algorithm>
#include <optional>
#include <ostream>

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

Line captureLine(const std::string& message, const char* level = "ERROR") {
    return {level, "KorvaCapture", "KorvaHelper", message};
}

Line internalsLine(const std::string& message, int number = 0, const char* level = "ERROR") {
    return {level, "KorvaInternals", "KorvaInternals", message, number};
}

Line searchLine(const std::string& message) {
    return {"ERROR", "KorvaCameraLocator", "KorvaCameraLocator", message};
}

/// With every byte that is no UTF-8 replaced.
std::string asTheHostReads(const std::string& text) {
    return Platform::utf8FromWide(Platform::wideFromUtf8(text));
}

std::string text(const Size& size) {
    return std::to_string(size.first) + " x " + std::to_string(size.second);
}

/// Any answer to it shows that there is a camera.
Bytes checkRequest() {
    constexpr std::uint8_t formatCode = 4;
    return World::message({{formatCode, {0}}});
}

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
        outcome_.elapsed = course_.now.time_since_epoch();
        outcome_.receives = course_.waits;
        outcome_.isSure = outcome_.isSure && course_.isSure;
        return std::move(outcome_);
    }

    void captureAlone() {
        if (const auto taken = capture(asking_))
            keep(taken->pixels);
    }

    void takePicture() {
        try {
            const auto taken = capture(asking_);
            if (taken && isLargeEnough(*taken))
                return report(healthGood);
            say(internalsLine("Failed to capture Korva image"));
        } catch (const Failure& failure) {
            say(internalsLine("Communicator error: " + failure.message, 101));
        }
        report(healthNoPicture);
    }

    void checkConnection() {
        try {
            Connection connection = connectToBinary();
            connection.send(checkRequest());
            // What it says is not judged.
            outcome_.isGood = readMessage(connection, outcome_.lines).has_value();
            if (outcome_.isGood)
                return;
            say(internalsLine("validateConnection: parseIncomingMessage failed", 138));
        } catch (const Failure& failure) {
            say(internalsLine("validateConnection: Communicator error: " + failure.message, 147));
        }
        report(healthNoConnection);
    }

    void identify() {
        askTexts();
        tell(text(requireSize()));
        outcome_.isGood = true;
    }

    void search(const std::vector<Datagram>& datagrams) {
        bool isSeen[2] = {}; // whom ARP does not find counts as one
        for (const std::string& address : gather(datagrams)) {
            const bool isHere = address == camera_.address;
            if (!isHere)
                say(captureLine("Couldn't retrieve MAC address with ARP call: error: 67", "WARN"));
            if (!std::exchange(isSeen[isHere ? 0 : 1], true))
                contact(address);
        }
    }

private:
    void say(Line line) { outcome_.lines.push_back(std::move(line)); }
    void report(int code) { outcome_.health.push_back(code); }

    void keep(Bytes pixels) {
        outcome_.isGood = true;
        outcome_.pixels = std::move(pixels);
    }

    static std::string placeOf(const std::string& address, int port) {
        return asTheHostReads(address) + ":" + std::to_string(port);
    }

    Connection connectTo(const Camera::Accept& accept, int port, int& count) {
        ++count;
        return {accept(), placeOf(camera_.address, port), course_, asking_.longestRead};
    }

    Connection connectToBinary() {
        return connectTo(camera_.binary, camera_.binaryPort, outcome_.binaryConnections);
    }

    std::optional<Taken> capture(const Asking& asking) {
        Connection connection = connectToBinary();
        std::optional<Taken> taken;
        for (int attempt = 0; attempt < attemptsOfACapture && !taken; ++attempt)
            taken = tryOnce(connection, asking);
        return taken;
    }

    std::optional<Taken> tryOnce(Connection& connection, const Asking& asking) {
        const auto byte = [](unsigned value) { return static_cast<std::uint8_t>(value); };
        const Bytes exposure{byte(asking.exposureUnits >> 8), byte(asking.exposureUnits)};
        const Bytes mode{byte(asking.samplesPerPixel == 1 ? 3 : 2)};
        const Bytes format{byte(asking.isPng ? 2 : 1)};
        const Bytes configuration =
            World::message({{2, exposure}, {3, mode}, {4, format}, {7, {16}}, {8, {4}}});
        if (!ask(connection, configuration, "image configuration", false) ||
            !ask(connection, World::message({{5}}), "take image request", false))
            return std::nullopt;
        const auto answer = ask(connection, World::message({{6}}), "GetImage", true);
        return answer ? pictureIn(answer->arguments.front().value, asking) : std::nullopt;
    }

    std::optional<Message> ask(Connection& connection, const Bytes& request, const char* name,
                               bool wantsPicture) {
        outcome_.isSure = connection.send(request) && outcome_.isSure;
        outcome_.attempts += request.size() == configurationBytes ? 1 : 0;
        auto message = readMessage(connection, outcome_.lines);
        if (!message)
            say(captureLine(std::string("parseIncomingMessage failed for ") + name));
        else if (!isWanted(*message, wantsPicture, outcome_.lines))
            message.reset();
        return message;
    }

    std::optional<Taken> pictureIn(const Bytes& file, const Asking& asking) {
        const auto decoded = asking.isPng ? pngPicture : sgiPicture;
        const Picture picture = decoded(file, asking.mostPictureBytes);
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
        const Size& wanted = asking_.resolution;
        if (taken.size != wanted)
            say(internalsLine("Korva picture has the size " + text(taken.size) +
                                  ", the camera's resolution is " + text(wanted),
                              0, "WARN"));
        const auto pixels = static_cast<std::size_t>(wanted.first * wanted.second);
        if (taken.pixels.size() < pixels)
            return false;
        taken.pixels.resize(pixels);
        keep(taken.pixels);
        return true;
    }

    [[noreturn]] void failLogged(const std::string& message) {
        say(captureLine(message));
        throw Failure{asTheHostReads(message)};
    }

    void askTexts() {
        Connection connection = connectTo(camera_.text, camera_.textPort, outcome_.textConnections);
        const auto query = [&](const std::string& request, const std::string& what) {
            connection.send(Bytes(request.begin(), request.end()));
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
    void tell(const std::string& entry) { outcome_.identity.push_back(Platform::wideFromUtf8(entry)); }

    Size requireSize() {
        const std::optional<Size> known = knownSize(hardware_);
        const Size size = known ? *known : sizeOfASample();
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
        for (const auto& [reply, after] : datagrams) {
            if (after > gatheringTime)
                break;
            course_.now += after;
            if (reply.empty()) // ends it
                return addresses;
            if (const auto address = addressIn(reply))
                addresses.push_back(*address);
        }
        course_.now += gatheringTime;
        return addresses;
    }

    void contact(const std::string& address) {
        try {
            if (address == camera_.address)
                return identify();
            throw Failure{placeOf(address, camera_.textPort) + ": connect failed: Connection refused"};
        } catch (const Failure& failure) {
            say(searchLine("DeviceException while determining camera info."));
            say(searchLine("    " + failure.message));
        }
    }

    const Camera& camera_;
    const Asking& asking_;
    Outcome outcome_;
    Connection::Course course_;
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

Camera sessionsOf(Simulator::Camera& camera, Camera place) {
    place.text = [&camera] { return std::make_unique<Simulator::TextSession>(camera); };
    place.binary = [&camera] { return std::make_unique<Simulator::BinarySession>(camera); };
    return place;
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

std::optional<std::string> addressIn(const std::string& datagram) {
    constexpr std::size_t mostBytes = 256;
    const std::string text = datagram.substr(0, std::min(datagram.find('\0'), mostBytes));
    const std::vector<std::string> entries = entriesOf(text);
    const std::string address = valueOf(entries, "--IP");
    if (text.find("[Korva") == std::string::npos || valueOf(entries, "--Room").empty() || address.empty())
        return std::nullopt;
    return address;
}

Time waitFor(const Camera::Accept& accept) {
    Connection::Course course;
    Connection connection(accept(), "", course, Asking().longestRead);
    Lines lines;
    try {
        connection.send(checkRequest());
        readMessage(connection, lines);
    } catch (const Failure&) {
        // as good as read
    }
    return course.now.time_since_epoch();
}

std::vector<std::wstring> told(const CameraInfo& info) {
    return {info.getModel(),
            info.getFW(),
            info.getSerialNumber(),
            info.getSubnetMask(),
            info.getDefaultGateway(),
            Platform::wideFromUtf8(text({info.getResolutionX(), info.getResolutionY()}))};
}

} // namespace Faults
