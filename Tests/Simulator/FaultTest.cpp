#include "Camera/Fault.h"

#include "Camera/FaultTable.h"
#include "Support/Thrown.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Simulator {

using ::testing::HasSubstr;

namespace {

std::string refusalOf(std::string_view text) {
    return TestSupport::thrownBy<std::invalid_argument>([&] { parseFault(text); });
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

TEST(Fault, ReadsItsPlaceKindAndValues) {
    const Fault error{FaultKind::error, Place::take, 7, 0, 1};
    const Fault drip{FaultKind::drip, Place::get, 1000, 5, 2};
    const Fault delay{FaultKind::delay, Place::anyBinary, std::nullopt, 250, std::nullopt};
    const Fault halved{FaultKind::truncateClose, Place::get, std::nullopt, 0, std::nullopt};
    const Fault cut{FaultKind::truncateSilent, Place::get, 0, 0, std::nullopt};
    const Fault address{FaultKind::wrongAddress, Place::discovery, std::nullopt, 0, 1, "10.9.9.9"};
    const Fault key{FaultKind::missingKey, Place::anyText, std::nullopt, 0, std::nullopt, "--NetGateway"};
    for (const auto& [text, fault] :
         {std::pair("take:error=7*1", error), std::pair("get:drip=1000/5*2", drip),
          std::pair("any:delay=250", delay), std::pair("get:truncate-close", halved),
          std::pair("get:truncate-silent=0", cut), std::pair("discovery:wrong-address=10.9.9.9*1", address),
          std::pair("text:missing-key=--NetGateway", key)})
        EXPECT_EQ(parseFault(text), fault) << text;
}

TEST(Fault, WritesItselfAsItIsRead) {
    for (const std::string& text : wordsOf(
             "get:checksum take:error=7*1 any:wrong-response configure:no-argument any:two-arguments "
             "any:wrong-command any:unknown-code any:length-large any:length-small any:length-wrap "
             "any:long-value get:truncate-close get:truncate-close=5 get:truncate-silent=6*3 probe:reset "
             "take:delay=100 get:drip=1000/5*2 any:close any:silent get:garbage-picture get:empty-picture "
             "any:black-picture*1 version:missing-key=--SW discovery:missing-key=--Room*2 "
             "network:empty-value=--NetMask text:not-closed discovery:length=256 serial:twice*1 "
             "discovery:garbage text:empty discovery:other-marker version:hostile "
             "discovery:wrong-address=10.9.9.9 discovery:delay=5 discovery:drip=10/1 discovery:silent "
             "text:reset serial:close network:truncate-close=7 version:truncate-silent "
             "configure:many-arguments get:huge-image*1 take:flip=103 discovery:flip=0 any:garbage "
             "get:twice*1 take:stale serial:stale*2 get:scatter=15 discovery:scatter=2 probe:endless "
             "text:endless*1 serial:trail"))
        EXPECT_EQ(parseFault(text).describe(), text);
}

TEST(Fault, HitsTheRequestItNamesAndTheGroupsOnlyTheirOwnLanguage) {
    const std::vector<std::pair<std::string, Place>> places{
        {"configure", Place::configure}, {"take", Place::take},          {"get", Place::get},
        {"probe", Place::probe},         {"version", Place::version},    {"serial", Place::serial},
        {"network", Place::network},     {"discovery", Place::discovery}};
    for (const auto& [fault, hit] : {
             std::pair("take:silent", "take"),
             std::pair("serial:silent", "serial"),
             std::pair("any:silent", "configure take get probe"),
             std::pair("any:black-picture", "get"), // where there are some
             std::pair("text:silent", "version serial network"),
             std::pair("discovery:silent", "discovery"),
         }) {
        std::string all;
        for (const auto& [name, place] : places)
            if (parseFault(fault).hits(place))
                all += (all.empty() ? "" : " ") + name;
        EXPECT_EQ(all, hit) << fault;
    }
    for (const auto& [name, place] : places)
        EXPECT_TRUE(parseFault(name + ":twice").hits(place)) << name;
}

TEST(Fault, SaysWhatIsWrongWithAText) {
    EXPECT_EQ(refusalOf("version:missing-key=SW"),
              "Fault \"version:missing-key=SW\": this reply has no key \"SW\", but --HW, --SW, --API");
    for (const auto& [text, reason] : {
             std::pair("checksum", "Fault \"checksum\": write PLACE:FAULT"),
             std::pair("put:checksum", "one of configure, take, get, probe, any, version, serial, network, "
                                       "text, discovery"),
             std::pair("get:nonsense", "there is no fault \"nonsense\"; there are checksum, error,"),
             std::pair("get:", "there is no fault \"\""),
             std::pair("get:not-closed", "the binary protocol has no fault not-closed"),
             std::pair("version:checksum", "the text language has no fault checksum"),
             std::pair("version:wrong-address=1.2.3.4", "the text language has no fault wrong-address"),
             std::pair("discovery:close", "discovery has no fault "),
             std::pair("discovery:reset", "discovery has no fault "),
             std::pair("discovery:truncate-close", "discovery has no fault "),
             std::pair("version:black-picture", "write get:black-picture"),
             std::pair("take:empty-picture", "write get:empty-picture"),
             std::pair("get:checksum=1", "checksum takes no value"),
             std::pair("get:error", "write error=CODE"),
             std::pair("get:delay", "write delay=MS"),
             std::pair("get:drip", "write drip=BYTES/MS"),
             std::pair("get:drip=10", "write drip=BYTES/MS"),
             std::pair("text:length", "write length=BYTES"),
             std::pair("version:missing-key", "write missing-key=KEY"),
             std::pair("discovery:empty-value=--HW", "but --Room, --IP, --NetMask"),
             std::pair("text:missing-key=--Room", "but --HW, --SW, --API, --Camera, --NetworkProtocol, "
                                                  "--NetMask, --NetGateway"),
             std::pair("discovery:wrong-address=there", "\"there\" is no IPv4 address"),
             std::pair("discovery:wrong-address", "write wrong-address=ADDRESS"),
         })
        EXPECT_THAT(refusalOf(text), HasSubstr(reason)) << text;
}

TEST(Fault, RefusesNumbersThatAreNone) {
    for (const std::string& text :
         wordsOf("get:error= get:error=x get:error=7x get:error=-1 get:error=4294967296 get:drip=0/5 "
                 "get:drip=5/ get:checksum* get:checksum*0 get:checksum*2*2 get:delay=3600001 "
                 "get:truncate-close=half text:length=0 text:length=65508 text:length="))
        EXPECT_THAT(refusalOf(text), HasSubstr("is a whole number from")) << text;
}

TEST(Fault, HelpNamesEveryFaultWithItsValue) {
    for (const FaultRow& row : faultRows)
        EXPECT_THAT(faultHelp(),
                    HasSubstr("\n  " + std::string(row.name) + std::string(syntaxOf(row.form)) + " "));
    EXPECT_THAT(faultHelp(), HasSubstr("  truncate-close[=BYTES]  so many bytes"));
}

} // namespace Simulator
