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
    Reaction reaction = answerMessage(ByteView(m_input).first(*length));
    m_input.erase(m_input.begin(), m_input.begin() + static_cast<std::ptrdiff_t>(*length));
    if (std::ranges::any_of(reaction.actions, endsConnection))
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

Reaction BinarySession::answerMessage(ByteView bytes) {
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
    if (request == RequestKind::Get && !m_picture)
        return ErrorCode::NoPicture;
    return ErrorCode::None;
}

void BinarySession::carryOut(const Request& request) {
    if (request.kind == RequestKind::Configure) {
        m_configuration = request.configuration;
        m_picture.reset();
    } else if (request.kind == RequestKind::Take) {
        m_picture = m_camera.pictureAnswer(*m_configuration);
    }
}

Reaction BinarySession::grant(const Request& request) {
    if (const ErrorCode error = stateError(request.kind); error != ErrorCode::None)
        return refuse(request.describe(), error);

    const std::optional<Fault> fault = m_camera.nextFault(placeOf(request.kind));
    if (!fault || fault->kind != FaultKind::Error)
        carryOut(request);
    const SharedBytes answer = deliversPicture(request)
                                   ? m_picture
                                   : std::make_shared<const Bytes>(encodeAnswer(ArgumentCode::Done));

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
