#pragma once
// The messages that a camera answers with, in the simulator's own encoding.

#include "Camera/MessageCodec.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace World {

using Simulator::Bytes;

/// One argument of a message, of any code.
struct Arg {
    std::uint8_t code = 0;
    Bytes value = {};
};

/// A message with those arguments, sealed.
inline Bytes message(const std::vector<Arg>& args, std::uint8_t command = Simulator::cameraCommand) {
    std::vector<Simulator::Argument> views;
    for (const Arg& arg : args)
        views.push_back({arg.code, arg.value});
    return Simulator::encodeMessage(command, views);
}

inline Bytes done() {
    return Simulator::encodeAnswer(Simulator::ArgumentCode::done);
}
inline Bytes refusal(std::uint32_t code = 5) {
    return Simulator::encodeErrorAnswer(code);
}
inline Bytes image(const Bytes& file) {
    return Simulator::encodeAnswer(Simulator::ArgumentCode::getImage, file);
}

} // namespace World
