#include "Console/HealthCommand.h"

#include "Parsed.h"

using Console::addHealthOptions;
using ConsoleTests::parsed;

TEST(HealthCommand, TakesAnAddressOrADescription) {
    EXPECT_EQ(parsed(addHealthOptions, "10.0.0.7 --watch").camera.address, "10.0.0.7");
    EXPECT_TRUE(parsed(addHealthOptions, "10.0.0.7 --watch").watch);
    EXPECT_EQ(parsed(addHealthOptions, "--from a.xml").camera.descriptionFile, "a.xml");
    ConsoleTests::expectRefusal(addHealthOptions, {"", "10.0.0.7 --from a.xml", "--all"});
}
