// What the commands make of their command lines.

#include "Console/CaptureOptions.h"
#include "Console/CommandFailure.h"
#include "Console/CommonOptions.h"
#include "Console/DiscoverCommand.h"
#include "Console/HealthCommand.h"
#include "Console/IdentifyCommand.h"
#include "Console/NearestName.h"
#include "Console/SimulateOptions.h"
#include "Console/TimeLimits.h"

#include "Camera/CameraSet.h"
#include "Camera/SettingTable.h"
#include "ReferenceHost/HostControl.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <tuple>

using namespace Console;
using namespace std::chrono_literals;
using TestSupport::thrownBy;

namespace {

using Lines = std::vector<std::string>;

/// What `add` makes of the words of a line, '' for an empty word. Throws WrongUsage.
template <typename Options>
Options parsed(void (*add)(const CommandLine::Options&, Options&), const std::string& line) {
    Lines words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;)
        words.push_back(word == "''" ? "" : word);
    const CommandLine::CommandLine command("");
    Options options;
    add(command.options(), options);
    command.read(words);
    return options;
}

/// Each of these lines is refused.
template <typename Options>
void expectRefusal(void (*add)(const CommandLine::Options&, Options&), const Lines& lines) {
    for (const std::string& line : lines)
        EXPECT_THROW(parsed(add, line), CommandLine::WrongUsage) << line;
}

} // namespace

TEST(ExposureOption, ReachesEveryStep) {
    for (int units = 1; units <= 3600; ++units) {
        const std::string text = std::to_string(units / 10) + "." + std::to_string(units % 10);
        EXPECT_EQ(exposureUnitsFromSeconds(text), units) << text;
    }
    for (const auto& [text, units] : {std::pair{"1.50", 15}, {"2", 20}, {"360", 3600}})
        EXPECT_EQ(exposureUnitsFromSeconds(text), units) << text;
}

TEST(ExposureOption, RefusesWhatIsOutsideTheRangeBetweenTwoStepsOrNoDecimalNumber) {
    for (const char* text :
         {"0",    "0.0",  "0.09",   "-1",        "360.1", "361", "1000000", "99999999999999999999",
          "0.15", "1.51", "359.95", "0.1000001", "",      "x",   "1,5",     "1.5s",
          " 1",   "nan",  "inf",    "1e0",       "0x1"})
        EXPECT_EQ(exposureUnitsFromSeconds(text), std::nullopt) << text;
}

TEST(CaptureOptions, AreOnePictureOfOneAndAHalfSecondsUnlessTheCommandLineSaysMore) {
    const auto told = [](const std::string& line) {
        const CaptureOptions options = parsed(addCaptureOptions, line);
        return std::tuple(options.camera.eachAddress(), options.exposures, options.isAutoExposure,
                          options.count, options.jobs, options.interval, options.output, options.keepsFiles,
                          options.takesAnyCamera, options.json, options.camera.pluginFile);
    };
    EXPECT_EQ(told("10.0.0.7"),
              std::tuple(Lines{"10.0.0.7"}, std::vector{15}, false, 1, 16, 0ms, "", false, false, false, ""));
    EXPECT_EQ(
        told("10.0.0.8 10.0.0.7 --exposure 0.2,10,0.3 --count 3 --jobs 2 --interval 1.5 --output wall.png "
             "--no-clobber --any-camera --json --plugin p.so"),
        std::tuple(Lines{"10.0.0.8", "10.0.0.7"}, std::vector{2, 100, 3}, false, 3, 2, 1500ms, "wall.png",
                   true, true, true, "p.so"));
    EXPECT_EQ(told("a --exposure auto"),
              std::tuple(Lines{"a"}, std::vector{15}, true, 1, 16, 0ms, "", false, false, false, ""));
}

TEST(CaptureOptions, ThatDoNotGoTogetherAreWrongUsage) {
    const std::string here = std::filesystem::current_path().filename().string();
    for (const auto& [line, complaint] :
         {std::pair<std::string, std::string>{"a --interval 2",
                                              "--interval is the time between several pictures"},
          {"a --output x.png --contact-sheet ./x.png",
           "--contact-sheet and the picture x.png are the same file"},
          {"--from a.xml --output x.png --contact-sheet ../" + here + "/x.png",
           "--contact-sheet and the picture x.png are the same file"},
          {"a b --contact-sheet no/../korva-b.png",
           "--contact-sheet and the picture korva-b.png are the same file"},
          {"a b --output no --contact-sheet no/korva-a.png",
           "--contact-sheet and the picture no/korva-a.png are the same file"},
          {"a --count 2 --exposure 1,2 --contact-sheet korva-a-4.png",
           "--contact-sheet and the picture korva-a-4.png are the same file"},
          {"a --contact-sheet -", "--contact-sheet takes the name of one file"},
          {"a --contact-sheet {room}.png", "--contact-sheet takes the name of one file"},
          {"a b --output one.png", "--output one.png is one file, and there are several cameras"},
          {"--all --output One.PNG", "--output One.PNG is one file, and there are several cameras"},
          {"a b --output -", "--output - is for one picture"},
          {"a --output - --count 2", "--output - is for one picture"},
          {"a --output - --exposure 1,2", "--output - is for one picture"},
          {"a --output - --json", "--output - leaves no room for --json on standard output"}}) {
        const CaptureOptions options = parsed(addCaptureOptions, line);
        try {
            requireThatTheyGoTogether(options);
            ADD_FAILURE() << line;
        } catch (const CommandFailure& failure) {
            EXPECT_EQ(failure.verdict().text, complaint);
            EXPECT_EQ(failure.status(), ExitStatus::wrongUsage);
        }
    }
    for (const char* line :
         {"a b --interval 2 --count 2", "a b --output one.png/", "a b --output {address}.png",
          "a --output x.png --contact-sheet y.png", "--all --contact-sheet korva-a.png"})
        EXPECT_NO_THROW(requireThatTheyGoTogether(parsed(addCaptureOptions, line))) << line;
}

TEST(CaptureOptions, NameTheCameraInExactlyOneWayAndRefuseWrongUsage) {
    EXPECT_EQ(parsed(addCaptureOptions, "--from camera.xml").camera.descriptionFile, "camera.xml");
    EXPECT_TRUE(parsed(addCaptureOptions, "--all").camera.all);
    expectRefusal(addCaptureOptions,
                  {"", "''", "a --all", "a --from camera.xml", "--all --from camera.xml", "--from ''"});
    expectRefusal(addCaptureOptions,
                  {"a --exposure 0", "a --exposure 360.1", "a --exposure", "a --count 0", "a --count 10000",
                   "a --count 1.5", "a --port 32769", "a --unknown", "a --exposure 1,,2", "a --exposure 1,2,",
                   "a --exposure Auto", "a --jobs 0", "a --jobs 65", "a --interval 0", "a --interval 86401",
                   "a --interval 1s", "a --output x.jpg", "a --output {x}.png", "a --contact-sheet x.gif"});
    std::string bracket = "1";
    for (int more = 1; more < 20; ++more)
        bracket += ",1";
    EXPECT_EQ(parsed(addCaptureOptions, "a --exposure " + bracket).exposures.size(), 20u);
    expectRefusal(addCaptureOptions, {"a --exposure " + bracket + ",1"});
}

TEST(HealthCommand, HasNothingNewToTellOfWhatIsOnlyMeasuredAnew) {
    const auto failing = [](const std::string& code, const std::string& text) {
        return Health{"a:1", "a",
                      Diagnosis::Verdict{code, Diagnosis::Severity::failure, text, "wait", "a", ""}};
    };
    const Health slow = failing("took-too-long", "took too long: 58 bytes in 1.3 s");
    EXPECT_TRUE(isSameState(slow, failing("took-too-long", "took too long: 57 bytes in 1.4 s")));
    EXPECT_FALSE(isSameState(slow, failing("too-slow", "took too long: 58 bytes in 1.3 s")));
    EXPECT_FALSE(isSameState(slow, Health{"a:1", "a"}));
    Health odd{"a:1", "a"};
    odd.note = failing("camera-error", "the camera answers, with error 5").whyNot;
    Health odder = odd;
    odder.note->text = "the camera answers, with error 6";
    EXPECT_FALSE(isSameState(odd, odder));
}

TEST(HealthCommand, TakesAddressesOrADescriptionOrAll) {
    for (const char* line : {"10.0.0.7 --watch", "--from a.xml --json", "--all"})
        EXPECT_NO_THROW(parsed(addHealthOptions, line));
    EXPECT_EQ(parsed(addHealthOptions, "10.0.0.7 b 10.0.0.7").camera.eachAddress(), (Lines{"10.0.0.7", "b"}));
    EXPECT_EQ(parsed(addHealthOptions, "a --jobs 64").jobs, 64);
    EXPECT_TRUE(parsed(addHealthOptions, "--from a.xml --any-camera").takesAnyCamera);
    expectRefusal(addHealthOptions,
                  {"", "10.0.0.7 --from a.xml", "10.0.0.7 --all", "a --jobs 0", "a --jobs 65"});
}

TEST(DiscoverCommand, TakesAddressesATimeAndAWatch) {
    EXPECT_EQ(parsed(addDiscoverOptions, "").camera.eachAddress(), Lines{});
    EXPECT_EQ(parsed(addDiscoverOptions, "a b").camera.eachAddress(), (Lines{"a", "b"}));
    EXPECT_EQ(parsed(addDiscoverOptions, "--timeout 2.5").timeout, 2500ms);
    EXPECT_TRUE(parsed(addDiscoverOptions, "--watch --json").watch);
    expectRefusal(addDiscoverOptions,
                  {"--timeout -1", "--timeout nan", "--timeout inf", "--timeout x", "--all", "--from a.xml"});
}

TEST(AnAddress, ThatIsNoneIsRefusedInPlainWords) {
    for (const auto& [text, complaint] : {std::pair{"10.0.0.7:32769", "\"10.0.0.7:32769\" names a port"},
                                          {"fe80::1", "\"fe80::1\" is an IPv6 address"},
                                          {"10.0.0.256", "\"10.0.0.256\" is no IPv4 address"}})
        EXPECT_THAT(thrownBy<CommandLine::WrongUsage>([text = text] { parsed(addIdentifyOptions, text); }),
                    testing::AllOf(testing::StartsWith(std::string("ADDRESS: ") + complaint),
                                   testing::HasSubstr("; try: ")));
}

TEST(NearestName, IsWhatWasMeant) {
    const Lines names = {"--exposure", "--output", "--json", "--all", "discover", "describe"};
    for (const auto& [word, name] : {std::pair{"--exposrue", "--exposure"},
                                     {"--exposur", "--exposure"},
                                     {"--expo", "--exposure"},
                                     {"--jason", "--json"},
                                     {"discovr", "discover"},
                                     {"--port", ""},
                                     {"", ""},
                                     {"frobnicate", ""}})
        EXPECT_EQ(nearestName(word, names), name) << word;
    EXPECT_EQ(nearestName(std::string(65, '-'), {std::string(65, '-')}), "");
}

TEST(CommonOptions, TakeEveryLevelInAnyCase) {
    for (const std::string level : {"off", "error", "warn", "info", "debug", "trace"})
        EXPECT_EQ(parsed(addCommonOptions, "--log " + level).log.level, level);
    EXPECT_EQ(parsed(addCommonOptions, "--log TRACE").log.level, "trace");
}

TEST(CommonOptions, RefuseUnknownLevelMissingConfigurationAndShapelessSetting) {
    expectRefusal(addCommonOptions,
                  {"--log loud", "--log-config /no/such/file", "--log-config no\xFFsuch\xE4",
                   "--setting tradeshow", "--setting =value", "--setting tradeshoww=1"});
    EXPECT_EQ(thrownBy<CommandLine::WrongUsage>([] { parsed(addCommonOptions, "--setting tradesow=1"); }),
              "--setting: there is no setting \"tradesow\"; try: tradeshow");
    EXPECT_THAT(
        thrownBy<CommandLine::WrongUsage>([] { parsed(addCommonOptions, "--setting x=1"); }),
        testing::EndsWith("; known are KorvaGetImageDelay, developerMode, enableTimingProfileLogging, "
                          "logging.ImageDirectory, tradeshow"));
}

TEST(CommonOptions, RefuseALoggingConfigurationThatIsNone) {
    const TestSupport::TemporaryFolder folder;
    const auto complaint = [&folder](const std::string& name, const std::string& text) {
        std::ofstream(folder.file(name)) << text;
        return thrownBy<CommandLine::WrongUsage>(
            [&] { parsed(addCommonOptions, "--log-config " + folder.file(name)); });
    };
    EXPECT_EQ(complaint("a", "# a comment\n\n  log4j.rootLogger=INFO, \\\n  A\nlog4j.appender.A=x\n"), "");
    EXPECT_EQ(complaint("a.xml", "<log4j:configuration/>"), "");
    EXPECT_THAT(complaint("b", "log4j.rootLogger=INFO\nlog4g.appender.A=x\n"),
                testing::HasSubstr("\"log4g.appender.A\" is no key of a logging configuration"));
    for (const char* name : {"c", "c.xml"})
        EXPECT_THAT(complaint(name, "# nothing\n"), testing::HasSubstr("holds no logging configuration"));
}

TEST(CommonOptions, SettingsMayBeRepeatedAndHoldEqualSignsAndReachTheHost) {
    const auto options = parsed(addCommonOptions, "--setting tradeshow=1 --setting KorvaGetImageDelay=x=y "
                                                  "--setting developerMode=");
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"tradeshow", "1"}, {"KorvaGetImageDelay", "x=y"}, {"developerMode", ""}};
    EXPECT_EQ(options.settings, expected);
    applyToHost(options);
    EXPECT_EQ(ReferenceHost::developerSettings().at("tradeshow"), "1");
}

TEST(CommonOptions, NameNoFolderOfDumpsWhereALoggingConfigurationDecidesWhetherThereAreAny) {
    CommonOptions options;
    options.log = {"trace", "any.properties"};
    EXPECT_EQ(applyToHost(options), "");
}

TEST(CommonOptions, FolderThatCannotBeMadeIsNamed) {
    const TestSupport::TemporaryFolder folder;
    const std::string file = folder.file("file");
    std::ofstream(file) << "no folder";
    CommonOptions options;
    options.diagnosticsFolder = file + "/\x1B[2J";
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { applyToHost(options); }),
              "cannot make the diagnostics folder " + file +
                  "/\\x1b[2J: Not a directory; try: another "
                  "--diagnostics DIR");
}

TEST(TimeLimits, AreWhatNoHonestCameraMeets) {
    const TimeLimits limits = parsed(addTimeLimits, "");
    EXPECT_EQ(limits.ofSearch(), 60s);
    EXPECT_EQ(limits.ofIdentification(), 20s);
    EXPECT_EQ(limits.ofIdentificationInASearch(), 20s);
    EXPECT_EQ(limits.ofProbe(), 15s);
    EXPECT_EQ(limits.ofPicture(1), 60'100ms);
    EXPECT_EQ(limits.ofPicture(3600), 420s);
    EXPECT_EQ(limits.ofSpeed().hold, 0s);
    EXPECT_EQ(limits.ofSpeed().bytesPerSecond, 65'536u);
    EXPECT_EQ(limits.ofSpeed().window, 30s);
}

TEST(TimeLimits, TakeOneTimeForEachStep) {
    for (const auto& [text, time] :
         {std::pair{"90", 90'000ms}, {"0.25", 250ms}, {"0", 0ms}, {"86400", 24h}}) {
        const TimeLimits limits = parsed(addTimeLimits, std::string("--max-time ") + text);
        EXPECT_EQ(limits.ofSearch(), time);
        EXPECT_EQ(limits.ofIdentification(), time);
        EXPECT_EQ(limits.ofIdentificationInASearch(), time / 3) << "others get their turn";
        EXPECT_EQ(limits.ofProbe(), time);
        EXPECT_EQ(limits.ofPicture(15), time);
    }
}

TEST(TimeLimits, LeaveHalfASearchToListenInAndWhatThatNeedsIfTheyCan) {
    for (const auto& [text, time] :
         {std::pair{"60", 30'000ms}, {"3", 1500ms}, {"2.5", 1500ms}, {"2", 1500ms}, {"1.9", 950ms}}) {
        const TimeLimits limits = parsed(addTimeLimits, std::string("--max-time ") + text);
        EXPECT_EQ(limits.ofListening(), time) << text;
        EXPECT_EQ(limits.isTooShortToListen(), time < 1s) << text;
    }
}

TEST(TimeLimits, TakeASpeedAndItsTime) {
    const TransportLimits limits = parsed(addTimeLimits, "--min-speed 0 --speed-time 0.1").ofSpeed();
    EXPECT_EQ(limits.bytesPerSecond, 0u);
    EXPECT_EQ(limits.window, 100ms);
    EXPECT_EQ(parsed(addTimeLimits, "--min-speed 1000000000").ofSpeed().bytesPerSecond, 1'000'000'000u);
}

TEST(TimeLimits, RefuseWhatIsNone) {
    for (const std::string option : {"--max-time ", "--min-speed ", "--speed-time "})
        for (const char* text : {"''", "-1", "x", "1e3", "nan", "inf", "86400.1x", "1000000001"})
            expectRefusal(addTimeLimits, {option + text});
    expectRefusal(addTimeLimits, {"--max-time 86400.1", "--speed-time 0", "--min-speed 1.5"});
}

namespace {

/// A value of each setting that is not the usual one, as it stands in a file.
const auto unusualValues = nlohmann::json::parse(R"({
    "address": "127.0.0.2", "announce": "10.77.1.12", "api": "2.0", "binary": "silent",
    "discovery": "refused", "faults": ["any:close"], "firmware": "4.0.0", "gateway": "10.77.0.1",
    "hardware": "XM61", "model": "M615", "netmask": "255.255.0.0", "port": 5, "protocol": "DHCP",
    "room": "Lab-2", "scene": "ramp", "seed": 18446744073709551615, "serial": "K-7", "size": "64x48",
    "text": "silent", "text-port": 6, "wait-exposure": true})");

Simulator::CameraEntry ofFile(const std::string& camera) {
    return Simulator::parseCameraSet(R"({"cameras": [{)" + camera + "}]}", "a.json").at(0);
}

/// The option of a setting, with that value.
std::string optionOf(const Simulator::Setting& setting) {
    std::string value = unusualValues.at(std::string(setting.key)).dump();
    std::erase_if(value, [](char each) { return each == '[' || each == ']' || each == '"'; });
    return setting.option() + "=" + value;
}

} // namespace

TEST(SimulateOptions, AreTheSameOnTheCommandLineAndInAFile) {
    const auto usual = parsed(addSimulateOptions, "").camera;
    EXPECT_EQ(usual, ofFile(R"("address": "127.0.0.1")"));
    for (const Simulator::Setting& setting : Simulator::settingTable()) {
        const std::string key(setting.key);
        const std::string address = key == "address" ? "" : R"("address": "127.0.0.1", )";
        const auto camera = parsed(addSimulateOptions, optionOf(setting)).camera;
        EXPECT_EQ(camera, ofFile(address + "\"" + key + "\": " + unusualValues.at(key).dump())) << key;
        EXPECT_NE(camera, usual) << key;
    }
}

TEST(SimulateOptions, EndAfterATimeOrNever) {
    EXPECT_EQ(parsed(addSimulateOptions, "").runTime, std::nullopt);
    EXPECT_EQ(parsed(addSimulateOptions, "--for 1.5").runTime, 1500ms);
}

TEST(SimulateOptions, ServeTheCameraOfTheCommandLineOrTheSetOfTheFileOrPartOfIt) {
    const TestSupport::TemporaryFolder folder;
    const std::string config = "--config " + folder.file("set.json");
    const std::string first = R"("address": "10.77.1.11", "room": "A", "port": 5, "text-port": 6)";
    const std::string second = R"("address": "10.77.1.12", "room": "B")";
    std::ofstream(folder.file("set.json")) << R"({"cameras": [{)" << first << "}, {" << second << "}]}";
    const auto served = [](const std::string& line) {
        return camerasToServe(parsed(addSimulateOptions, line));
    };
    EXPECT_EQ(served("--address 127.0.0.2"), std::vector{ofFile(R"("address": "127.0.0.2")")});
    EXPECT_EQ(served(config), (std::vector{ofFile(first), ofFile(second)}));
    EXPECT_EQ(served(config + " --camera 2"), std::vector{ofFile(second)});
    EXPECT_EQ(served(config + " --only 10.77.1.11"), std::vector{ofFile(first)});
    for (const char* none : {" --camera 0", " --camera 3", " --only 10.77.1.13"})
        EXPECT_THROW(served(config + none), Simulator::CameraSetError) << none;
}

TEST(SimulateOptions, SetGoesWithNoOptionOfOneCamera) {
    for (const Simulator::Setting& setting : Simulator::settingTable())
        expectRefusal(addSimulateOptions, {"--config a.json " + optionOf(setting)});
    expectRefusal(addSimulateOptions, {"--camera 1", "--only 10.0.0.1"});
    EXPECT_EQ(parsed(addSimulateOptions, "--config a.json --for 1").configFile, "a.json");
}

TEST(SimulateOptions, SizeIsTwoSidesFromOneTo65535) {
    EXPECT_EQ(Simulator::pictureSizeFromText("1x1"), (Simulator::PictureSize{1, 1}));
    EXPECT_EQ(Simulator::pictureSizeFromText("65535x2"), (Simulator::PictureSize{65535, 2}));
    for (const char* text : {"", "x", "1x", "x1", "0x1", "1x0", "65536x1", "1x65536", "-1x1", "1X1", "1x1x1",
                             "1 x 1", "99999999999x1"})
        EXPECT_EQ(Simulator::pictureSizeFromText(text), std::nullopt) << text;
}

TEST(SimulateOptions, RefuseWrongUsageInTheWordsOfTheCommandLine) {
    expectRefusal(addSimulateOptions,
                  {"--scene sunset", "--fault get:gremlins", "--fault checksum", "--port -1",
                   "--address 300.0.0.1", "--for -1", "--for nan", "--seed x", "--size big", "--text dead",
                   "--gateway 10.0.0", "--netmask 255.0.255.0", "something"});
    for (const auto& [line, complaint] :
         {std::pair{"--announce here", "--announce: \"here\" is no IPv4 address"},
          {"--protocol dhcp", "--protocol: \"dhcp\" is none of static and DHCP"},
          {"--port 65536", "--port: \"65536\" is not 0 to 65535"}})
        EXPECT_EQ(thrownBy<CommandLine::WrongUsage>([line = line] { parsed(addSimulateOptions, line); }),
                  complaint);
}

TEST(SimulateOptions, HelpNamesTheModelsAndSaysWhereThePicturesOfASetLie) {
    const CommandLine::CommandLine command("");
    SimulateOptions options;
    addSimulateOptions(command.options(), options);
    EXPECT_THAT(command.help(),
                ::testing::HasSubstr("The camera's model: M61 (unless given), M615, M62 or any"
                                     " text"));
    EXPECT_THAT(command.help(),
                ::testing::HasSubstr("The picture of a scene file:PATH lies beside the "
                                     "configuration or below it, and its path starts there."));
}
