#include "Console/HealthCommand.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

Console::HealthOptions parsed(const std::vector<std::string>& arguments) {
    CLI::App app;
    Console::HealthOptions options;
    addHealthOptions(app, options);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
    return options;
}

} // namespace

TEST(HealthCommand, LineSaysCodeMeaningAndReason) {
    EXPECT_EQ(Console::healthLine("10.0.0.7:32769", NetworkHealth(2056), "refused"),
              "10.0.0.7:32769: 2056 connection check failed: refused");
    EXPECT_EQ(Console::healthLine("10.0.0.7:32769", std::nullopt, ""),
              "10.0.0.7:32769: good, the camera answers");
}

TEST(HealthCommand, TakesAnAddressOrADescription) {
    EXPECT_EQ(parsed({"10.0.0.7", "--watch"}).camera.address, "10.0.0.7");
    EXPECT_TRUE(parsed({"10.0.0.7", "--watch"}).watch);
    EXPECT_EQ(parsed({"--from", "a.xml"}).camera.descriptionFile, "a.xml");
    EXPECT_THROW(parsed({}), CLI::ParseError);
    EXPECT_THROW(parsed({"10.0.0.7", "--from", "a.xml"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--all"}), CLI::ParseError);
}
