#include "Look/CameraTexts.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <tuple>

using namespace Diagnosis;
using namespace std::string_view_literals;

namespace {

std::string shown(const std::optional<DiscoveryReply>& reply) {
    return reply ? reply->room + "|" + reply->address + "|" + reply->mask : "none";
}

std::string shown(const std::optional<VersionAnswer>& answer) {
    return answer ? answer->hardware + "|" + answer->firmware : "none";
}

} // namespace

TEST(DiscoveryReplies, AreReadAsTheirGrammarSays) {
    for (const auto& [datagram, read] : {
             std::tuple("[Korva --Room Lab 2 --IP 192.168.10.27 --NetMask 255.255.255.0]"sv,
                        "Lab 2|192.168.10.27|255.255.255.0"),
             std::tuple("noise [Korva\t--Room  Lab \n 2 --IP 10.0.0.5] --NetMask x]"sv, "Lab 2|10.0.0.5|"),
             std::tuple("[Korva --IP 10.0.0.5 --Room Lab]"sv, "Lab|10.0.0.5|"),
             std::tuple("[Korva --Room --IP 10.0.0.5]"sv, "|10.0.0.5|"),
             std::tuple("[Korva --Room --Roof --IP 10.0.0.5 --NetMask --X]"sv, "|10.0.0.5|"),
             std::tuple("[Korva --Room Lab]] --IP 10.0.0.5]"sv, "none"),
             std::tuple("[Korva --Room Lab --IP 10.0.0.5"sv, "none"),
             std::tuple("[Korva --Room Lab --IP ]"sv, "none"),
             std::tuple("[Korva --Room ] --IP 10.0.0.5]"sv, "none"),
             std::tuple("[korva --Room Lab --IP 10.0.0.5]"sv, "none"),
             std::tuple("[Korva\0 --Room Lab --IP 10.0.0.5]"sv, "none"),
             std::tuple("[Korva"sv, "none"),
             std::tuple(""sv, "none"),
         })
        EXPECT_EQ(shown(readDiscoveryReply(datagram)), read) << datagram;
}

TEST(VersionAnswers, TellModelAndFirmware) {
    for (const auto& [text, read] : {
             std::tuple("[Version --HW M61 --SW 3.2.15 --API 1.4]", "M61|3.2.15"),
             std::tuple("[Version --SW 3.1.0]", "|3.1.0"),
             std::tuple("[Version --HW M61", "none"),
             std::tuple("[Unknown]", "none"),
             std::tuple("garbage", "none"),
         })
        EXPECT_EQ(shown(readVersionAnswer(text)), read) << text;
}
