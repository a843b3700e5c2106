#pragma once
// Talking to a simulated camera in tests: the requests as literal bytes, and what a session answers.

#include "Camera/BinarySession.h"
#include "Camera/Random.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Simulator::Testing {

inline Bytes bytesOf(std::initializer_list<int> values) {
    return {values.begin(), values.end()};
}

inline Bytes bytesOfText(std::string_view text) {
    return {text.begin(), text.end()};
}

inline std::string textOfBytes(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

inline const Bytes probeRequest = bytesOf({1, 0, 0, 0, 0x0E, 1, 4, 0, 0, 0, 1, 0, 0, 0x15});
inline const Bytes takeRequest = bytesOf({1, 0, 0, 0, 0x0D, 1, 5, 0, 0, 0, 0, 0, 0x14});
inline const Bytes getRequest = bytesOf({1, 0, 0, 0, 0x0D, 1, 6, 0, 0, 0, 0, 0, 0x15});
inline const Bytes doneAnswer = bytesOf({1, 0, 0, 0, 0x0D, 1, 0, 0, 0, 0, 0, 0, 0x0F});

/// Puts a right checksum behind a request written without one.
inline Bytes sealed(Bytes request) {
    request.resize(request.size() + checksumBytes);
    seal(request);
    return request;
}

inline Bytes configureWith(int exposure, int mode, int format, int depth = 16, int shift = 4) {
    return sealed(bytesOf({1, 0, 0, 0, 0x27,  5,    2, 0, 0, 0, 2,    exposure >> 8, exposure & 255,
                           3, 0, 0, 0, 1,     mode, 4, 0, 0, 0, 1,    format,        7,
                           0, 0, 0, 1, depth, 8,    0, 0, 0, 1, shift}));
}

/// Exposure 10 s, mode 2, SGI.
inline const Bytes configureRequest = configureWith(100, 2, 1);

inline Bytes joined(std::initializer_list<Bytes> requests) {
    Bytes all;
    for (const Bytes& request : requests)
        all.insert(all.end(), request.begin(), request.end());
    return all;
}

inline Bytes repeated(const Bytes& request, int count) {
    Bytes all;
    while (count-- > 0)
        all.insert(all.end(), request.begin(), request.end());
    return all;
}

/// An `Error` answer as it travels.
inline Bytes errorAnswer(ErrorCode code) {
    return sealed(bytesOf({1, 0, 0, 0, 0x11, 1, 1, 0, 0, 0, 4, 0, 0, 0, static_cast<int>(code)}));
}

/// Meaningless bytes that neither an answer nor a picture file begins with.
inline Bytes garbage(std::size_t count) {
    Bytes bytes{0xAA};
    while (bytes.size() < count)
        bytes.push_back(static_cast<std::uint8_t>(randomBits(1, bytes.size())));
    return bytes;
}

/// A camera of small pictures.
inline CameraSettings smallCamera(SceneKind scene = SceneKind::ramp) {
    CameraSettings settings;
    settings.size = PictureSize{8, 3};
    settings.scene.kind = scene;
    return settings;
}

/// The same with these faults.
inline CameraSettings smallCameraWith(std::initializer_list<std::string_view> faults) {
    CameraSettings settings = smallCamera();
    for (const std::string_view fault : faults)
        settings.faults.push_back(parseFault(fault));
    return settings;
}

/// All reactions to what the session has received so far, however often it must be asked for them.
inline std::vector<Reaction> reactionsOf(Session& session) {
    std::vector<Reaction> reactions;
    while (true) {
        if (std::optional<Reaction> reaction = session.next())
            reactions.push_back(std::move(*reaction));
        else if (!session.isWorking())
            return reactions;
    }
}

/// The first one to this.
inline Reaction reactionTo(Session& session, const Bytes& request) {
    session.append(request);
    const std::vector<Reaction> reactions = reactionsOf(session);
    return reactions.empty() ? Reaction() : reactions.front();
}

/// What the actions send, pieces joined.
inline Bytes sentBytes(const std::vector<Action>& actions) {
    Bytes sent;
    for (const Action& action : actions)
        if (const auto* const sending = std::get_if<SendBytes>(&action))
            sent.insert(sent.end(), sending->bytes->begin(),
                        sending->bytes->begin() + static_cast<std::ptrdiff_t>(sending->length));
    return sent;
}

/// "01 0d ff".
inline std::string hex(const Bytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        constexpr std::string_view digits = "0123456789abcdef";
        text.append(text.empty() ? 0 : 1, ' ');
        text += {digits[byte / 16], digits[byte % 16]};
    }
    return text;
}

/// What the actions do: "pause 250, send, close", where `written` writes what is sent.
inline std::string told(const std::vector<Action>& actions, std::string (*written)(const Bytes&)) {
    std::string text;
    for (const Action& action : actions) {
        text += text.empty() ? "" : ", ";
        if (const auto* const pause = std::get_if<Pause>(&action))
            text += "pause " + std::to_string(pause->length.count());
        else if (std::holds_alternative<CloseConnection>(action))
            text += "close";
        else if (std::holds_alternative<ResetConnection>(action))
            text += "reset";
        if (const auto* const sending = std::get_if<SendBytes>(&action)) {
            text += sending->endless ? "endlessly " : "";
            if (sending->pieceBytes != 0)
                text += std::to_string(sending->pieceBytes) + " bytes each " +
                        std::to_string(sending->pause.count()) + " ms of ";
            text += sending->length == 0 ? "nothing" : written(sentBytes({action}));
        }
    }
    return text;
}

} // namespace Simulator::Testing
