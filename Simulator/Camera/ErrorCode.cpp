#include "Camera/ErrorCode.h"

namespace Simulator {

std::string_view describe(ErrorCode code) {
    switch (code) {
    case ErrorCode::none:
        return "no error";
    case ErrorCode::badChecksum:
        return "wrong checksum";
    case ErrorCode::badLength:
        return "wrong length";
    case ErrorCode::unknownCommand:
        return "unknown command";
    case ErrorCode::unknownArgument:
        return "unknown argument";
    case ErrorCode::wrongArguments:
        return "arguments of no request";
    case ErrorCode::badArgumentLength:
        return "wrong argument length";
    case ErrorCode::valueOutOfRange:
        return "value out of range";
    case ErrorCode::notConfigured:
        return "not configured";
    case ErrorCode::noPicture:
        return "no picture taken";
    }
    return "error of its own";
}

} // namespace Simulator
