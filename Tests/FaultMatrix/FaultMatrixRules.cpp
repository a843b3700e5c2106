#include "FaultMatrixRules.h"

#include "Platform/Text.h"

namespace FaultMatrix {
namespace {

constexpr int attemptsOfACapture = 2;
constexpr int healthGood = 2;
constexpr int healthNoPicture = 1032;
constexpr int healthNoConnection = 2056;
constexpr Exchange inOrder[] = {Exchange::configure, Exchange::take, Exchange::get};

const char* unreadLine(Exchange exchange) {
    switch (exchange) {
    case Exchange::configure:
        return "parseIncomingMessage failed for image configuration";
    case Exchange::take:
        return "parseIncomingMessage failed for take image request";
    default:
        return "parseIncomingMessage failed for GetImage";
    }
}

/// Follows one connection through a capture.
class Walk {
public:
    Walk(const std::wstring& endpoint, const Struck& struck) : endpoint_(endpoint), struck_(struck) {}

    CaptureOutcome run(int firstAttempt) {
        for (int attempt = firstAttempt; attempt < firstAttempt + attemptsOfACapture; ++attempt) {
            const bool done = tryOnce(attempt);
            if (done || outcome_.what == CaptureOutcome::What::thrown)
                break;
        }
        return outcome_;
    }

private:
    /// True where there is nothing left to be asked.
    bool tryOnce(int attempt) {
        for (const Exchange exchange : inOrder) {
            if (state_ == Afterwards::broken)
                return fail(L"send", reason_);
            outcome_.configurations += exchange == Exchange::configure ? 1 : 0;
            if (!ask(attempt, exchange))
                return false;
        }
        outcome_.what = CaptureOutcome::What::picture;
        return true;
    }

    bool ask(int attempt, Exchange exchange) {
        const Reading reading = next(attempt, exchange);
        outcome_.waited += reading.waited;
        if (reading.verdict == Verdict::thrown)
            return fail(L"receive", reading.reason);
        add(reading.read);
        if (reading.verdict == Verdict::unread)
            add({captureError(unreadLine(exchange))});
        else
            add(reading.judged);
        state_ = reading.afterwards;
        reason_ = reading.reason;
        return reading.verdict == Verdict::accepted;
    }

    Reading next(int attempt, Exchange exchange) const {
        const bool wantsPicture = exchange == Exchange::get;
        if (state_ == Afterwards::trailing)
            return readingOfZeros();
        if (state_ == Afterwards::flooded) {
            Reading again = struck_.reading;
            again.waited += std::chrono::seconds(3);
            return again;
        }
        if (state_ == Afterwards::oneTooMany) {
            Reading late = readingOfLate(struck_.isPicture, wantsPicture);
            late.waited = lateness - std::chrono::seconds(10);
            return late;
        }
        if (attempt < struck_.place.attempt && exchange == Exchange::configure)
            return refusedReading(refusalCode);
        if (attempt == struck_.place.attempt && exchange == struck_.place.exchange)
            return struck_.reading;
        return goodReading();
    }

    bool fail(const wchar_t* operation, const std::wstring& reason) {
        outcome_.what = CaptureOutcome::What::thrown;
        outcome_.exception = failureOf(endpoint_, operation, reason);
        return false;
    }

    void add(const Lines& lines) { outcome_.lines.insert(outcome_.lines.end(), lines.begin(), lines.end()); }

    const std::wstring& endpoint_;
    const Struck& struck_;
    CaptureOutcome outcome_;
    Afterwards state_ = Afterwards::usable;
    std::wstring reason_;
};

} // namespace

std::wstring failureOf(const std::wstring& endpoint, const wchar_t* operation, const std::wstring& reason) {
    return endpoint + L": " + operation + L" failed: " + reason;
}

Struck struckBy(Kind kind, const Place& place, const Bytes& done, const Bytes& picture) {
    const bool isPicture = place.exchange == Exchange::get;
    // Before a configuration stood the picture of the capture before it.
    const Due due{isPicture ? picture : done, isPicture, place.exchange == Exchange::configure};
    return {place, readingOf(kind, due), isPicture};
}

CaptureOutcome capture(const std::wstring& endpoint, const Struck& struck, int firstAttempt) {
    return Walk(endpoint, struck).run(firstAttempt);
}

DeviceOutcome pictureRequest(const std::wstring& endpoint, const Struck& struck) {
    const CaptureOutcome captured = capture(endpoint, struck);
    DeviceOutcome outcome{captured.what == CaptureOutcome::What::picture, healthGood, captured.lines,
                          captured.configurations, captured.waited};
    if (outcome.good)
        return outcome;
    outcome.health = healthNoPicture;
    if (captured.what == CaptureOutcome::What::thrown)
        outcome.lines.push_back(
            internalsError("Communicator error: " + Platform::utf8FromWide(captured.exception), 101));
    else
        outcome.lines.push_back(internalsError("Failed to capture Korva image"));
    return outcome;
}

DeviceOutcome connectionCheck(const std::wstring& endpoint, const Reading& reading) {
    DeviceOutcome outcome{true, 0, reading.read, 0, reading.waited};
    // What the answer says is not judged.
    if (reading.verdict == Verdict::accepted || reading.verdict == Verdict::refused)
        return outcome;
    outcome.good = false;
    outcome.health = healthNoConnection;
    if (reading.verdict == Verdict::unread)
        outcome.lines.push_back(internalsError("validateConnection: parseIncomingMessage failed", 138));
    else
        outcome.lines.push_back(
            internalsError("validateConnection: Communicator error: " +
                               Platform::utf8FromWide(failureOf(endpoint, L"receive", reading.reason)),
                           147));
    return outcome;
}

} // namespace FaultMatrix
