#include "Camera/Fault.h"

#include "Camera/FaultTable.h"

#include <algorithm>

namespace Simulator {

namespace {

const FaultRow& rowOf(FaultKind kind) {
    return *std::ranges::find(faultRows, kind, &FaultRow::kind);
}

const PlaceRow& rowOf(Place place) {
    return *std::ranges::find(placeRows, place, &PlaceRow::place);
}

std::string helpOf(unsigned reach) {
    constexpr std::size_t column = 26;
    std::string help;
    for (const FaultRow& row : faultRows) {
        if ((row.reach & reach) == 0)
            continue;
        std::string name = "  " + std::string(row.name) + std::string(syntaxOf(row.form));
        name.resize(std::max(column, name.size() + 1), ' ');
        help += name + std::string(row.meaning) + "\n";
    }
    return help;
}

} // namespace

std::string_view syntaxOf(ValueForm form) {
    switch (form) {
    case ValueForm::none:
        return "";
    case ValueForm::code:
        return "=CODE";
    case ValueForm::bit:
        return "=BIT";
    case ValueForm::optionalBytes:
        return "[=BYTES]";
    case ValueForm::bytes:
        return "=BYTES";
    case ValueForm::pause:
        return "=MS";
    case ValueForm::drip:
        return "=BYTES/MS";
    case ValueForm::key:
        return "=KEY";
    case ValueForm::address:
        return "=ADDRESS";
    }
    return "";
}

bool Fault::hits(Place asked) const {
    if (rowOf(kind).reach == inPictures && asked != Place::get)
        return false;
    return place == asked || place == rowOf(asked).group;
}

std::string Fault::describe() const {
    const FaultRow& row = rowOf(kind);
    std::string written(rowOf(place).name);
    written.append(":").append(row.name);
    if (row.form == ValueForm::pause)
        written.append("=").append(std::to_string(pauseMs));
    else if (row.form == ValueForm::key || row.form == ValueForm::address)
        written.append("=").append(text);
    else if (number)
        written.append("=").append(std::to_string(*number));
    if (row.form == ValueForm::drip)
        written.append("/").append(std::to_string(pauseMs));
    if (times)
        written.append("*").append(std::to_string(*times));
    return written;
}

std::string faultHelp() {
    return "A fault is written PLACE:FAULT[=VALUE][*TIMES], such as get:checksum, take:error=7*1, "
           "get:drip=1000/5*2 or version:missing-key=--SW.\n"
           "Without *TIMES it hits every time. Of several faults the first that still applies hits.\n"
           "PLACE in the binary protocol is configure, take, get, probe or any (of the four). FAULT "
           "there:\n" +
           helpOf(inBinary | inPictures) +
           "PLACE in the text language is version, serial, network or text (any of the three), and "
           "discovery. "
           "FAULT there:\n" +
           helpOf(inReplies);
}

} // namespace Simulator
