#include "Camera/Fault.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <stdexcept>

namespace Simulator {

namespace {

constexpr std::uint32_t longestPauseMs = 3'600'000;
constexpr std::uint32_t anyNumber = std::numeric_limits<std::uint32_t>::max();

enum class ValueForm { None, Code, OptionalBytes, Pause, Drip };

struct FaultRow {
    std::string_view name;
    FaultKind kind;
    ValueForm form;
    std::string_view meaning;
};

constexpr std::array faultRows = {
    FaultRow{"checksum", FaultKind::Checksum, ValueForm::None, "wrong checksum"},
    FaultRow{"error", FaultKind::Error, ValueForm::Code, "Error with this code, nothing is carried out"},
    FaultRow{"wrong-response", FaultKind::WrongResponse, ValueForm::None,
             "Done where a picture is due, GetImage where Done is due"},
    FaultRow{"no-argument", FaultKind::NoArgument, ValueForm::None, "an answer without any argument"},
    FaultRow{"two-arguments", FaultKind::TwoArguments, ValueForm::None, "a further Done behind the answer"},
    FaultRow{"wrong-command", FaultKind::WrongCommand, ValueForm::None, "command 2 echoed instead of 1"},
    FaultRow{"unknown-code", FaultKind::UnknownCode, ValueForm::None, "an argument of code 99"},
    FaultRow{"length-large", FaultKind::LengthLarge, ValueForm::None, "twice the length announced"},
    FaultRow{"length-small", FaultKind::LengthSmall, ValueForm::None, "half the length announced"},
    FaultRow{"length-wrap", FaultKind::LengthWrap, ValueForm::None, "an argument length that wraps 32 bits"},
    FaultRow{"long-value", FaultKind::LongValue, ValueForm::None, "Done with 8 value bytes"},
    FaultRow{"truncate-close", FaultKind::TruncateClose, ValueForm::OptionalBytes,
             "so many bytes (default: half), then closed"},
    FaultRow{"truncate-silent", FaultKind::TruncateSilent, ValueForm::OptionalBytes,
             "so many bytes (default: half), the rest never"},
    FaultRow{"reset", FaultKind::Reset, ValueForm::None, "connection reset"},
    FaultRow{"delay", FaultKind::Delay, ValueForm::Pause, "the answer comes late"},
    FaultRow{"drip", FaultKind::Drip, ValueForm::Drip, "pieces of BYTES with a pause of MS between them"},
    FaultRow{"close", FaultKind::Close, ValueForm::None, "connection closed without an answer"},
    FaultRow{"silent", FaultKind::Silent, ValueForm::None, "no answer"},
    FaultRow{"garbage-picture", FaultKind::GarbagePicture, ValueForm::None, "a file of meaningless bytes"},
    FaultRow{"empty-picture", FaultKind::EmptyPicture, ValueForm::None, "a picture of 0 x 0 pixels"},
    FaultRow{"black-picture", FaultKind::BlackPicture, ValueForm::None, "a picture all black"},
};

struct RequestRow {
    std::string_view name;
    std::optional<RequestKind> kind;
};

constexpr std::array requestRows = {
    RequestRow{"configure", RequestKind::Configure},
    RequestRow{"take", RequestKind::Take},
    RequestRow{"get", RequestKind::Get},
    RequestRow{"probe", RequestKind::Probe},
    RequestRow{"any", std::nullopt},
};

std::string_view syntaxOf(ValueForm form) {
    switch (form) {
    case ValueForm::None:
        return "";
    case ValueForm::Code:
        return "=CODE";
    case ValueForm::OptionalBytes:
        return "[=BYTES]";
    case ValueForm::Pause:
        return "=MS";
    case ValueForm::Drip:
        return "=BYTES/MS";
    }
    return "";
}

bool spoilsThePicture(FaultKind kind) {
    return kind == FaultKind::GarbagePicture || kind == FaultKind::EmptyPicture ||
           kind == FaultKind::BlackPicture;
}

const FaultRow& rowOf(FaultKind kind) {
    return *std::ranges::find(faultRows, kind, &FaultRow::kind);
}

/// Reads one fault text; keeps the whole text for its messages.
class FaultParser {
public:
    explicit FaultParser(std::string_view text) : m_text(text) {}

    Fault parse() {
        const std::size_t colon = m_text.find(':');
        if (colon == std::string_view::npos)
            refuse("write REQUEST:FAULT, such as get:checksum");
        std::string_view rest = m_text.substr(colon + 1);
        Fault fault;
        fault.request = requestNamed(m_text.substr(0, colon));
        if (const std::size_t star = rest.find('*'); star != std::string_view::npos) {
            fault.times = number(rest.substr(star + 1), 1, anyNumber, "the count behind *");
            rest = rest.substr(0, star);
        }
        const std::size_t equals = rest.find('=');
        const FaultRow& row = rowNamed(rest.substr(0, equals));
        fault.kind = row.kind;
        if (spoilsThePicture(row.kind) && !fault.hits(RequestKind::Get))
            refuse("only an answer to get carries a picture; write get:" + std::string(row.name));
        if (equals != std::string_view::npos)
            readValue(fault, row, rest.substr(equals + 1));
        else if (row.form != ValueForm::None && row.form != ValueForm::OptionalBytes)
            refuse("write " + std::string(row.name) + std::string(syntaxOf(row.form)));
        return fault;
    }

private:
    void readValue(Fault& fault, const FaultRow& row, std::string_view value) const {
        switch (row.form) {
        case ValueForm::None:
            refuse(std::string(row.name) + " takes no value");
        case ValueForm::Code:
            fault.number = number(value, 0, anyNumber, "the error code");
            return;
        case ValueForm::OptionalBytes:
            fault.number = number(value, 0, anyNumber, "the count of bytes");
            return;
        case ValueForm::Pause:
            fault.pauseMs = number(value, 0, longestPauseMs, "the delay in milliseconds");
            return;
        case ValueForm::Drip:
            break;
        }
        const std::size_t slash = value.find('/');
        if (slash == std::string_view::npos)
            refuse("write drip=BYTES/MS, such as drip=1000/5");
        fault.number = number(value.substr(0, slash), 1, anyNumber, "the count of bytes");
        fault.pauseMs = number(value.substr(slash + 1), 0, longestPauseMs, "the pause in milliseconds");
    }

    std::optional<RequestKind> requestNamed(std::string_view name) const {
        const auto* const row = std::ranges::find(requestRows, name, &RequestRow::name);
        if (row == requestRows.end())
            refuse("the request before the colon is one of configure, take, get, probe, any");
        return row->kind;
    }

    const FaultRow& rowNamed(std::string_view name) const {
        const auto* const row = std::ranges::find(faultRows, name, &FaultRow::name);
        if (row == faultRows.end())
            refuse("there is no fault \"" + std::string(name) + "\"; there are " + allNames());
        return *row;
    }

    static std::string allNames() {
        std::string names;
        for (const FaultRow& row : faultRows)
            names += (names.empty() ? "" : ", ") + std::string(row.name);
        return names;
    }

    std::uint32_t number(std::string_view digits, std::uint32_t least, std::uint32_t most,
                         std::string_view what) const {
        std::uint32_t value = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, failure] = std::from_chars(digits.data(), end, value);
        if (failure != std::errc() || stop != end || value < least || value > most)
            refuse(std::string(what) + " is a whole number from " + std::to_string(least) + " to " +
                   std::to_string(most));
        return value;
    }

    [[noreturn]] void refuse(const std::string& remedy) const {
        throw std::invalid_argument("Fault \"" + std::string(m_text) + "\": " + remedy);
    }

    std::string_view m_text;
};

} // namespace

bool Fault::hits(RequestKind asked) const {
    if (request && *request != asked)
        return false;
    return asked == RequestKind::Get || !spoilsThePicture(kind);
}

std::string Fault::describe() const {
    std::string text(std::ranges::find(requestRows, request, &RequestRow::kind)->name);
    const FaultRow& row = rowOf(kind);
    text.append(":").append(row.name);
    if (row.form == ValueForm::Pause)
        text.append("=").append(std::to_string(pauseMs));
    else if (number)
        text.append("=").append(std::to_string(*number));
    if (row.form == ValueForm::Drip)
        text.append("/").append(std::to_string(pauseMs));
    if (times)
        text.append("*").append(std::to_string(*times));
    return text;
}

Fault parseFault(std::string_view text) {
    return FaultParser(text).parse();
}

std::string faultHelp() {
    std::string help =
        "A fault is written REQUEST:FAULT[=VALUE][*TIMES], such as get:checksum, take:error=7*1 "
        "or get:drip=1000/5*2.\n"
        "REQUEST is configure, take, get, probe or any; without *TIMES it hits every time.\n"
        "Of several faults the first that still applies to a request hits it. FAULT is one of\n";
    constexpr std::size_t column = 26;
    for (const FaultRow& row : faultRows) {
        std::string name = "  " + std::string(row.name) + std::string(syntaxOf(row.form));
        name.resize(std::max(column, name.size() + 1), ' ');
        help += name + std::string(row.meaning) + "\n";
    }
    return help;
}

} // namespace Simulator
