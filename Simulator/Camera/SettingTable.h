#pragma once
// Every setting of a simulated camera: a row is both an option of the command line and a key of a set's file.

#include "Camera/CameraSettings.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace Simulator {

/// Gives a camera the value. Throws std::invalid_argument with what would be right.
template <typename Value>
using Apply = void (*)(CameraEntry&, Value);

/// What a text must be before it is applied. Command line and file judge that each in its own words.
enum class TextKind {
    any,
    servedAddress, ///< IPv4, of this machine
    address,       ///< IPv4
    protocol,      ///< "static" or "DHCP"
    repeated,      ///< any number of texts, each applied: an array in a file
};

struct Setting {
    std::string_view key;         ///< in a file
    std::string_view placeholder; ///< for the value in the help: "MODEL"
    std::string help;
    std::variant<Apply<const std::string&>, Apply<std::uint16_t>, Apply<std::uint64_t>, Apply<bool>> apply;
    TextKind kind = TextKind::any; ///< of a text

    /// The option of the command line: the key behind two hyphens; of what is repeated, the singular.
    std::string option() const;
};

/// All of them, in the order of the help; the same at every call.
std::span<const Setting> settingTable();

} // namespace Simulator
