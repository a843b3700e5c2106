#include "Camera/Request.h"

#include <algorithm>
#include <array>

namespace Simulator {

namespace {

constexpr std::array configureOrder = {ArgumentCode::exposure, ArgumentCode::mode, ArgumentCode::format,
                                       ArgumentCode::depth, ArgumentCode::shift};
constexpr std::uint8_t onlyDepth = 16;
constexpr std::uint8_t onlyShift = 4;

bool isRequestArgument(const Argument& argument) {
    return argument.code >= static_cast<std::uint8_t>(ArgumentCode::exposure) &&
           argument.code <= static_cast<std::uint8_t>(ArgumentCode::shift);
}

std::size_t requiredLength(std::uint8_t code) {
    switch (static_cast<ArgumentCode>(code)) {
    case ArgumentCode::exposure:
        return 2;
    case ArgumentCode::takeImage:
    case ArgumentCode::getImage:
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
        return RequestKind::configure;
    if (arguments.size() != 1)
        return std::nullopt;
    switch (static_cast<ArgumentCode>(arguments.front().code)) {
    case ArgumentCode::format:
        return RequestKind::probe;
    case ArgumentCode::takeImage:
        return RequestKind::take;
    case ArgumentCode::getImage:
        return RequestKind::get;
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
        return ErrorCode::valueOutOfRange;

    Request request;
    request.kind = RequestKind::configure;
    request.configuration = {exposure, mode, static_cast<PictureFormat>(format)};
    return request;
}

std::string describeConfiguration(const Configuration& configuration) {
    const unsigned units = configuration.exposureUnits;
    return "exposure " + std::to_string(units / 10) + "." + std::to_string(units % 10) + " s, mode " +
           std::to_string(configuration.mode) +
           (configuration.format == PictureFormat::png ? ", PNG" : ", SGI") + ", depth " +
           std::to_string(onlyDepth) + ", shift " + std::to_string(onlyShift);
}

} // namespace

Place placeOf(RequestKind request) {
    switch (request) {
    case RequestKind::configure:
        return Place::configure;
    case RequestKind::take:
        return Place::take;
    case RequestKind::get:
        return Place::get;
    case RequestKind::probe:
        break;
    }
    return Place::probe;
}

std::string Request::describe() const {
    switch (kind) {
    case RequestKind::configure:
        return "configure: " + describeConfiguration(configuration);
    case RequestKind::take:
        return "take";
    case RequestKind::get:
        return "get";
    case RequestKind::probe:
        break;
    }
    return "probe: format " + std::to_string(probedValue);
}

std::variant<Request, ErrorCode> parseRequest(const Message& message) {
    if (message.command != cameraCommand)
        return ErrorCode::unknownCommand;
    if (!std::ranges::all_of(message.arguments, isRequestArgument))
        return ErrorCode::unknownArgument;
    const std::optional<RequestKind> kind = kindOf(message.arguments);
    if (!kind)
        return ErrorCode::wrongArguments;
    for (const Argument& each : message.arguments)
        if (each.value.size() != requiredLength(each.code))
            return ErrorCode::badArgumentLength;

    if (*kind == RequestKind::configure)
        return configureRequest(message.arguments);
    Request request;
    request.kind = *kind;
    if (*kind == RequestKind::probe)
        request.probedValue = message.arguments.front().value[0];
    return request;
}

} // namespace Simulator
