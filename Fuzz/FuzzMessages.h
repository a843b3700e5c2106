#pragma once
// Messages of the binary protocol from a fuzzer's bytes: these say what is in a message, the lengths and the
// checksum are made right.

#include "FuzzInput.h"

#include "NativeCameraKorva/KorvaMessage.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Fuzz {

using ArgView = Simulator::Argument;

inline bool isImage(const ArgView& arg) {
    return arg.code == static_cast<std::uint8_t>(Korva::Binary::ArgCode::GetImage);
}

/// True if the reader takes such a value.
inline bool isReadable(const ArgView& arg) {
    return isImage(arg) || arg.value.size() <= Korva::Binary::inlineValueBytes;
}

/// At most `most` arguments, as many as the bytes make: type, length of the value, value.
inline std::vector<ArgView> argumentsFrom(Input& input, std::size_t most) {
    std::vector<ArgView> args;
    while (!input.isEmpty() && args.size() < most) {
        ArgView& arg = args.emplace_back();
        arg.code = input.byte();
        const std::size_t length = input.byte();
        arg.value = input.view(length);
    }
    return args;
}

inline Bytes messageOf(const std::vector<ArgView>& args, std::uint8_t command = 1) {
    return Simulator::encodeMessage(command, args);
}

} // namespace Fuzz
