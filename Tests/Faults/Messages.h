#pragma once
// The binary protocol's answers, read as Docs/Protocol.md tells.

#include "Connection.h"
#include "Oracle.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Faults {

struct Argument {
    std::uint8_t code = 0;
    Bytes value;
};

struct Message {
    std::uint8_t command = 0;
    std::vector<Argument> arguments;
};

/// None, with a line, where it cannot be read. Throws Broken.
std::optional<Message> readMessage(Connection& connection, Lines& lines);

/// Whether it is what was asked for; with a line where it is not.
bool isWanted(const Message& message, bool wantsPicture, Lines& lines);

Line lineOf(const char* level, const char* logger, const char* file, const std::string& message,
            int number = 0);

} // namespace Faults
