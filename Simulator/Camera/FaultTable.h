#pragma once
// Every fault and every place of faults: how it is written, what goes with it.

#include "Camera/Fault.h"

#include <array>
#include <string_view>

namespace Simulator {

/// What stands behind the equals sign of a fault's text.
enum class ValueForm { none, code, bit, optionalBytes, bytes, pause, drip, key, address };

/// How it is written for the user: "=BYTES/MS".
std::string_view syntaxOf(ValueForm form);

/// Where a fault can strike; a set of bits.
enum Reach : unsigned {
    inPictures = 1,
    inBinary = 2,
    inText = 4,
    inDiscovery = 8,
    inReplies = inText | inDiscovery,
    inConnections = inBinary | inText,
    everywhere = inBinary | inReplies,
};

struct FaultRow {
    std::string_view name;
    FaultKind kind;
    ValueForm form;
    unsigned reach; ///< of Reach
    std::string_view meaning;
};

struct PlaceRow {
    std::string_view name;
    Place place;
    Place group; ///< the group that it belongs to, or itself
    Reach language;
};

inline constexpr std::array faultRows = {
    FaultRow{"checksum", FaultKind::checksum, ValueForm::none, inBinary, "wrong checksum"},
    FaultRow{"error", FaultKind::error, ValueForm::code, inBinary,
             "Error with this code, nothing is carried out"},
    FaultRow{"wrong-response", FaultKind::wrongResponse, ValueForm::none, inBinary,
             "Done where a picture is due, GetImage where Done is due"},
    FaultRow{"no-argument", FaultKind::noArgument, ValueForm::none, inBinary,
             "an answer without any argument"},
    FaultRow{"two-arguments", FaultKind::twoArguments, ValueForm::none, inBinary,
             "a further Done behind the answer"},
    FaultRow{"wrong-command", FaultKind::wrongCommand, ValueForm::none, inBinary,
             "command 2 echoed instead of 1"},
    FaultRow{"unknown-code", FaultKind::unknownCode, ValueForm::none, inBinary, "an argument of code 99"},
    FaultRow{"length-large", FaultKind::lengthLarge, ValueForm::none, inBinary, "twice the length announced"},
    FaultRow{"length-small", FaultKind::lengthSmall, ValueForm::none, inBinary, "half the length announced"},
    FaultRow{"length-wrap", FaultKind::lengthWrap, ValueForm::none, inBinary,
             "an argument length that wraps 32 bits"},
    FaultRow{"long-value", FaultKind::longValue, ValueForm::none, inBinary, "Done with 8 value bytes"},
    FaultRow{"many-arguments", FaultKind::manyArguments, ValueForm::none, inBinary,
             "254 further Done behind the answer"},
    FaultRow{"huge-image", FaultKind::hugeImage, ValueForm::none, inBinary,
             "a GetImage of 2 GiB announced, nothing behind"},
    FaultRow{"garbage-picture", FaultKind::garbagePicture, ValueForm::none, inPictures,
             "a file of meaningless bytes"},
    FaultRow{"empty-picture", FaultKind::emptyPicture, ValueForm::none, inPictures,
             "a picture of 0 x 0 pixels"},
    FaultRow{"black-picture", FaultKind::blackPicture, ValueForm::none, inPictures, "a picture all black"},
    FaultRow{"truncate-close", FaultKind::truncateClose, ValueForm::optionalBytes, inConnections,
             "so many bytes (default: half), then closed"},
    FaultRow{"truncate-silent", FaultKind::truncateSilent, ValueForm::optionalBytes, inConnections,
             "so many bytes (default: half), the rest never"},
    FaultRow{"reset", FaultKind::reset, ValueForm::none, inConnections, "connection reset"},
    FaultRow{"close", FaultKind::close, ValueForm::none, inConnections,
             "connection closed without an answer"},
    FaultRow{"delay", FaultKind::delay, ValueForm::pause, everywhere, "the answer comes late"},
    FaultRow{"drip", FaultKind::drip, ValueForm::drip, everywhere,
             "pieces of BYTES with a pause of MS between them"},
    FaultRow{"silent", FaultKind::silent, ValueForm::none, everywhere, "no answer"},
    FaultRow{"flip", FaultKind::flip, ValueForm::bit, everywhere, "this bit the other way round"},
    FaultRow{"garbage", FaultKind::garbage, ValueForm::none, everywhere, "64 meaningless bytes"},
    FaultRow{"twice", FaultKind::twice, ValueForm::none, everywhere, "the answer comes a second time"},
    FaultRow{"stale", FaultKind::stale, ValueForm::none, inConnections, "the answer to the message before"},
    FaultRow{"scatter", FaultKind::scatter, ValueForm::pause, everywhere,
             "random pieces, pauses of up to MS between them"},
    FaultRow{"endless", FaultKind::endless, ValueForm::none, inConnections, "bytes without end"},
    FaultRow{"trail", FaultKind::trail, ValueForm::none, inConnections,
             "zeros without end behind the answer"},
    FaultRow{"missing-key", FaultKind::missingKey, ValueForm::key, inReplies,
             "the key and its value left out"},
    FaultRow{"empty-value", FaultKind::emptyValue, ValueForm::key, inReplies, "the key without a value"},
    FaultRow{"not-closed", FaultKind::notClosed, ValueForm::none, inReplies, "no closing bracket"},
    FaultRow{"length", FaultKind::length, ValueForm::bytes, inReplies,
             "so many bytes in all, filled up or cut off"},
    FaultRow{"empty", FaultKind::empty, ValueForm::none, inReplies, "[], or a datagram of no bytes"},
    FaultRow{"other-marker", FaultKind::otherMarker, ValueForm::none, inReplies,
             "the first word in lower case"},
    FaultRow{"hostile", FaultKind::hostile, ValueForm::none, inReplies,
             "control characters, terminal escapes, quotes, markup"},
    FaultRow{"wrong-address", FaultKind::wrongAddress, ValueForm::address, inDiscovery,
             "this address behind --IP"},
};

inline constexpr std::array placeRows = {
    PlaceRow{"configure", Place::configure, Place::anyBinary, inBinary},
    PlaceRow{"take", Place::take, Place::anyBinary, inBinary},
    PlaceRow{"get", Place::get, Place::anyBinary, inBinary},
    PlaceRow{"probe", Place::probe, Place::anyBinary, inBinary},
    PlaceRow{"any", Place::anyBinary, Place::anyBinary, inBinary},
    PlaceRow{"version", Place::version, Place::anyText, inText},
    PlaceRow{"serial", Place::serial, Place::anyText, inText},
    PlaceRow{"network", Place::network, Place::anyText, inText},
    PlaceRow{"text", Place::anyText, Place::anyText, inText},
    PlaceRow{"discovery", Place::discovery, Place::discovery, inDiscovery},
};

} // namespace Simulator
