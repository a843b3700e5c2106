#pragma once
// A camera in virtual time that does all right but for one answer.

#include "FaultMatrixKinds.h"
#include "Support/TimedLine.h"

#include <functional>
#include <string>

namespace FaultMatrix {

using TestSupport::Arrivals;
using TestSupport::Bytes;

/// Makes the faulty answer of the right one and of the answer to the message before.
using Fault = std::function<Arrivals(const Bytes& due, const Bytes& before)>;

/// Answers the queries of the text language and the requests of the binary protocol.
class MatrixCamera {
public:
    /// `sgi` and `png` are the picture files that it sends.
    MatrixCamera(Bytes sgi, Bytes png);

    /// The hardware identifier that it tells; "XM61" unless set.
    void setHardware(const std::string& hardware) { hardware_ = hardware; }
    void setPictures(Bytes sgi, Bytes png);
    /// From now on: the answer at `place`, attempts counted from now, is what `fault` makes of it.
    void strike(const Place& place, Fault fault);
    /// From now on all is right.
    void mend();

    Arrivals answer(const Bytes& request);

    /// Since the fault was set.
    int configurations() const { return configurations_; }
    bool hasStruck() const { return hasStruck_; }

    Bytes dueOf(Exchange exchange, bool png) const;
    std::string replyOf(Exchange exchange) const;

private:
    Bytes beforeOf(Exchange exchange) const;
    bool isStruck(Exchange exchange) const;

    Bytes sgi_;
    Bytes png_;
    std::string hardware_ = "XM61";
    Place place_{Exchange::probe, 0};
    Fault fault_;
    int configurations_ = 0;
    bool hasStruck_ = false;
    bool isPngAsked_ = false; ///< what the last configuration asked for
};

/// What a request asks.
Exchange exchangeOf(const Bytes& request);

} // namespace FaultMatrix
