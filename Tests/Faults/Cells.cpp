#include "Cells.h"

#include "Camera/Discovery.h"
#include "Camera/FaultTable.h"
#include "Camera/MessageCodec.h"
#include "Camera/TextLanguage.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <ostream>
#include <sstream>

using Simulator::Fault;
using Simulator::FaultRow;
using Simulator::Place;
using Simulator::PlaceRow;
using Simulator::ValueForm;

namespace Faults {
namespace {

const PlaceRow& rowOf(Place place) {
    return *std::ranges::find(Simulator::placeRows, place, &PlaceRow::place);
}

const Simulator::Query& queryOf(Place place) {
    return *std::ranges::find(Simulator::queries, place, &Simulator::Query::place);
}

bool isOfAPicture(Place place) {
    return place == Place::configure || place == Place::take || place == Place::get;
}

bool isASample(const Cell& cell) {
    return cell.operation != Operation::picture && isOfAPicture(cell.fault.place);
}

bool canStrike(const FaultRow& row, Place place) {
    return (row.reach & rowOf(place).language) != 0 ||
           (place == Place::get && row.reach == Simulator::inPictures);
}

/// What stands behind the name of the fault; nothing where it cannot strike there.
std::vector<std::string> valuesOf(const FaultRow& row, Place place) {
    static const std::map<ValueForm, std::vector<std::string>> typical{
        {ValueForm::none, {""}},
        {ValueForm::code, {"=7"}},
        {ValueForm::bit, {"=0", "=103"}},
        {ValueForm::optionalBytes, {"", "=3", "=8"}},
        {ValueForm::bytes, {"=1", "=25", "=255", "=256", "=300"}},
        {ValueForm::pause, {"=15", "=4500", "=10500"}},
        {ValueForm::drip, {"=1/5", "=7/25"}},
        {ValueForm::address, {"=10.0.0.9"}},
    };
    std::vector<std::string> values;
    if (!canStrike(row, place))
        return values;
    if (row.form != ValueForm::key)
        return typical.at(row.form);
    for (const std::string_view key : queryOf(place).keys)
        values.push_back("=" + std::string(key));
    return values;
}

/// Where the operation is answered, and in which attempts.
std::vector<std::pair<Place, unsigned>> answersOf(Operation operation) {
    if (operation == Operation::check)
        return {{Place::probe, 1}};
    const bool isPicture = operation == Operation::picture;
    std::vector<std::pair<Place, unsigned>> answers;
    if (operation == Operation::discover)
        answers.emplace_back(Place::discovery, 1);
    if (!isPicture)
        answers.insert(answers.end(), {{Place::version, 1}, {Place::serial, 1}, {Place::network, 1}});
    for (unsigned attempt = 1; attempt <= (isPicture ? 2U : 4U); ++attempt)
        for (const Place place : {Place::configure, Place::take, Place::get})
            answers.emplace_back(place, attempt);
    return answers;
}

Cell cellOf(Operation operation, unsigned attempt, Place place, const std::string& fault) {
    return {operation, attempt, Simulator::parseFault(std::string(rowOf(place).name) + ":" + fault + "*1")};
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Cell& cell) {
    return stream << nameOf(cell);
}

std::string nameOf(const Cell& cell) {
    constexpr const char* names[] = {"discover_", "identify_", "capture_", "health_"};
    std::string name = names[static_cast<int>(cell.operation)] + cell.fault.describe();
    for (char& c : name)
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    return name + (isOfAPicture(cell.fault.place) ? "_attempt_" + std::to_string(cell.attempt) : "");
}

std::vector<std::string> faultsIn(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

std::vector<Cell> chosenCells(Operation operation, const Chosen& chosen) {
    std::vector<Cell> cells;
    for (const auto& [attempt, faults] : chosen)
        for (const std::string& fault : faultsIn(faults))
            cells.push_back({operation, attempt, Simulator::parseFault(fault + "*1")});
    return cells;
}

std::vector<Cell> everyCell() {
    std::vector<Cell> cells;
    for (const Operation operation :
         {Operation::discover, Operation::identify, Operation::picture, Operation::check})
        for (const auto& [place, attempt] : answersOf(operation))
            for (const FaultRow& row : Simulator::faultRows)
                for (const std::string& value : valuesOf(row, place))
                    cells.push_back(cellOf(operation, attempt, place, std::string(row.name) + value));
    return cells;
}

std::vector<Cell> everyPlace(const std::string& fault) {
    std::vector<Cell> cells;
    for (const Operation operation : {Operation::identify, Operation::picture, Operation::check})
        for (const auto& [place, attempt] : answersOf(operation))
            cells.push_back(cellOf(operation, attempt, place, fault));
    return cells;
}

Simulator::CameraSettings settingsOf(const Cell& cell) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = {4, 3};
    settings.hardware = isASample(cell) ? "XM99" : "XM61";
    if (cell.attempt > 1)
        settings.faults.push_back(
            Simulator::parseFault("configure:error=5*" + std::to_string(cell.attempt - 1)));
    settings.faults.push_back(cell.fault);
    return settings;
}

Simulator::CameraSettings mended(Simulator::CameraSettings settings) {
    settings.faults.clear();
    ++settings.seed;
    return settings;
}

std::size_t answerBytes(const Cell& cell) {
    const Place place = cell.fault.place;
    if (place == Place::get) {
        const Simulator::Configuration sample{1, 3, Simulator::PictureFormat::png};
        const Simulator::Configuration own{15, 2, Simulator::PictureFormat::sgi};
        return Simulator::Camera(settingsOf(cell)).pictureAnswer(isASample(cell) ? sample : own)->size();
    }
    if (rowOf(place).language == Simulator::inBinary)
        return Simulator::encodeAnswer(Simulator::ArgumentCode::done).size();
    Simulator::CameraSettings settings = settingsOf(cell);
    settings.announcedAddress = Camera().address;
    return Simulator::replyTo(queryOf(place), {}, settings).text().size();
}

std::vector<Datagram> datagramsOf(Simulator::Camera& camera, const std::string& address) {
    const Simulator::Bytes query(Simulator::discoveryQuery.begin(), Simulator::discoveryQuery.end());
    std::vector<Datagram> datagrams;
    Time after{0};
    for (const Simulator::Action& action : Simulator::answerDiscovery(camera, query, address).actions) {
        if (const auto* const pause = std::get_if<Simulator::Pause>(&action))
            after += pause->length;
        const auto* const sending = std::get_if<Simulator::SendBytes>(&action);
        if (sending == nullptr)
            continue;
        const std::string text(sending->bytes->begin(), sending->bytes->end());
        const std::size_t piece = sending->pieceBytes == 0 ? text.size() : sending->pieceBytes;
        for (std::size_t at = 0; at < text.size() || at == 0; at += std::max<std::size_t>(piece, 1)) {
            datagrams.emplace_back(text.substr(at, piece), after);
            after = sending->pause;
        }
        after = Time{0};
    }
    return datagrams;
}

Outcome outcomeOf(Operation operation, const Simulator::CameraSettings& settings, const Asking& asking,
                  const Camera& place) {
    Simulator::Camera simulated(settings);
    const Camera camera = sessionsOf(simulated, place);
    switch (operation) {
    case Operation::discover:
        return search(camera, datagramsOf(simulated, camera.address), asking);
    case Operation::identify:
        return identify(camera, asking);
    case Operation::picture:
        return picture(camera, asking);
    default:
        return check(camera, asking);
    }
}

} // namespace Faults
