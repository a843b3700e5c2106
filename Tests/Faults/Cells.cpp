#include "Cells.h"

#include "Camera/Discovery.h"
#include "Camera/FaultTable.h"
#include "Camera/MessageCodec.h"
#include "Camera/TextLanguage.h"

#include <algorithm>
#include <cctype>
#include <iterator>
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

/// What stands behind the name of the fault.
std::vector<std::string> valuesOf(const FaultRow& row, Place place) {
    switch (row.form) {
    case ValueForm::none:
        return {""};
    case ValueForm::code:
        return {"=7"};
    case ValueForm::bit:
        return {"=0", "=103"};
    case ValueForm::optionalBytes:
        return {"", "=3", "=8"};
    case ValueForm::bytes:
        return {"=1", "=25", "=255", "=256", "=300"};
    case ValueForm::pause:
        return {"=15", "=4500", "=10500"};
    case ValueForm::drip:
        return {"=1/5", "=7/25"};
    case ValueForm::address:
        return {"=10.0.0.9"};
    case ValueForm::key:
        break;
    }
    std::vector<std::string> values;
    for (const std::string_view key : queryOf(place).keys)
        values.push_back("=" + std::string(key));
    return values;
}

bool canStrike(const FaultRow& row, Place place) {
    return (row.reach & rowOf(place).language) != 0 ||
           (place == Place::get && row.reach == Simulator::inPictures);
}

/// Where the operation is answered, and in which attempts.
std::vector<std::pair<Place, unsigned>> answersOf(Operation operation) {
    if (operation == Operation::check)
        return {{Place::probe, 1}};
    std::vector<std::pair<Place, unsigned>> answers;
    if (operation == Operation::discover)
        answers.emplace_back(Place::discovery, 1);
    if (operation != Operation::picture)
        answers.insert(answers.end(), {{Place::version, 1}, {Place::serial, 1}, {Place::network, 1}});
    for (unsigned attempt = 1; attempt <= (operation == Operation::picture ? 2U : 4U); ++attempt)
        answers.insert(answers.end(),
                       {{Place::configure, attempt}, {Place::take, attempt}, {Place::get, attempt}});
    return answers;
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

std::vector<Cell> cellsOf(Operation operation) {
    Chosen all;
    for (const auto& [place, attempt] : answersOf(operation)) {
        std::string& faults = all.emplace_back(attempt, "").second;
        for (const FaultRow& row : Simulator::faultRows)
            if (canStrike(row, place))
                for (const std::string& value : valuesOf(row, place))
                    faults += std::string(rowOf(place).name) + ":" + std::string(row.name) + value + " ";
    }
    return chosenCells(operation, all);
}

std::vector<Cell> placesOf(Operation operation, Simulator::FaultKind kind) {
    std::vector<Cell> cells;
    for (const auto& [place, attempt] : answersOf(operation)) {
        Cell cell{operation, attempt, {}};
        cell.fault.kind = kind;
        cell.fault.place = place;
        cell.fault.times = 1;
        cells.push_back(cell);
    }
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
    Camera camera = sessionsOf(simulated);
    camera.address = place.address;
    camera.textPort = place.textPort;
    camera.binaryPort = place.binaryPort;
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
