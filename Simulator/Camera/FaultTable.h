#pragma once
// Every fault and every place of faults: how it is written, what goes with it.

#include "Camera/Fault.h"

#include <array>
#include <string_view>

namespace Simulator {

/// What stands behind the equals sign of a fault's text.
enum class ValueForm { None, Code, Bit, OptionalBytes, Bytes, Pause, Drip, Key, Address };

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
    FaultRow{"checksum", FaultKind::Checksum, ValueForm::None, inBinary, "wrong checksum"},
    FaultRow{"error", FaultKind::Error, ValueForm::Code, inBinary,
             "Error with this code, nothing is carried out"},
    FaultRow{"wrong-response", FaultKind::WrongResponse, ValueForm::None, inBinary,
             "Done where a picture is due, GetImage where Done is due"},
    FaultRow{"no-argument", FaultKind::NoArgument, ValueForm::None, inBinary,
             "an answer without any argument"},
    FaultRow{"two-arguments", FaultKind::TwoArguments, ValueForm::None, inBinary,
             "a further Done behind the answer"},
    FaultRow{"wrong-command", FaultKind::WrongCommand, ValueForm::None, inBinary,
             "command 2 echoed instead of 1"},
    FaultRow{"unknown-code", FaultKind::UnknownCode, ValueForm::None, inBinary, "an argument of code 99"},
    FaultRow{"length-large", FaultKind::LengthLarge, ValueForm::None, inBinary, "twice the length announced"},
    FaultRow{"length-small", FaultKind::LengthSmall, ValueForm::None, inBinary, "half the length announced"},
    FaultRow{"length-wrap", FaultKind::LengthWrap, ValueForm::None, inBinary,
             "an argument length that wraps 32 bits"},
    FaultRow{"long-value", FaultKind::LongValue, ValueForm::None, inBinary, "Done with 8 value bytes"},
    FaultRow{"many-arguments", FaultKind::ManyArguments, ValueForm::None, inBinary,
             "254 further Done behind the answer"},
    FaultRow{"huge-image", FaultKind::HugeImage, ValueForm::None, inBinary,
             "a GetImage of 2 GiB announced, nothing behind"},
    FaultRow{"garbage-picture", FaultKind::GarbagePicture, ValueForm::None, inPictures,
             "a file of meaningless bytes"},
    FaultRow{"empty-picture", FaultKind::EmptyPicture, ValueForm::None, inPictures,
             "a picture of 0 x 0 pixels"},
    FaultRow{"black-picture", FaultKind::BlackPicture, ValueForm::None, inPictures, "a picture all black"},
    FaultRow{"truncate-close", FaultKind::TruncateClose, ValueForm::OptionalBytes, inConnections,
             "so many bytes (default: half), then closed"},
    FaultRow{"truncate-silent", FaultKind::TruncateSilent, ValueForm::OptionalBytes, inConnections,
             "so many bytes (default: half), the rest never"},
    FaultRow{"reset", FaultKind::Reset, ValueForm::None, inConnections, "connection reset"},
    FaultRow{"close", FaultKind::Close, ValueForm::None, inConnections,
             "connection closed without an answer"},
    FaultRow{"delay", FaultKind::Delay, ValueForm::Pause, everywhere, "the answer comes late"},
    FaultRow{"drip", FaultKind::Drip, ValueForm::Drip, everywhere,
             "pieces of BYTES with a pause of MS between them"},
    FaultRow{"silent", FaultKind::Silent, ValueForm::None, everywhere, "no answer"},
    FaultRow{"flip", FaultKind::Flip, ValueForm::Bit, everywhere, "this bit the other way round"},
    FaultRow{"garbage", FaultKind::Garbage, ValueForm::None, everywhere, "64 meaningless bytes"},
    FaultRow{"twice", FaultKind::Twice, ValueForm::None, everywhere, "the answer comes a second time"},
    FaultRow{"stale", FaultKind::Stale, ValueForm::None, inConnections, "the answer to the message before"},
    FaultRow{"scatter", FaultKind::Scatter, ValueForm::Pause, everywhere,
             "random pieces, pauses of up to MS between them"},
    FaultRow{"endless", FaultKind::Endless, ValueForm::None, inConnections, "bytes without end"},
    FaultRow{"missing-key", FaultKind::MissingKey, ValueForm::Key, inReplies,
             "the key and its value left out"},
    FaultRow{"empty-value", FaultKind::EmptyValue, ValueForm::Key, inReplies, "the key without a value"},
    FaultRow{"not-closed", FaultKind::NotClosed, ValueForm::None, inReplies, "no closing bracket"},
    FaultRow{"length", FaultKind::Length, ValueForm::Bytes, inReplies,
             "so many bytes in all, filled up or cut off"},
    FaultRow{"empty", FaultKind::Empty, ValueForm::None, inReplies, "[], or a datagram of no bytes"},
    FaultRow{"other-marker", FaultKind::OtherMarker, ValueForm::None, inReplies,
             "the first word in lower case"},
    FaultRow{"hostile", FaultKind::Hostile, ValueForm::None, inReplies,
             "control characters, terminal escapes, quotes, markup"},
    FaultRow{"wrong-address", FaultKind::WrongAddress, ValueForm::Address, inDiscovery,
             "this address behind --IP"},
};

inline constexpr std::array placeRows = {
    PlaceRow{"configure", Place::Configure, Place::AnyBinary, inBinary},
    PlaceRow{"take", Place::Take, Place::AnyBinary, inBinary},
    PlaceRow{"get", Place::Get, Place::AnyBinary, inBinary},
    PlaceRow{"probe", Place::Probe, Place::AnyBinary, inBinary},
    PlaceRow{"any", Place::AnyBinary, Place::AnyBinary, inBinary},
    PlaceRow{"version", Place::Version, Place::AnyText, inText},
    PlaceRow{"serial", Place::Serial, Place::AnyText, inText},
    PlaceRow{"network", Place::Network, Place::AnyText, inText},
    PlaceRow{"text", Place::AnyText, Place::AnyText, inText},
    PlaceRow{"discovery", Place::Discovery, Place::Discovery, inDiscovery},
};

} // namespace Simulator
