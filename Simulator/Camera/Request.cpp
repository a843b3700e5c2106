#include "Camera/Request.h"

#include <algorithm>
#include <array>

namespace Simulator {

namespace {

constexpr std::array configureOrder = {ArgumentCode::Exposure, ArgumentCode::Mode, ArgumentCode::Format,
                                       ArgumentCode::Depth, ArgumentCode::Shift};
constexpr std::uint8_t onlyDepth = 16;
constexpr std::uint8_t onlyShift = 4;

bool isRequestArgument(const Argument& argument) {
    return argument.code >= static_cast<std::uint8_t>(ArgumentCode::Exposure) &&
           argument.code <= static_cast<std::uint8_t>(ArgumentCode::Shift);
}

std::size_t requiredLength(std::uint8_t code) {
    switch (static_cast<ArgumentCode>(code)) {
    case ArgumentCode::Exposure:
        return 2;
    case ArgumentCode::TakeImage:
    case ArgumentCode::GetImage:
        return 0;
    default:
        return 1;
    }
}

bool isConfigure(const std::vector<Argument>& arguments) {
    return std::ranges::equal(arguments, configureOrder, [](const Argument& given, ArgumentCode due) {
        return given.code == static_cast<std::uint8_t>(due);
    });
}

std::optional<RequestKind> kindOf(const std::vector<Argument>& arguments) {
    if (isConfigure(arguments))
        return RequestKind::Configure;
    if (arguments.size() != 1)
        return std::nullopt;
    switch (static_cast<ArgumentCode>(arguments.front().code)) {
    case ArgumentCode::Format:
        return RequestKind::Probe;
    case ArgumentCode::TakeImage:
        return RequestKind::Take;
    case ArgumentCode::GetImage:
        return RequestKind::Get;
    default:
        return std::nullopt;
    }
}

std::variant<Request, ErrorCode> configureRequest(const std::vector<Argument>& arguments) {
    const std::uint16_t exposure = read16(arguments[0].value, 0);
    const std::uint8_t mode = arguments[1].value[0];
    const std::uint8_t format = arguments[2].value[0];
    const bool inRange = exposure >= shortestExposureUnits && exposure <= longestExposureUnits && mode >= 1 &&
                         mode <= 3 && format >= 1 && format <= 2 && arguments[3].value[0] == onlyDepth &&
                         arguments[4].value[0] == onlyShift;
    if (!inRange)
        return ErrorCode::ValueOutOfRange;

    Request request;
    request.kind = RequestKind::Configure;
    request.configuration = {exposure, mode, static_cast<PictureFormat>(format)};
    return request;
}

std::string describeConfiguration(const Configuration& configuration) {
    const unsigned units = configuration.exposureUnits;
    return "exposure " + std::to_string(units / 10) + "." + std::to_string(units % 10) + " s, mode " +
           std::to_string(configuration.mode) +
           (configuration.format == PictureFormat::Png ? ", PNG" : ", SGI") + ", depth " +
           std::to_string(onlyDepth) + ", shift " + std::to_string(onlyShift);
}

} // namespace

Place placeOf(RequestKind request) {
    switch (request) {
    case RequestKind::Configure:
        return Place::Configure;
    case RequestKind::Take:
        return Place::Take;
    case RequestKind::Get:
        return Place::Get;
    case RequestKind::Probe:
        break;
    }
    return Place::Probe;
}

std::string Request::describe() const {
    switch (kind) {
    case RequestKind::Configure:
        return "configure: " + describeConfiguration(configuration);
    case RequestKind::Take:
        return "take";
    case RequestKind::Get:
        return "get";
    case RequestKind::Probe:
        break;
    }
    return "probe: format " + std::to_string(probedValue);
}

std::variant<Request, ErrorCode> parseRequest(const Message& message) {
    if (message.command != cameraCommand)
        return ErrorCode::UnknownCommand;
    if (!std::ranges::all_of(message.arguments, isRequestArgument))
        return ErrorCode::UnknownArgument;
    const std::optional<RequestKind> kind = kindOf(message.arguments);
    if (!kind)
        return ErrorCode::WrongArguments;
    for (const Argument& each : message.arguments)
        if (each.value.size() != requiredLength(each.code))
            return ErrorCode::BadArgumentLength;

    if (*kind == RequestKind::Configure)
        return configureRequest(message.arguments);
    Request request;
    request.kind = *kind;
    if (*kind == RequestKind::Probe)
        request.probedValue = message.arguments.front().value[0];
    return request;
}

} // namespace Simulator
