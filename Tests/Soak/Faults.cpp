#include "Faults.h"

namespace Soak {

namespace {

using enum Expect;

// Garbage is not among them: it may end like a message, and then has a wrong checksum and a line, or not.
// What hits once spoils the first attempt alone. A broken connection is no matter for a second attempt.
constexpr FaultRow captureRows[] = {
    {"get:checksum", picture, 1},
    {"get:length-large", picture},
    {"configure:two-arguments", picture},
    {"take:two-arguments", picture},
    {"get:two-arguments", picture},
    {"take:delay=40", picture},
    {"get:delay=40", picture},
    {"configure:drip=1/1", picture},
    {"take:drip=5/2", picture},
    {"get:drip=100000/1", picture},
    {"configure:scatter=2", picture},
    {"get:scatter=2", picture},
    {"get:twice", picture},
    {"get:many-arguments", picture},
    {"take:flip=0*1", picture, 1},
    {"get:stale*1", picture},
    {"get:huge-image*1", picture},
    {"configure:checksum*1", picture, 1},
    {"configure:error=3*1", picture},
    {"take:error=7*1", picture},
    {"get:error=4294967295*1", picture},
    {"get:wrong-response*1", picture},
    {"configure:wrong-response*1", picture},
    {"take:no-argument*1", picture},
    {"configure:wrong-command*1", picture},
    {"take:unknown-code*1", picture},
    {"get:length-small*1", picture},
    {"get:length-wrap*1", picture},
    {"take:long-value*1", picture},
    {"get:black-picture*1", picture},
    {"take:checksum", nothing, 2},
    {"take:error=7", nothing},
    {"get:wrong-response", nothing},
    {"get:no-argument", nothing},
    {"get:stale", nothing},
    {"configure:flip=0", nothing, 2},
    {"take:wrong-command", nothing},
    {"configure:unknown-code", nothing},
    {"get:length-small", nothing},
    {"get:length-wrap", nothing},
    {"take:long-value", nothing},
    {"get:garbage-picture", nothing},
    {"get:empty-picture", nothing},
    {"get:black-picture", nothing},
    {"get:truncate-close", nothing},
    {"get:truncate-close=1000", nothing},
    {"configure:truncate-close=3", nothing},
    {"take:truncate-close=9", nothing},
    {"configure:close", nothing},
    {"take:close", nothing},
    {"get:close*1", nothing},
    {"configure:reset", nothing},
    {"take:reset*1", nothing},
    {"get:reset", nothing},
};

constexpr FaultRow silentRows[] = {
    {"configure:silent*1", picture},
    {"take:silent*1", picture},
    {"get:silent*1", picture},
    {"configure:truncate-silent=3*1", picture},
    {"get:truncate-silent=1011*1", picture},
    {"get:truncate-silent", nothing},
    {"take:silent", nothing},
    {"take:endless", nothing},
};

constexpr FaultRow probeRows[] = {
    {"probe:close", nothing},         {"probe:reset", nothing},    {"probe:truncate-close=7", nothing},
    {"probe:checksum", nothing, 1},   {"probe:delay=40", picture}, {"probe:drip=1/1", picture},
    {"probe:error=3", picture}, // an answer that can be read is an answer
    {"probe:two-arguments", picture}, {"probe:twice", picture},    {"probe:scatter=2", picture},
};

constexpr const char* identificationRows[] = {
    "version:close",
    "version:reset",
    "serial:close",
    "network:reset",
};

// Not among them: an empty datagram, which ends the search for all.
constexpr SearchRow searchRows[] = {
    {"", true},
    {"", true},
    {"", true},
    {"", true},
    {"discovery:twice", true},
    {"discovery:silent", false},
    {"discovery:garbage", false},
    {"discovery:scatter=1", false},
    {"discovery:flip=0", false},
    {"discovery:other-marker", false},
    {"discovery:missing-key=--Room", false},
    {"version:close", false},
    {"serial:reset", false},
};

} // namespace

std::span<const FaultRow> captureFaults() {
    return captureRows;
}

std::span<const FaultRow> silentFaults() {
    return silentRows;
}

std::span<const FaultRow> probeFaults() {
    return probeRows;
}

std::span<const char* const> identificationFaults() {
    return identificationRows;
}

std::span<const SearchRow> searchFaults() {
    return searchRows;
}

} // namespace Soak
