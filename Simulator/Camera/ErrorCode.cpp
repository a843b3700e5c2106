#include "Camera/ErrorCode.h"

namespace Simulator {

std::string_view describe(ErrorCode code) {
    switch (code) {
    case ErrorCode::None:
        return "no error";
    case ErrorCode::BadChecksum:
        return "wrong checksum";
    case ErrorCode::BadLength:
        return "wrong length";
    case ErrorCode::UnknownCommand:
        return "unknown command";
    case ErrorCode::UnknownArgument:
        return "unknown argument";
    case ErrorCode::WrongArguments:
        return "arguments of no request";
    case ErrorCode::BadArgumentLength:
        return "wrong argument length";
    case ErrorCode::ValueOutOfRange:
        return "value out of range";
    case ErrorCode::NotConfigured:
        return "not configured";
    case ErrorCode::NoPicture:
        return "no picture taken";
    }
    return "error of its own";
}

} // namespace Simulator
