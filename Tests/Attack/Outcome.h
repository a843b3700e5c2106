#pragma once
// What a camera says, drawn, and what must come of it, read from its bytes by the rules of Docs/Protocol.md.

#include "HostileCamera.h"

#include "Draws.h"
#include "Oracle.h"

#include "Camera/MessageCodec.h"
#include "World/Answers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Attack {

using Faults::Asking;
using Faults::Size;

/// No more pixels than this come of a file, in bytes: the host is told so too.
inline constexpr std::size_t mostPictureBytes = std::size_t{4} << 20;

inline constexpr std::size_t replyBytes = 256;

inline Answer textAnswer(const std::string& text) {
    return {Bytes(text.begin(), text.end())};
}

/// A camera that waits for nothing: where the reader would wait for more than came, the connection closes.
inline void settle(Answer& answer) {
    Script script;
    script.probe = {answer.bytes, 0, answer.closes};
    const auto scene = std::make_shared<Scene>(script);
    answer.closes =
        answer.closes || answer.bytes.empty() ||
        Faults::waitFor([&] { return std::make_unique<Told>(scene, Delivery::atOnce); }) > Faults::Time(0);
}

inline Bytes fileOf(Random& random, const Asking& asking) {
    const auto width = static_cast<unsigned>(asking.resolution.first);
    const auto height = static_cast<unsigned>(asking.resolution.second);
    if (!asking.isPng)
        return sgiOfNoise(random, width, height, 3);
    using Support::PngColour;
    return pngOfNoise(
        random,
        {width, height, 16, asking.samplesPerPixel == 3 ? PngColour::rgb : PngColour::grey, random.oneIn(2)});
}

inline std::array<Answer, 3> rightAttempt(const Bytes& file) {
    const Bytes done = World::done();
    return {Answer{done}, Answer{done}, Answer{World::image(file)}};
}

/// Damages an answer that is a message: its picture, its bytes, or how they come.
inline void spoil(Random& random, const std::array<Answer, 3>& others, Answer& answer, bool isPicture,
                  const Asking& asking) {
    static constexpr std::size_t headOfAMessage = 13;
    switch (random.below(isPicture ? 8 : 4)) {
    case 0:
        damage(random, answer.bytes, headOfAMessage);
        break;
    case 1: // behind a right checksum
        damage(random, answer.bytes, headOfAMessage);
        answer.bytes.resize(std::max<std::size_t>(answer.bytes.size(), 2));
        Simulator::seal(answer.bytes);
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
        answer.bytes = World::image(
            random.oneIn(2) ? pngOfNoise(random, anyPngKind(random))
                            : sgiOfNoise(random, static_cast<unsigned>(asking.resolution.first) + 1,
                                         static_cast<unsigned>(random.below(40)), random.oneIn(2) ? 4 : 1));
        break;
    default: {
        Bytes file = fileOf(random, asking);
        if (asking.isPng)
            damagePng(random, file);
        else
            damage(random, file, 20);
        answer.bytes = World::image(file);
    }
    }
    settle(answer);
}

/// What a camera says of itself. Its datagrams name its own address or are no replies: nobody else is asked.
inline void spoilTexts(Random& random, Script& script, const std::string& address) {
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
        const std::string datagram(reply.bytes.begin(), reply.bytes.end());
        // An empty datagram would end the search for everybody.
        if (!datagram.empty() && Faults::addressIn(datagram).value_or(address) == address)
            script.datagrams.push_back(datagram);
    }
}

/// How a host asks that has this bound, of a camera with pictures of `size`.
inline Asking askingFor(const Size& size, bool isPng = false, unsigned samplesPerPixel = 3) {
    Asking asking{isPng, samplesPerPixel};
    asking.resolution = size;
    asking.mostPictureBytes = mostPictureBytes;
    return asking;
}

/// Who plays the script, at that address; each connection goes on with the attempts of the one before.
inline Faults::Camera cameraOf(const Script& script, const std::string& address) {
    const auto accept = [scene = std::make_shared<Scene>(script)] {
        return std::make_unique<Told>(scene, Delivery::atOnce);
    };
    return {accept, accept, address};
}

/// Of a search that hears its datagrams.
inline Faults::Outcome searchOf(const Script& script, const std::string& address) {
    std::vector<Faults::Datagram> datagrams;
    for (const std::string& datagram : script.datagrams)
        datagrams.emplace_back(datagram, Faults::Time(0));
    return Faults::search(cameraOf(script, address), datagrams, askingFor({}));
}

/// Every answer right: captures of `asking` give noise of its size, an identification a camera of an unknown
/// model, whose sample picture that is where `asking` is PNG of one sample. With `lies` some answers are
/// damaged: messages, files, texts, and how they come.
inline Script drawScript(Random& random, bool lies, const Asking& asking, const std::string& address) {
    Script script;
    script.datagrams = {"[Korva --Room Lab 2 --IP " + address + "]"};
    script.texts = {textAnswer("[Version --HW X900 --SW 3.2.15 --API 2.1]"),
                    textAnswer("[SerialNumber --Camera 1234]"),
                    textAnswer("[Settings --NetMask 255.255.255.0 --NetGateway 10.0.0.1]")};
    for (auto& attempt : script.attempts)
        attempt = rightAttempt(fileOf(random, asking));
    script.probe = script.attempts[0][0];
    if (!lies)
        return script;
    script.datagrams.clear();
    spoilTexts(random, script, address);
    const auto right = script.attempts[1];
    for (std::size_t left = 1 + random.below(5); left > 0; --left) {
        const std::size_t step = random.below(3);
        spoil(random, right, script.attempts[random.below(2)][step], step == 2, asking);
    }
    spoil(random, right, script.probe, false, asking);
    return script;
}

} // namespace Attack
