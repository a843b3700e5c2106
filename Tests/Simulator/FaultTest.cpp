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
    EXPECT_EQ(parseFault("configure:checksum").request, RequestKind::Configure);
    EXPECT_EQ(parseFault("take:checksum").request, RequestKind::Take);
    EXPECT_EQ(parseFault("get:checksum").request, RequestKind::Get);
    EXPECT_EQ(parseFault("probe:checksum").request, RequestKind::Probe);
    EXPECT_EQ(parseFault("any:checksum").request, std::nullopt);
}

TEST(Fault, ReadsErrorThatHitsOnce) {
    EXPECT_EQ(parseFault("take:error=7*1"), (Fault{FaultKind::Error, RequestKind::Take, 7, 0, 1}));
}

TEST(Fault, ReadsDripThatHitsTwice) {
    EXPECT_EQ(parseFault("get:drip=1000/5*2"), (Fault{FaultKind::Drip, RequestKind::Get, 1000, 5, 2}));
}

TEST(Fault, ReadsDelay) {
    EXPECT_EQ(parseFault("any:delay=250"),
              (Fault{FaultKind::Delay, std::nullopt, std::nullopt, 250, std::nullopt}));
}

TEST(Fault, ReadsTruncationWithAndWithoutACount) {
    EXPECT_EQ(parseFault("get:truncate-close").number, std::nullopt);
    EXPECT_EQ(parseFault("get:truncate-close=20").number, 20U);
    EXPECT_EQ(parseFault("get:truncate-silent=0").number, 0U);
}

TEST(Fault, WritesItselfAsItIsRead) {
    for (const char* text : {"get:checksum",         "take:error=7*1",
                             "any:wrong-response",   "configure:no-argument",
                             "any:two-arguments",    "any:wrong-command",
                             "any:unknown-code",     "any:length-large",
                             "any:length-small",     "any:length-wrap",
                             "any:long-value",       "get:truncate-close",
                             "get:truncate-close=5", "get:truncate-silent=6*3",
                             "probe:reset",          "take:delay=100",
                             "get:drip=1000/5*2",    "any:close",
                             "any:silent",           "get:garbage-picture",
                             "get:empty-picture",    "any:black-picture*1"})
        EXPECT_EQ(parseFault(text).describe(), text);
}

TEST(Fault, HitsTheRequestItNames) {
    const Fault fault = parseFault("take:close");
    EXPECT_TRUE(fault.hits(RequestKind::Take));
    EXPECT_FALSE(fault.hits(RequestKind::Get));
    EXPECT_TRUE(parseFault("any:close").hits(RequestKind::Probe));
}

TEST(Fault, SpoilsPicturesOnlyWhereThereAreSome) {
    const Fault fault = parseFault("any:black-picture");
    EXPECT_TRUE(fault.hits(RequestKind::Get));
    EXPECT_FALSE(fault.hits(RequestKind::Take));
    EXPECT_THAT(refusalOf("take:empty-picture"), HasSubstr("write get:empty-picture"));
}

TEST(Fault, SaysWhatIsWrongWithAText) {
    EXPECT_THAT(refusalOf("checksum"), HasSubstr("Fault \"checksum\": write REQUEST:FAULT"));
    EXPECT_THAT(refusalOf("put:checksum"), HasSubstr("one of configure, take, get, probe, any"));
    EXPECT_THAT(refusalOf("get:nonsense"),
                HasSubstr("there is no fault \"nonsense\"; there are checksum, error,"));
    EXPECT_THAT(refusalOf("get:"), HasSubstr("there is no fault \"\""));
    EXPECT_THAT(refusalOf("get:checksum=1"), HasSubstr("checksum takes no value"));
    EXPECT_THAT(refusalOf("get:error"), HasSubstr("write error=CODE"));
    EXPECT_THAT(refusalOf("get:delay"), HasSubstr("write delay=MS"));
    EXPECT_THAT(refusalOf("get:drip"), HasSubstr("write drip=BYTES/MS"));
    EXPECT_THAT(refusalOf("get:drip=10"), HasSubstr("write drip=BYTES/MS"));
}

TEST(Fault, RefusesNumbersThatAreNone) {
    for (const char* text :
         {"get:error=", "get:error=x", "get:error=7x", "get:error=-1", "get:error=4294967296", "get:drip=0/5",
          "get:drip=5/", "get:checksum*", "get:checksum*0", "get:checksum*2*2", "get:delay=3600001",
          "get:truncate-close=half"})
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
                              "  black-picture "})
        EXPECT_THAT(help, HasSubstr(entry));
}

} // namespace Simulator
