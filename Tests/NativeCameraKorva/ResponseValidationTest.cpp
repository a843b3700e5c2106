#include "MessageFixture.h"

#include "World/Answers.h"

#include <string>

namespace MessageTests {
namespace {

const LogText headerLine = debug("Korva Response Header:  1 0 0 0 d 1");

enum class Wanted { done, image };

/// A response of those arguments is judged so, with these lines, logged or not.
void expectJudged(const char* what, Header header, const std::vector<World::Arg>& told, Wanted wanted,
                  bool isAccepted, const Texts& lines) {
    for (const bool isLogged : {true, false}) {
        SCOPED_TRACE(what);
        const PluginLog log(loggerName, "KorvaBinaryCommunication", isLogged);
        std::vector<FullArg> args;
        for (const World::Arg& arg : told) {
            args.emplace_back().header.type = arg.code;
            std::copy(arg.value.begin(), arg.value.end(), args.back().value.begin());
        }
        EXPECT_EQ(validateCommandResponse(header, args, wanted == Wanted::image), isAccepted);
        log.expect(lines);
    }
}

TEST(ResponseValidation, JudgesAResponseByItsFirstArgument) {
    const Header one{1, bigEndian32(13), 1};
    const Header none{1, bigEndian32(8), 0};
    const Header two{1, bigEndian32(18), 2};
    const Header large{0xAB, bigEndian32(0x0C00FF10), 0x0E};
    const LogText done = debug("Korva Response: DONE");
    const LogText failed = debug("Korva Response: ERROR");
    const LogText picture = debug("Korva Response: GETIMAGE");
    const LogText noneHeader = debug("Korva Response Header:  1 0 0 0 8 0");
    const LogText noArgument = error("Korva returned no argument");
    const std::string code = "Korva returned an error code: ";
    expectJudged("done", one, {{0, {}}}, Wanted::done, true, {headerLine, done});
    expectJudged("done for an image", one, {{0, {}}}, Wanted::image, false,
                 {headerLine, done, error("Expected GetImage response, got Done")});
    expectJudged("an image", one, {{6, {}}}, Wanted::image, true, {headerLine, picture});
    expectJudged("an image for done", one, {{6, {}}}, Wanted::done, false,
                 {headerLine, picture, warn("Korva returned an unexpected GetImage code: \x06")});
    expectJudged("an error for an image", one, {{1, {0, 0, 0, 100}}}, Wanted::image, false,
                 {headerLine, failed, warn(code + "100")});
    expectJudged("the largest error", one, {{1, {255, 255, 255, 255}}}, Wanted::done, false,
                 {headerLine, failed, warn(code + "4294967295")});
    expectJudged("more arguments than one", two, {{0, {}}, {1, {}}}, Wanted::done, true,
                 {debug("Korva Response Header:  1 0 0 0 12 2"),
                  warn("Korva returned more arguments than expected: \x02"), done});
    expectJudged("no argument", none, {}, Wanted::done, false, {noneHeader, noArgument});
    expectJudged("another command, whatever its arguments", large, {{0, {}}, {0, {}}}, Wanted::done, false,
                 {debug("Korva Response Header: ab c 0 ff 10 e"),
                  error("Korva didn't receive our Camera command: returned \xAB")});
}

TEST(ResponseValidation, RefusesEveryOtherCodeAndWritesItAsOneByte) {
    const Header one{1, bigEndian32(13), 1};
    const std::string unexpected = "Korva returned an unexpected response code code: ";
    for (int code = 0; code < 256; ++code) {
        if (code == doneCode || code == errorCode || code == imageCode)
            continue;
        const Texts lines{headerLine, warn(unexpected + static_cast<char>(code))};
        for (const Wanted wanted : {Wanted::done, Wanted::image})
            expectJudged("another code", one, {{static_cast<std::uint8_t>(code), {}}}, wanted, false, lines);
    }
}

} // namespace
} // namespace MessageTests
