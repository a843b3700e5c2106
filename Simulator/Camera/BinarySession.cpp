#include "Camera/BinarySession.h"

#include "Camera/Delivery.h"
#include "Camera/FaultedAnswer.h"

#include <algorithm>
#include <utility>

namespace Simulator {

namespace {

Action sendError(ErrorCode code) {
    return sendWhole(std::make_shared<const Bytes>(encodeErrorAnswer(static_cast<std::uint32_t>(code))));
}

std::string errorWords(ErrorCode code) {
    return " -> Error " + std::to_string(static_cast<std::uint32_t>(code)) + " (" +
           std::string(describe(code)) + ")";
}

Reaction refuse(const std::string& request, ErrorCode code) {
    return {{sendError(code)}, {request + errorWords(code)}};
}

bool deliversPicture(const Request& request) {
    return request.kind == RequestKind::get;
}

} // namespace

void BinarySession::append(ByteView input) {
    if (!closed_)
        input_.insert(input_.end(), input.begin(), input.end());
}

std::optional<Reaction> BinarySession::next() {
    if (closed_)
        return std::nullopt;
    const std::optional<std::size_t> length = announcedRequestLength(input_);
    if (length == 0U)
        return loseFraming();
    if (!length || input_.size() < *length)
        return std::nullopt;
    std::optional<Reaction> reaction = answerMessage(ByteView(input_).first(*length));
    if (!reaction)
        return std::nullopt;
    input_.erase(input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(*length));
    if (std::ranges::any_of(reaction->actions, endsConnection))
        stopListening();
    return reaction;
}

Reaction BinarySession::loseFraming() {
    Reaction reaction =
        refuse("message of " + std::to_string(read32(input_, 1)) + " bytes announced", ErrorCode::badLength);
    reaction.actions.emplace_back(CloseConnection{});
    stopListening();
    return reaction;
}

void BinarySession::stopListening() {
    closed_ = true;
    input_.clear();
}

std::optional<Reaction> BinarySession::answerMessage(ByteView bytes) {
    const std::string anyRequest = "request of " + std::to_string(bytes.size()) + " bytes";
    const auto message = decodeRequest(bytes);
    if (const auto* const error = std::get_if<ErrorCode>(&message))
        return refuse(anyRequest, *error);
    const auto request = parseRequest(std::get<Message>(message));
    if (const auto* const error = std::get_if<ErrorCode>(&request))
        return refuse(anyRequest, *error);
    return grant(std::get<Request>(request));
}

ErrorCode BinarySession::stateError(RequestKind request) const {
    if (request == RequestKind::take && !configuration_)
        return ErrorCode::notConfigured;
    if (request == RequestKind::get && !taken_)
        return ErrorCode::noPicture;
    return ErrorCode::none;
}

BinarySession::UnderWay BinarySession::begin(const Request& request) {
    UnderWay underWay{camera_.nextFault(placeOf(request.kind)), nullptr};
    const bool carriedOut = !underWay.fault || underWay.fault->kind != FaultKind::error;
    if (carriedOut && request.kind == RequestKind::configure) {
        configuration_ = request.configuration;
        taken_.reset();
        picture_.reset();
    } else if (carriedOut && request.kind == RequestKind::take) {
        taken_ = configuration_;
        picture_.reset();
    } else if (deliversPicture(request)) {
        if (!picture_)
            picture_ = camera_.orderPicture(*taken_);
        if (underWay.fault && underWay.fault->kind == FaultKind::blackPicture)
            underWay.black = camera_.orderBlackPicture(*taken_);
    }
    return underWay;
}

bool BinarySession::hasPictures(const UnderWay& underWay) {
    for (const SharedOrder& due : {picture_, underWay.black}) {
        if (!due)
            continue;
        if (!due->isDone())
            camera_.work();
        if (!due->isDone())
            return false;
        if (due->failure)
            std::rethrow_exception(due->failure);
    }
    return true;
}

SharedBytes BinarySession::answerTo(const Request& request) const {
    return deliversPicture(request) ? picture_->answer
                                    : std::make_shared<const Bytes>(encodeAnswer(ArgumentCode::done));
}

std::optional<Reaction> BinarySession::grant(const Request& request) {
    if (const ErrorCode error = stateError(request.kind); error != ErrorCode::none)
        return refuse(request.describe(), error);

    if (!underWay_)
        underWay_ = begin(request);
    if (deliversPicture(request) && !hasPictures(*underWay_))
        return std::nullopt;
    const std::optional<Fault> fault = std::exchange(underWay_, std::nullopt)->fault;
    const SharedBytes answer = answerTo(request);
    const SharedBytes before = std::exchange(before_, answer);

    Reaction reaction;
    if (request.kind == RequestKind::take && camera_.settings().waitExposure)
        reaction.actions.emplace_back(Pause{std::chrono::milliseconds{100} * configuration_->exposureUnits});
    reaction.events.push_back(request.describe() +
                              (deliversPicture(request)
                                   ? " -> GetImage, " + std::to_string(answer->size()) + " bytes in all"
                                   : " -> Done"));
    if (!fault) {
        reaction.actions.push_back(sendWhole(answer));
        return reaction;
    }
    reaction.events.push_back("fault " + fault->describe());
    if (fault->kind == FaultKind::stale && before)
        reaction.actions.push_back(sendWhole(before));
    for (Action& action : faultedAnswer(*fault, answer, camera_, configuration_.value_or(Configuration())))
        reaction.actions.push_back(std::move(action));
    return reaction;
}

} // namespace Simulator
