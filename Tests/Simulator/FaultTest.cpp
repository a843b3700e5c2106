#include "Camera/Fault.h"

#include <gmock/gmock.h>

namespace Simulator {

using ::testing::HasSubstr;

namespace {

std::string refusalOf(std::string_view text) {
    try {
        parseFault(text);
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return "accepted";
}

} // namespace

TEST(Fault, ReadsWhatItHits) {
    EXPECT_EQ(parseFault("configure:checksum").place, Place::configure);
    EXPECT_EQ(parseFault("take:checksum").place, Place::take);
    EXPECT_EQ(parseFault("get:checksum").place, Place::get);
    EXPECT_EQ(parseFault("probe:checksum").place, Place::probe);
    EXPECT_EQ(parseFault("any:checksum").place, Place::anyBinary);
}

TEST(Fault, ReadsErrorThatHitsOnce) {
    EXPECT_EQ(parseFault("take:error=7*1"), (Fault{FaultKind::error, Place::take, 7, 0, 1}));
}

TEST(Fault, ReadsDripThatHitsTwice) {
    EXPECT_EQ(parseFault("get:drip=1000/5*2"), (Fault{FaultKind::drip, Place::get, 1000, 5, 2}));
}

TEST(Fault, ReadsDelay) {
    EXPECT_EQ(parseFault("any:delay=250"),
              (Fault{FaultKind::delay, Place::anyBinary, std::nullopt, 250, std::nullopt}));
}

TEST(Fault, ReadsTruncationWithAndWithoutACount) {
    EXPECT_EQ(parseFault("get:truncate-close").number, std::nullopt);
    EXPECT_EQ(parseFault("get:truncate-close=20").number, 20U);
    EXPECT_EQ(parseFault("get:truncate-silent=0").number, 0U);
}

TEST(Fault, WritesItselfAsItIsRead) {
    for (const char* text : {"get:checksum",
                             "take:error=7*1",
                             "any:wrong-response",
                             "configure:no-argument",
                             "any:two-arguments",
                             "any:wrong-command",
                             "any:unknown-code",
                             "any:length-large",
                             "any:length-small",
                             "any:length-wrap",
                             "any:long-value",
                             "get:truncate-close",
                             "get:truncate-close=5",
                             "get:truncate-silent=6*3",
                             "probe:reset",
                             "take:delay=100",
                             "get:drip=1000/5*2",
                             "any:close",
                             "any:silent",
                             "get:garbage-picture",
                             "get:empty-picture",
                             "any:black-picture*1",
                             "version:missing-key=--SW",
                             "discovery:missing-key=--Room*2",
                             "network:empty-value=--NetMask",
                             "text:not-closed",
                             "discovery:length=256",
                             "serial:twice*1",
                             "discovery:garbage",
                             "text:empty",
                             "discovery:other-marker",
                             "version:hostile",
                             "discovery:wrong-address=10.9.9.9",
                             "discovery:delay=5",
                             "discovery:drip=10/1",
                             "discovery:silent",
                             "text:reset",
                             "serial:close",
                             "network:truncate-close=7",
                             "version:truncate-silent",
                             "configure:many-arguments",
                             "get:huge-image*1",
                             "take:flip=103",
                             "discovery:flip=0",
                             "any:garbage",
                             "get:twice*1",
                             "take:stale",
                             "serial:stale*2",
                             "get:scatter=15",
                             "discovery:scatter=2",
                             "probe:endless",
                             "text:endless*1"})
        EXPECT_EQ(parseFault(text).describe(), text);
}

TEST(Fault, HitsTheRequestItNames) {
    const Fault fault = parseFault("take:close");
    EXPECT_TRUE(fault.hits(Place::take));
    EXPECT_FALSE(fault.hits(Place::get));
    EXPECT_TRUE(parseFault("any:close").hits(Place::probe));
}

TEST(Fault, ReadsThePlacesOfTheTextLanguage) {
    EXPECT_EQ(parseFault("version:twice").place, Place::version);
    EXPECT_EQ(parseFault("serial:twice").place, Place::serial);
    EXPECT_EQ(parseFault("network:twice").place, Place::network);
    EXPECT_EQ(parseFault("text:twice").place, Place::anyText);
    EXPECT_EQ(parseFault("discovery:twice").place, Place::discovery);
}

TEST(Fault, GroupsHitTheirOwnLanguageOnly) {
    for (const Place place : {Place::version, Place::serial, Place::network}) {
        EXPECT_TRUE(parseFault("text:silent").hits(place));
        EXPECT_FALSE(parseFault("any:silent").hits(place));
        EXPECT_FALSE(parseFault("discovery:silent").hits(place));
    }
    EXPECT_FALSE(parseFault("text:silent").hits(Place::get));
    EXPECT_FALSE(parseFault("text:silent").hits(Place::discovery));
    EXPECT_FALSE(parseFault("any:silent").hits(Place::discovery));
    EXPECT_TRUE(parseFault("discovery:silent").hits(Place::discovery));
    EXPECT_FALSE(parseFault("version:silent").hits(Place::serial));
}

TEST(Fault, RefusesWhatThePlaceDoesNotHave) {
    EXPECT_THAT(refusalOf("get:not-closed"), HasSubstr("the binary protocol has no fault not-closed"));
    EXPECT_THAT(refusalOf("version:checksum"), HasSubstr("the text language has no fault checksum"));
    EXPECT_THAT(refusalOf("version:wrong-address=1.2.3.4"),
                HasSubstr("the text language has no fault wrong-address"));
    for (const char* text : {"discovery:close", "discovery:reset", "discovery:truncate-close"})
        EXPECT_THAT(refusalOf(text), HasSubstr("discovery has no fault ")) << text;
    EXPECT_THAT(refusalOf("version:black-picture"), HasSubstr("write get:black-picture"));
}

TEST(Fault, TakesOnlyKeysOfTheReplyThatItHits) {
    EXPECT_EQ(parseFault("version:missing-key=--API").text, "--API");
    EXPECT_EQ(parseFault("text:missing-key=--NetGateway").text, "--NetGateway");
    EXPECT_EQ(refusalOf("version:missing-key=SW"),
              "Fault \"version:missing-key=SW\": this reply has no key \"SW\", but --HW, --SW, --API");
    EXPECT_THAT(refusalOf("discovery:empty-value=--HW"), HasSubstr("but --Room, --IP, --NetMask"));
    EXPECT_THAT(refusalOf("text:missing-key=--Room"),
                HasSubstr("but --HW, --SW, --API, --Camera, --NetworkProtocol, --NetMask, --NetGateway"));
    EXPECT_THAT(refusalOf("version:missing-key"), HasSubstr("write missing-key=KEY"));
}

TEST(Fault, TakesOnlyAddresses) {
    EXPECT_EQ(parseFault("discovery:wrong-address=10.9.9.9*1").text, "10.9.9.9");
    EXPECT_THAT(refusalOf("discovery:wrong-address=there"), HasSubstr("\"there\" is no IPv4 address"));
    EXPECT_THAT(refusalOf("discovery:wrong-address"), HasSubstr("write wrong-address=ADDRESS"));
}

TEST(Fault, SpoilsPicturesOnlyWhereThereAreSome) {
    const Fault fault = parseFault("any:black-picture");
    EXPECT_TRUE(fault.hits(Place::get));
    EXPECT_FALSE(fault.hits(Place::take));
    EXPECT_THAT(refusalOf("take:empty-picture"), HasSubstr("write get:empty-picture"));
}

TEST(Fault, SaysWhatIsWrongWithAText) {
    EXPECT_THAT(refusalOf("checksum"), HasSubstr("Fault \"checksum\": write PLACE:FAULT"));
    EXPECT_THAT(
        refusalOf("put:checksum"),
        HasSubstr("one of configure, take, get, probe, any, version, serial, network, text, discovery"));
    EXPECT_THAT(refusalOf("get:nonsense"),
                HasSubstr("there is no fault \"nonsense\"; there are checksum, error,"));
    EXPECT_THAT(refusalOf("get:"), HasSubstr("there is no fault \"\""));
    EXPECT_THAT(refusalOf("get:checksum=1"), HasSubstr("checksum takes no value"));
    EXPECT_THAT(refusalOf("get:error"), HasSubstr("write error=CODE"));
    EXPECT_THAT(refusalOf("get:delay"), HasSubstr("write delay=MS"));
    EXPECT_THAT(refusalOf("get:drip"), HasSubstr("write drip=BYTES/MS"));
    EXPECT_THAT(refusalOf("get:drip=10"), HasSubstr("write drip=BYTES/MS"));
    EXPECT_THAT(refusalOf("text:length"), HasSubstr("write length=BYTES"));
}

TEST(Fault, RefusesNumbersThatAreNone) {
    for (const char* text :
         {"get:error=", "get:error=x", "get:error=7x", "get:error=-1", "get:error=4294967296", "get:drip=0/5",
          "get:drip=5/", "get:checksum*", "get:checksum*0", "get:checksum*2*2", "get:delay=3600001",
          "get:truncate-close=half", "text:length=0", "text:length=65508", "text:length="})
        EXPECT_THAT(refusalOf(text), HasSubstr("is a whole number from")) << text;
}

TEST(Fault, HelpNamesEveryFaultWithItsValue) {
    const std::string help = faultHelp();
    for (const char* entry : {"  checksum ",
                              "  error=CODE ",
                              "  wrong-response ",
                              "  no-argument ",
                              "  two-arguments ",
                              "  wrong-command ",
                              "  unknown-code ",
                              "  length-large ",
                              "  length-small ",
                              "  length-wrap ",
                              "  long-value ",
                              "  truncate-close[=BYTES] ",
                              "  truncate-silent[=BYTES] ",
                              "  reset ",
                              "  delay=MS ",
                              "  drip=BYTES/MS ",
                              "  close ",
                              "  silent ",
                              "  garbage-picture ",
                              "  empty-picture ",
                              "  black-picture ",
                              "  missing-key=KEY ",
                              "  empty-value=KEY ",
                              "  not-closed ",
                              "  length=BYTES ",
                              "  twice ",
                              "  garbage ",
                              "  empty ",
                              "  other-marker ",
                              "  hostile ",
                              "  wrong-address=ADDRESS "})
        EXPECT_THAT(help, HasSubstr(entry));
}

} // namespace Simulator
