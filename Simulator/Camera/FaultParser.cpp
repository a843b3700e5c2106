#include "Camera/FaultTable.h"
#include "Camera/Ipv4.h"
#include "Camera/TextLanguage.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>

namespace Simulator {

namespace {

constexpr std::uint32_t longestPauseMs = 3'600'000;
constexpr std::uint32_t anyNumber = std::numeric_limits<std::uint32_t>::max();

template <typename Rows>
std::string namesOf(const Rows& rows) {
    std::string names;
    for (const auto& row : rows)
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    return names;
}

std::string_view nameOf(Reach language) {
    if (language == inBinary)
        return "the binary protocol";
    return language == inText ? "the text language" : "discovery";
}

bool needsValue(ValueForm form) {
    return form != ValueForm::none && form != ValueForm::optionalBytes;
}

/// Reads one fault text; keeps the whole text for its messages.
class FaultParser {
public:
    explicit FaultParser(std::string_view text) : text_(text) {}

    Fault parse() {
        const std::size_t colon = text_.find(':');
        if (colon == std::string_view::npos)
            refuse("write PLACE:FAULT, such as get:checksum");
        std::string_view rest = text_.substr(colon + 1);
        const PlaceRow& place = placeNamed(text_.substr(0, colon));
        Fault fault;
        fault.place = place.place;
        if (const std::size_t star = rest.find('*'); star != std::string_view::npos) {
            fault.times = number(rest.substr(star + 1), 1, anyNumber, "the count behind *");
            rest = rest.substr(0, star);
        }
        const std::size_t equals = rest.find('=');
        const FaultRow& row = rowNamed(rest.substr(0, equals));
        fault.kind = row.kind;
        requireReach(row, place);
        if (equals != std::string_view::npos)
            readValue(fault, row, rest.substr(equals + 1));
        else if (needsValue(row.form))
            refuse("write " + std::string(row.name) + std::string(syntaxOf(row.form)));
        return fault;
    }

private:
    void readValue(Fault& fault, const FaultRow& row, std::string_view value) const {
        switch (row.form) {
        case ValueForm::none:
            refuse(std::string(row.name) + " takes no value");
        case ValueForm::code:
            fault.number = number(value, 0, anyNumber, "the error code");
            return;
        case ValueForm::bit:
            fault.number = number(value, 0, anyNumber, "the number of the bit");
            return;
        case ValueForm::optionalBytes:
            fault.number = number(value, 0, anyNumber, "the count of bytes");
            return;
        case ValueForm::bytes:
            fault.number = number(value, 1, longestReply, "the count of bytes");
            return;
        case ValueForm::pause:
            fault.pauseMs = number(value, 0, longestPauseMs, "the delay in milliseconds");
            return;
        case ValueForm::drip:
            readDrip(fault, value);
            return;
        case ValueForm::key:
            fault.text = keyOf(fault, value);
            return;
        case ValueForm::address:
            if (!ipv4FromText(value))
                refuse("\"" + std::string(value) + "\" is no IPv4 address such as 10.0.0.1");
            fault.text = value;
            return;
        }
    }

    void readDrip(Fault& fault, std::string_view value) const {
        const std::size_t slash = value.find('/');
        if (slash == std::string_view::npos)
            refuse("write drip=BYTES/MS, such as drip=1000/5");
        fault.number = number(value.substr(0, slash), 1, anyNumber, "the count of bytes");
        fault.pauseMs = number(value.substr(slash + 1), 0, longestPauseMs, "the pause in milliseconds");
    }

    std::string keyOf(const Fault& fault, std::string_view key) const {
        std::string known;
        for (const Query& query : queries) {
            if (!fault.hits(query.place))
                continue;
            if (std::ranges::find(query.keys, key) != query.keys.end())
                return std::string(key);
            for (const std::string_view each : query.keys)
                known += (known.empty() ? "" : ", ") + std::string(each);
        }
        refuse("this reply has no key \"" + std::string(key) + "\", but " + known);
    }

    const PlaceRow& placeNamed(std::string_view name) const {
        const auto row = std::ranges::find(placeRows, name, &PlaceRow::name);
        if (row == placeRows.end())
            refuse("the place before the colon is one of " + namesOf(placeRows));
        return *row;
    }

    const FaultRow& rowNamed(std::string_view name) const {
        const auto row = std::ranges::find(faultRows, name, &FaultRow::name);
        if (row == faultRows.end())
            refuse("there is no fault \"" + std::string(name) + "\"; there are " + namesOf(faultRows));
        return *row;
    }

    void requireReach(const FaultRow& fault, const PlaceRow& place) const {
        const bool inAPicture = place.place == Place::get || place.place == Place::anyBinary;
        if (fault.reach == inPictures && !inAPicture)
            refuse("only an answer to get carries a picture; write get:" + std::string(fault.name));
        if (fault.reach != inPictures && (fault.reach & place.language) == 0)
            refuse(std::string(nameOf(place.language)) + " has no fault " + std::string(fault.name));
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
        throw std::invalid_argument("Fault \"" + std::string(text_) + "\": " + remedy);
    }

    std::string_view text_;
};

} // namespace

Fault parseFault(std::string_view text) {
    return FaultParser(text).parse();
}

} // namespace Simulator
