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
    return request.kind == RequestKind::Get;
}

} // namespace

void BinarySession::append(ByteView input) {
    if (!m_closed)
        m_input.insert(m_input.end(), input.begin(), input.end());
}

std::optional<Reaction> BinarySession::next() {
    if (m_closed)
        return std::nullopt;
    const std::optional<std::size_t> length = announcedRequestLength(m_input);
    if (length == 0U)
        return loseFraming();
    if (!length || m_input.size() < *length)
        return std::nullopt;
    std::optional<Reaction> reaction = answerMessage(ByteView(m_input).first(*length));
    if (!reaction)
        return std::nullopt;
    m_input.erase(m_input.begin(), m_input.begin() + static_cast<std::ptrdiff_t>(*length));
    if (std::ranges::any_of(reaction->actions, endsConnection))
        stopListening();
    return reaction;
}

Reaction BinarySession::loseFraming() {
    Reaction reaction =
        refuse("message of " + std::to_string(read32(m_input, 1)) + " bytes announced", ErrorCode::BadLength);
    reaction.actions.emplace_back(CloseConnection{});
    stopListening();
    return reaction;
}

void BinarySession::stopListening() {
    m_closed = true;
    m_input.clear();
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
    if (request == RequestKind::Take && !m_configuration)
        return ErrorCode::NotConfigured;
    if (request == RequestKind::Get && !m_taken)
        return ErrorCode::NoPicture;
    return ErrorCode::None;
}

BinarySession::UnderWay BinarySession::begin(const Request& request) {
    UnderWay underWay{m_camera.nextFault(placeOf(request.kind)), nullptr};
    const bool carriedOut = !underWay.fault || underWay.fault->kind != FaultKind::Error;
    if (carriedOut && request.kind == RequestKind::Configure) {
        m_configuration = request.configuration;
        m_taken.reset();
        m_picture.reset();
    } else if (carriedOut && request.kind == RequestKind::Take) {
        m_taken = m_configuration;
        m_picture.reset();
    } else if (deliversPicture(request)) {
        if (!m_picture)
            m_picture = m_camera.orderPicture(*m_taken);
        if (underWay.fault && underWay.fault->kind == FaultKind::BlackPicture)
            underWay.black = m_camera.orderBlackPicture(*m_taken);
    }
    return underWay;
}

bool BinarySession::hasPictures(const UnderWay& underWay) {
    for (const SharedOrder& due : {m_picture, underWay.black}) {
        if (!due)
            continue;
        if (!due->isDone())
            m_camera.work();
        if (!due->isDone())
            return false;
        if (due->failure)
            std::rethrow_exception(due->failure);
    }
    return true;
}

SharedBytes BinarySession::answerTo(const Request& request) const {
    return deliversPicture(request) ? m_picture->answer
                                    : std::make_shared<const Bytes>(encodeAnswer(ArgumentCode::Done));
}

std::optional<Reaction> BinarySession::grant(const Request& request) {
    if (const ErrorCode error = stateError(request.kind); error != ErrorCode::None)
        return refuse(request.describe(), error);

    if (!m_underWay)
        m_underWay = begin(request);
    if (deliversPicture(request) && !hasPictures(*m_underWay))
        return std::nullopt;
    const std::optional<Fault> fault = std::exchange(m_underWay, std::nullopt)->fault;
    const SharedBytes answer = answerTo(request);
    const SharedBytes before = std::exchange(m_before, answer);

    Reaction reaction;
    if (request.kind == RequestKind::Take && m_camera.settings().waitExposure)
        reaction.actions.emplace_back(Pause{std::chrono::milliseconds{100} * m_configuration->exposureUnits});
    reaction.events.push_back(request.describe() +
                              (deliversPicture(request)
                                   ? " -> GetImage, " + std::to_string(answer->size()) + " bytes in all"
                                   : " -> Done"));
    if (!fault) {
        reaction.actions.push_back(sendWhole(answer));
        return reaction;
    }
    reaction.events.push_back("fault " + fault->describe());
    if (fault->kind == FaultKind::Stale && before)
        reaction.actions.push_back(sendWhole(before));
    for (Action& action : faultedAnswer(*fault, answer, m_camera, m_configuration.value_or(Configuration())))
        reaction.actions.push_back(std::move(action));
    return reaction;
}

} // namespace Simulator
