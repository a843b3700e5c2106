#include "DeveloperDLL/DeveloperSettings.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>
#include <utility>

using namespace DeveloperSettings;
using ReferenceHost::developerSettings;
using ReferenceHost::setDeveloperSetting;

TEST(DeveloperSettings, AreCreatedByTheirConstructionWithTheDefaultsOfTheirKindsUnlessSetBefore) {
    EXPECT_EQ(developerSettings().count("created boolean"), 0u);
    EXPECT_FALSE(Boolean("created boolean").value());
    EXPECT_EQ(String("created text").value(), "");
    EXPECT_EQ(WString("created wide text").value(), L"");
    EXPECT_EQ(developerSettings().at("created boolean"), "false");
    EXPECT_EQ(developerSettings().at("created text"), "");
    setDeveloperSetting("set early", "true");
    EXPECT_TRUE(Boolean("set early").value());
}

TEST(DeveloperSettings, ReadTheStoreAtEveryCallAndAreTrueForTrueAndOneOnly) {
    const Boolean boolean("spelled");
    for (const auto& [text, value] :
         {std::pair("true", true), std::pair("", false), std::pair("1", true), std::pair("0", false),
          std::pair("false", false), std::pair("True", false), std::pair("yes", false),
          std::pair("true ", false), std::pair("11", false)}) {
        setDeveloperSetting("spelled", text);
        EXPECT_EQ(boolean.value(), value) << text;
    }
}

TEST(DeveloperSettings, HoldTextsInUtf8) {
    setDeveloperSetting("text", "Bilder \xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(String("text").value(), "Bilder \xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(WString("text").value(), L"Bilder \u00E4\U0001F600");
}
