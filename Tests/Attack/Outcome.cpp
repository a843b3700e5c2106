#include "Outcome.h"

#include "FaultMatrixReader.h"
#include "Oracle.h"

#include <algorithm>

using FaultMatrix::Afterwards;
using FaultMatrix::Ending;
using FaultMatrix::Verdict;
using TestSupport::wireMessage;

namespace Attack {

namespace {

constexpr std::size_t replyBytes = 256;
constexpr std::uint8_t doneCode = 0;
constexpr std::uint8_t imageCode = 6;

FaultMatrix::Received readingOf(const Answer& answer, bool wantsPicture) {
    return FaultMatrix::received(answer.bytes, answer.closes ? Ending::closed : Ending::silence,
                                 wantsPicture);
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

Answer textAnswer(const std::string& text) {
    return {Bytes(text.begin(), text.end())};
}

void takePicture(const Bytes& file, const CaptureForm& form, Outcome& outcome) {
    const Picture picture =
        form.png ? pngPicture(file, mostPictureBytes) : sgiPicture(file, mostPictureBytes);
    // What lies under a transparent colour is told by no reader.
    outcome.isSure = outcome.isSure && !(form.png && picture.has16Bits && picture.channels % 2 == 0);
    outcome.pixels = greyOf(picture, form.samplesPerPixel);
    outcome.size = {static_cast<int>(picture.width), static_cast<int>(picture.height)};
}

/// A camera that waits for nothing: where the reader would wait for more than came, the connection closes.
void settle(Answer& answer, bool isPicture) {
    answer.closes =
        answer.closes || answer.bytes.empty() || readingOf(answer, isPicture).reading.waited.count() > 0;
}

Bytes fileOf(Random& random, const CaptureForm& form, const FaultMatrix::Size& size) {
    const auto width = static_cast<unsigned>(size.first);
    const auto height = static_cast<unsigned>(size.second);
    if (!form.png)
        return sgiOfNoise(random, width, height, 3);
    using Support::PngColour;
    return pngOfNoise(
        random,
        {width, height, 16, form.samplesPerPixel == 3 ? PngColour::rgb : PngColour::grey, random.oneIn(2)});
}

std::array<Answer, 3> rightAttempt(const Bytes& file) {
    const Bytes done = wireMessage({{doneCode, {}}});
    return {Answer{done}, Answer{done}, Answer{wireMessage({{imageCode, file}})}};
}

/// Damages an answer that is a message: its picture, its bytes, or how they come.
void spoil(Random& random, const std::array<Answer, 3>& others, Answer& answer, bool isPicture,
           const CaptureForm& form, const FaultMatrix::Size& size) {
    static constexpr std::size_t headOfAMessage = 13;
    switch (random.below(isPicture ? 8 : 4)) {
    case 0:
        damage(random, answer.bytes, headOfAMessage);
        break;
    case 1: // behind a right checksum
        damage(random, answer.bytes, headOfAMessage);
        answer.bytes.resize(std::max<std::size_t>(answer.bytes.size(), 2) - 2);
        answer.bytes = TestSupport::withChecksum(std::move(answer.bytes));
        break;
    case 2:
        answer.piece = 1 + answer.bytes.size() / (1 + random.below(20));
        answer.closes = random.oneIn(4);
        break;
    case 3: // another answer's turn, or several answers at once
        if (random.oneIn(2))
            answer = random.of(others);
        for (const Answer& next : others)
            if (random.oneIn(3))
                answer.bytes.insert(answer.bytes.end(), next.bytes.begin(), next.bytes.end());
        break;
    case 4: // of another kind or size
        answer.bytes = wireMessage(
            {{imageCode, random.oneIn(2) ? pngOfNoise(random, anyPngKind(random))
                                         : sgiOfNoise(random, static_cast<unsigned>(size.first) + 1,
                                                      static_cast<unsigned>(random.below(40)),
                                                      random.oneIn(2) ? 4 : 1)}});
        break;
    default: {
        Bytes file = fileOf(random, form, size);
        if (form.png)
            damagePng(random, file);
        else
            damage(random, file, 20);
        answer.bytes = wireMessage({{imageCode, file}});
    }
    }
    settle(answer, isPicture);
}

/// What a camera says of itself. Its datagrams name its own address or are no replies: nobody else is asked.
void spoilTexts(Random& random, Script& script, const std::string& address) {
    const auto text = [&random] {
        static const std::string words[] = {"M61",    "M615", "M62", "XM61",  "3.2.15",
                                            "3.2.14", "--HW", "]",   "[Korva"};
        return random.oneIn(3) ? random.of(words) : anyText(random, random.oneIn(8) ? 300 : 24);
    };
    std::string replies[] = {"[Version --HW " + text() + " --SW " + text() + " --API " + text() + "]",
                             "[SerialNumber --Camera " + text() + "]",
                             "[Settings --NetMask " + text() + " --NetGateway " + text() + "]"};
    const std::size_t damaged = random.below(6);
    for (std::size_t i = 0; i < 3; ++i) {
        script.texts[i] = textAnswer(replies[i]);
        if (i == damaged)
            damage(random, script.texts[i].bytes, replyBytes);
        script.texts[i].closes = script.texts[i].bytes.empty() || (i == damaged && random.oneIn(3));
    }
    for (std::size_t left = random.below(3); left > 0; --left) {
        Answer reply = textAnswer("[Korva --Room " + text() + " --IP " + address + "]");
        if (random.oneIn(2))
            damage(random, reply.bytes, replyBytes);
        const std::string datagram = textOf(reply.bytes);
        const auto found = FaultMatrix::foundIn(datagram.substr(0, replyBytes));
        // An empty datagram would end the search for everybody.
        if (!datagram.empty() && (!found || found->ip == address))
            script.datagrams.push_back(datagram);
    }
}

} // namespace

Outcome captureOf(const Script& script, const CaptureForm& form) {
    Outcome outcome;
    for (const auto& attempt : script.attempts) {
        bool isOver = false;
        for (std::size_t step = 0; step < attempt.size() && !isOver; ++step) {
            const bool isPicture = step == 2;
            const auto [reading, file, unread] = readingOf(attempt[step], isPicture);
            const bool isRead = reading.verdict == Verdict::accepted;
            if (isRead && isPicture)
                takePicture(file, form, outcome);
            const bool isBroken =
                reading.verdict == Verdict::thrown || reading.afterwards == Afterwards::broken;
            // What was not read is dropped before the next request, if it has come by then. In one piece it
            // has, and the connection's end with it.
            if (!outcome.pixels && unread != 0 && (!isBroken || attempt[step].piece != 0))
                outcome.isSure = false;
            if (outcome.pixels || isBroken)
                return outcome;
            isOver = !isRead;
        }
    }
    return outcome;
}

bool isAliveBy(const Script& script) {
    const Verdict verdict = readingOf(script.probe, false).reading.verdict;
    return verdict == Verdict::accepted || verdict == Verdict::refused; // a check does not judge
}

IdentityOutcome identityOf(const Script& script, const std::string& address) {
    FaultMatrix::Identified camera;
    camera.address = std::wstring(address.begin(), address.end());
    for (std::size_t i = 0; i < script.texts.size(); ++i) {
        const Answer& answer = script.texts[i];
        camera.replies[i] = textOf(answer.bytes).substr(0, replyBytes);
        if (answer.closes)
            camera.faulty = {i, FaultMatrix::receivedReply(camera.replies[i], Ending::closed)};
    }
    // Taken twice where the first try gives nothing.
    const Outcome sample = captureOf(script, {true, 1});
    camera.sampleSize = sample.pixels ? sample.size : FaultMatrix::Size{0, 0};
    // Any size will do where nobody can tell whether there is a picture.
    if (!sample.isSure)
        camera.sampleSize = {1, 1};
    IdentityOutcome outcome{true, FaultMatrix::identify(camera).identity};
    if (outcome.identity && !FaultMatrix::knownSize(outcome.identity->hardware))
        outcome.isSure = sample.isSure;
    return outcome;
}

bool isFound(const Script& script, const std::string& address) {
    return std::ranges::any_of(script.datagrams, [&address](const std::string& datagram) {
        const auto found = FaultMatrix::foundIn(datagram.substr(0, replyBytes));
        return found && found->ip == address;
    });
}

Script drawScript(Random& random, bool lies, const CaptureForm& form, const FaultMatrix::Size& size,
                  const std::string& address) {
    Script script;
    script.datagrams = {"[Korva --Room Lab 2 --IP " + address + "]"};
    script.texts = {textAnswer("[Version --HW X900 --SW 3.2.15 --API 2.1]"),
                    textAnswer("[SerialNumber --Camera 1234]"),
                    textAnswer("[Settings --NetMask 255.255.255.0 --NetGateway 10.0.0.1]")};
    for (auto& attempt : script.attempts)
        attempt = rightAttempt(fileOf(random, form, size));
    script.probe = script.attempts[0][0];
    if (!lies)
        return script;
    script.datagrams.clear();
    spoilTexts(random, script, address);
    const auto right = script.attempts[1];
    for (std::size_t left = 1 + random.below(5); left > 0; --left) {
        const std::size_t step = random.below(3);
        spoil(random, right, script.attempts[random.below(2)][step], step == 2, form, size);
    }
    spoil(random, right, script.probe, false, form, size);
    return script;
}

} // namespace Attack
