#include "FaultMatrixCamera.h"

#include "FaultMatrixWire.h"
#include "Support/WireMessages.h"

#include <stdexcept>
#include <utility>

namespace FaultMatrix {
namespace {

constexpr std::size_t firstCodeOffset = 6;
constexpr std::size_t formatOffset = 24; ///< of the value, in a configuration
constexpr std::uint8_t formatPng = 2;

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

} // namespace

MatrixCamera::MatrixCamera(Bytes sgi, Bytes png) : sgi_(std::move(sgi)), png_(std::move(png)) {}

void MatrixCamera::setPictures(Bytes sgi, Bytes png) {
    sgi_ = std::move(sgi);
    png_ = std::move(png);
}

void MatrixCamera::strike(const Place& place, Fault fault) {
    place_ = place;
    fault_ = std::move(fault);
    configurations_ = 0;
    hasStruck_ = false;
}

void MatrixCamera::mend() {
    strike({Exchange::probe, 0}, nullptr);
}

Exchange exchangeOf(const Bytes& request) {
    const std::string text(request.begin(), request.end());
    if (text == "[Version --HW --SW --API]")
        return Exchange::version;
    if (text == "[SerialNumber --Camera]")
        return Exchange::serial;
    if (text == "[--Settings --NetworkProtocol --NetMask --NetGateway]")
        return Exchange::network;
    switch (request.at(firstCodeOffset)) {
    case 2:
        return Exchange::configure;
    case 5:
        return Exchange::take;
    case 6:
        return Exchange::get;
    case 4:
        return Exchange::probe;
    default:
        throw std::logic_error("a request that the plug-in does not make");
    }
}

std::string MatrixCamera::replyOf(Exchange exchange) const {
    switch (exchange) {
    case Exchange::version:
        return "[Version --HW " + hardware_ + " --SW 3.2.15 --API 7]";
    case Exchange::serial:
        return "[SerialNumber --Camera K-0042]";
    default:
        return "[--Settings --NetworkProtocol DHCP --NetMask 255.255.255.0 --NetGateway 10.0.0.254]";
    }
}

Bytes MatrixCamera::dueOf(Exchange exchange, bool wantsPng) const {
    if (isText(exchange))
        return bytesOf(replyOf(exchange));
    if (exchange == Exchange::get)
        return TestSupport::wireMessage({{6, wantsPng ? png_ : sgi_}});
    return TestSupport::wireMessage({{0, {}}});
}

/// The queries and the requests of a picture go round in their order; a probe follows a probe.
Bytes MatrixCamera::beforeOf(Exchange exchange) const {
    switch (exchange) {
    case Exchange::version:
        return dueOf(Exchange::network, isPngAsked_);
    case Exchange::serial:
        return dueOf(Exchange::version, isPngAsked_);
    case Exchange::network:
        return dueOf(Exchange::serial, isPngAsked_);
    case Exchange::configure:
        return dueOf(Exchange::get, isPngAsked_);
    default:
        return dueOf(Exchange::take, isPngAsked_);
    }
}

bool MatrixCamera::isStruck(Exchange exchange) const {
    if (fault_ == nullptr || hasStruck_ || exchange != place_.exchange)
        return false;
    return !isOfAPicture(exchange) || configurations_ == place_.attempt;
}

Arrivals MatrixCamera::answer(const Bytes& request) {
    const Exchange exchange = exchangeOf(request);
    if (exchange == Exchange::configure) {
        ++configurations_;
        isPngAsked_ = request.at(formatOffset) == formatPng;
        if (fault_ != nullptr && configurations_ < place_.attempt)
            return whole(TestSupport::wireMessage({{1, {0, 0, 0, refusalCode}}}));
    }
    const Bytes due = dueOf(exchange, isPngAsked_);
    if (!isStruck(exchange))
        return whole(due);
    hasStruck_ = true;
    return fault_(due, beforeOf(exchange));
}

} // namespace FaultMatrix
