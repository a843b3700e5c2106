#include "FaultMatrixKinds.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <utility>

namespace FaultMatrix {
namespace {

constexpr char noMessage[] = "a text has no checksum, no length and no arguments";
constexpr char noConnection[] = "a datagram has no connection that could end";

struct KindRow {
    Kind kind;
    const char* name;
    const char* againstText = "";
    const char* againstDiscovery = "";
};

constexpr std::array kindRows{
    KindRow{Kind::closedAtOnce, "closed_at_once", "", noConnection},
    KindRow{Kind::silent, "silent"},
    KindRow{Kind::truncatedThenClosed, "truncated_then_closed", "", noConnection},
    KindRow{Kind::truncatedThenSilent, "truncated_then_silent"},
    KindRow{Kind::reset, "reset", "", noConnection},
    KindRow{Kind::delayedPastTheTimeout, "delayed_past_the_timeout"},
    KindRow{Kind::drippedByteByByte, "dripped_byte_by_byte"},
    KindRow{Kind::drippedInRandomPieces, "dripped_in_random_pieces"},
    KindRow{Kind::wrongChecksum, "wrong_checksum", noMessage, noMessage},
    KindRow{Kind::lengthTooSmall, "length_too_small", noMessage, noMessage},
    KindRow{Kind::lengthTooLarge, "length_too_large", noMessage, noMessage},
    KindRow{Kind::lengthWrapping, "length_wrapping", noMessage, noMessage},
    KindRow{Kind::imageBeyondTheLimit, "image_beyond_the_limit", noMessage, noMessage},
    KindRow{Kind::valueTooLong, "value_too_long", noMessage, noMessage},
    KindRow{Kind::noArgument, "no_argument", noMessage, noMessage},
    KindRow{Kind::twoArguments, "two_arguments", noMessage, noMessage},
    KindRow{Kind::arguments255, "arguments_255", noMessage, noMessage},
    KindRow{Kind::wrongCommand, "wrong_command", noMessage, noMessage},
    KindRow{Kind::wrongCode, "wrong_code"},
    KindRow{Kind::wrongAnswer, "wrong_answer", "the same as a wrong code: a reply of another word",
            "the same as a wrong code: a reply of another word"},
    KindRow{Kind::errorWithACode, "error_with_a_code", "the text language has no error reply",
            "the text language has no error reply"},
    KindRow{Kind::garbage, "garbage"},
    KindRow{Kind::answerOfTheMessageBefore, "answer_of_the_message_before", "",
            "a search sends one message only; the one before it has the same answer"},
    KindRow{Kind::answerTwice, "answer_twice"},
    KindRow{Kind::endlessData, "endless_data"},
    KindRow{Kind::endlessDataBehindTheAnswer, "endless_data_behind_the_answer"},
};

const KindRow& rowOf(Kind kind) {
    return *std::find_if(kindRows.begin(), kindRows.end(),
                         [kind](const KindRow& row) { return row.kind == kind; });
}

std::vector<Place> picturePlaces(int attempts) {
    std::vector<Place> places;
    for (int attempt = 1; attempt <= attempts; ++attempt)
        for (const Exchange exchange : {Exchange::configure, Exchange::take, Exchange::get})
            places.push_back({exchange, attempt});
    return places;
}

std::vector<Place> identificationPlaces() {
    std::vector<Place> places{{Exchange::version, 1}, {Exchange::serial, 1}, {Exchange::network, 1}};
    const std::vector<Place> sample = picturePlaces(4);
    places.insert(places.end(), sample.begin(), sample.end());
    return places;
}

std::vector<Place> searchPlaces() {
    std::vector<Place> places = identificationPlaces();
    places.insert(places.begin(), {Exchange::discovery, 1});
    return places;
}

} // namespace

bool isText(Exchange exchange) {
    return exchange == Exchange::version || exchange == Exchange::serial || exchange == Exchange::network;
}

bool isOfAPicture(Exchange exchange) {
    return exchange == Exchange::configure || exchange == Exchange::take || exchange == Exchange::get;
}

const std::vector<Kind>& allKinds() {
    static const std::vector<Kind> kinds = [] {
        std::vector<Kind> all;
        for (const KindRow& row : kindRows)
            all.push_back(row.kind);
        return all;
    }();
    return kinds;
}

const std::vector<Place>& placesOf(Operation operation) {
    static const std::vector<Place> discover = searchPlaces();
    static const std::vector<Place> identify = identificationPlaces();
    static const std::vector<Place> capture = picturePlaces(2);
    static const std::vector<Place> health{{Exchange::probe, 1}};
    switch (operation) {
    case Operation::discover:
        return discover;
    case Operation::identify:
        return identify;
    case Operation::capture:
        return capture;
    default:
        return health;
    }
}

std::string reasonAgainst(Kind kind, Exchange exchange) {
    if (exchange == Exchange::discovery)
        return rowOf(kind).againstDiscovery;
    return isText(exchange) ? rowOf(kind).againstText : "";
}

std::vector<Cell> cellsOf(Operation operation) {
    std::vector<Cell> cells;
    for (const Place& place : placesOf(operation))
        for (const Kind kind : allKinds())
            if (reasonAgainst(kind, place.exchange).empty())
                cells.push_back({operation, place, kind});
    return cells;
}

std::string nameOf(Kind kind) {
    return rowOf(kind).name;
}

std::string nameOf(Operation operation, const Place& place) {
    constexpr std::array names{"discovery", "version", "serial", "network",
                               "configure", "take",    "get",    "probe"};
    const std::string name = names.at(static_cast<std::size_t>(place.exchange));
    if (!isOfAPicture(place.exchange))
        return name;
    if (operation == Operation::capture)
        return name + "_attempt_" + std::to_string(place.attempt);
    return "grab_" + std::to_string((place.attempt + 1) / 2) + "_" + name + "_attempt_" +
           std::to_string(2 - place.attempt % 2);
}

std::string nameOf(const Cell& cell) {
    return nameOf(cell.operation, cell.place) + "__" + nameOf(cell.kind);
}

std::ostream& operator<<(std::ostream& stream, const Cell& cell) {
    return stream << nameOf(cell);
}

} // namespace FaultMatrix
