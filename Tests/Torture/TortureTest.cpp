// Every allocation and every call that an operation makes fails once: those of the system's, and those of the
// host's, which throw. The sockets below the host's communicator are both.
//
// The conversions between narrow and wide text are not among them: they ask nothing of the system and fail
// for malformed text alone, which has tests of its own.

#include "Scene.h"

#include "Communicator/DeviceException.h"
#include "NativeCameraKorva/KorvaCommParser.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "Support/DecodedPicture.h"
#include "Support/PictureFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <istream>
#include <new>
#include <set>
#include <span>
#include <string_view>
#include <tuple>
#include <utility>

namespace {

using namespace Torture;

constexpr char any[] = "";
constexpr char passes[] = "the exception passes";
constexpr char nothingForDeviceException[] = "nothing for a DeviceException, all else passes";
constexpr char noResolution[] = "throws DeviceException: Found Korva, but couldn't determine its resolution";
constexpr int netDown = 10050;

/// What comes of it where one call fails. The first row that fits holds.
struct Row {
    std::string_view operations; ///< any of these
    std::string_view calls;      ///< their names, or these and their occurrences
    std::string_view outcome;
    std::string_view residue = "";
};

// A search that cannot ask leaves the sockets library started; a camera whose MAC address is not to be had
// goes by zeros, and so does a duplicate, which then counts as one more but answers no second time.
constexpr Row systemRows[] = {
    {"search", "WSAStartup|recvfrom #1", "none found"},
    {"search", "socket|setsockopt #1|GetAdaptersInfo|sendto", "none found", "startups: 1 "},
    {"search", "recvfrom #2|recvfrom #3", "one found"},
    {"search", "closesocket", "good", "sockets: 1 "},
    {"search", "WSACleanup", "good", "startups: 1 "},
    {"search", "inet_pton #5|inet_pton #6|SendARP #1|SendARP #2", "unknown MAC"},
    {"dump", "_ctime64|fopen", "no file"},
    {"dump", "fwrite", "empty file"},
    // The last reply is whole by then.
    {any, "receive 10.0.0.5:32768 #9|receive 10.0.0.6:32768 #9", "good"},
};

constexpr Row hostRows[] = {
    {"dump", "images", "no file"},
    {any, "images", "good"},
    // The observer has the template by then.
    {"search", "deviceFound", "good"},
    {"search", any, "one found"},
    {"identification with a grab", "connect 10.0.0.5:32769|send 10.0.0.5:32769|receive 10.0.0.5:32769",
     noResolution},
    {"identification with a grab", "createImage|convertToGreyscale|releaseImage|getWidth|getHeight",
     noResolution},
    {"identification|identification with a grab", any, passes},
    {"capture of colours|capture of grey|build from description", any, passes},
    {"picture", any, "no picture"},
    {"picture command", any, "black"},
    {"probe", any, "not alive"},
    {"build from template|build from connection", any, nothingForDeviceException},
    {any, any, "no row for it"},
};

/// Whether it is one of those between the strokes.
bool isOne(const std::string& word, std::string_view words) {
    const std::string all = "|" + std::string(words) + "|";
    return words == any || all.find("|" + word + "|") != std::string::npos;
}

const Row* rowOf(std::span<const Row> rows, const std::string& operation, const Call& call) {
    const std::string whole = call.name + " #" + std::to_string(call.occurrence);
    const auto row = std::ranges::find_if(rows, [&](const Row& each) {
        return isOne(operation, each.operations) &&
               (isOne(call.name, each.calls) || isOne(whole, each.calls));
    });
    return row == rows.end() ? nullptr : &*row;
}

/// What the host throws, and the outcome where it passes.
struct Thrown {
    std::string outcome;
    std::exception_ptr exception;
};

std::vector<Thrown> everythingThrown() {
    return {
        {"throws DeviceException", std::make_exception_ptr(DeviceException(L"torture", L"Torture.cpp", 12))},
        {"throws TolvaneException", std::make_exception_ptr(TolvaneException(L"torture"))},
        {"throws bad_alloc", std::make_exception_ptr(std::bad_alloc())},
        {"throws something", std::make_exception_ptr(42)}};
}

std::string outcomeOf(const std::string& operation, const Call& call, const Thrown& thrown) {
    const Row& row = *rowOf(hostRows, operation, call);
    if (row.outcome == nothingForDeviceException)
        return thrown.outcome == "throws DeviceException" ? "nothing" : thrown.outcome;
    return row.outcome == passes ? thrown.outcome : std::string(row.outcome);
}

bool isOfTheSockets(const Call& call) {
    return call.name.starts_with("connect ") || call.name.starts_with("send ") ||
           call.name.starts_with("receive ");
}

bool isOfTheHost(const Call& call) {
    return !isOne(
        call.name,
        "GetAdaptersInfo|QueryPerformanceCounter|QueryPerformanceFrequency|SendARP|Sleep|WSACleanup|"
        "WSAGetLastError|WSAStartup|_ctime64|_time64|closesocket|fclose|fopen|fwrite|inet_ntop|"
        "inet_pton|recvfrom|sendto|setsockopt|socket");
}

struct CallTorture : ::testing::TestWithParam<Operation> {
    const std::string& name = GetParam().name;

    static std::vector<Call> calls() {
        const auto scene = GetParam().make();
        EXPECT_EQ(scene->run(), "good");
        return scene->made();
    }

    /// Once it has failed and all works again. What came of it, and whether it was reached.
    static std::pair<std::string, bool> failOnce(const Call& call, const World::Calls::Failure& failure,
                                                 std::string_view residue = "") {
        SCOPED_TRACE(::testing::Message() << call);
        const auto scene = GetParam().make();
        const std::string outcome = scene->run(call, failure);
        const bool wasReached = scene->wasReached();
        const bool mustComplain = call.name == "allocation" && GetParam().complains && outcome != "good";
        EXPECT_TRUE(!mustComplain || scene->complained()) << outcome;
        EXPECT_EQ(scene->residue(), residue) << outcome;
        EXPECT_EQ(scene->run(), "good") << "after: " << outcome;
        EXPECT_EQ(scene->residue(), residue) << "after: " << outcome;
        return {outcome, wasReached};
    }

    /// The same, and nothing is left behind.
    static std::pair<std::string, bool> failCleanly(const Call& call, const World::Calls::Failure& failure,
                                                    std::string_view residue = "") {
        std::pair<std::string, bool> result;
        result.first.reserve(200); // so that keeping what came of it allocates nothing
        const auto work = [&] {
            const auto now = failOnce(call, failure, residue);
            result.first.assign(now.first);
            result.second = now.second;
        };
        EXPECT_EQ(leakOf(work), 0) << call;
        return result;
    }

    static void torture(const Call& call, const World::Calls::Failure& failure, const std::string& outcome,
                        std::string_view residue = "") {
        EXPECT_EQ(failCleanly(call, failure, residue).first, outcome) << call;
    }
};

TEST_P(CallTorture, OfAllocationsEachFailsOnce) {
    ASSERT_FALSE(calls().empty());
    std::set<std::string> seen;
    int number = 1;
    for (bool wasReached = true; wasReached; ++number) {
        ASSERT_LT(number, 20'000);
        std::string outcome;
        std::tie(outcome, wasReached) = failCleanly({"allocation", number}, 0);
        seen.insert(outcome);
    }
    EXPECT_EQ(seen, GetParam().withoutMemory);
    std::printf("figure: allocations failed once in turn, %s: %d\n", name.c_str(), number - 2);
}

TEST_P(CallTorture, OfTheSystemEachFailsOnce) {
    int count = 0;
    for (const Call& call : calls()) {
        const Row* const row = rowOf(systemRows, name, call);
        if (isOfTheHost(call) && !isOfTheSockets(call))
            continue;
        ++count;
        if (row != nullptr)
            torture(call, netDown, std::string(row->outcome), row->residue);
        else if (isOfTheSockets(call))
            torture(call, netDown, outcomeOf(name, call, everythingThrown().front())); // the host throws
        else
            torture(call, netDown, "good");
    }
    EXPECT_EQ(count == 0, name == "build from description" || name == "build from template");
    std::printf("figure: system calls failed once in turn, %s: %d\n", name.c_str(), count);
}

TEST_P(CallTorture, OfTheHostEachThrowsOnce) {
    int count = 0;
    for (const Call& call : calls()) {
        if (!isOfTheHost(call))
            continue;
        ++count;
        for (const Thrown& thrown : everythingThrown())
            torture(call, thrown.exception, outcomeOf(name, call, thrown));
    }
    EXPECT_GT(count, 0);
    std::printf("figure: host calls that threw once in turn, %s: %d, each four kinds\n", name.c_str(), count);
}

INSTANTIATE_TEST_SUITE_P(All, CallTorture, ::testing::ValuesIn(operations()), [](const auto& tested) {
    std::string name = tested.param.name;
    std::ranges::replace(name, ' ', '_');
    return name;
});

TEST(CommParserAllocations, FailAsBadAllocAndLeaveTheParserAsItWas) {
    std::string text =
        "[Korva --Room a room whose name is long enough --IP 192.168.100.200 --And-A-Long-Key x]";
    const std::string former = "--Former a value that is long enough]";
    bool threw = true;
    for (int number = 1; threw; ++number) {
        SCOPED_TRACE(number);
        ASSERT_LT(number, 100);
        Korva::CommParser parser;
        parser.parse(std::string(former).data());
        threw = false;
        const bool wasReached = failAllocation(number, [&] {
            try {
                parser.parse(text.data());
            } catch (const std::bad_alloc&) {
                threw = true;
            }
        });
        EXPECT_EQ(threw, wasReached);
        EXPECT_EQ(parser.isParsed(), !threw);
        EXPECT_EQ(parser.getValue("--Former"), "a value that is long enough");
        EXPECT_EQ(parser.getValue("--Room"), threw ? "" : "a room whose name is long enough");
        EXPECT_TRUE(threw || number > 5);
        parser.parse(text.data());
        EXPECT_TRUE(parser.isParsed());
        EXPECT_EQ(parser.getValue("--Room"), "a room whose name is long enough");
        EXPECT_EQ(parser.getValue("--IP"), "192.168.100.200");
    }
}

Support::DecodedPicture decodeSgi(const Support::Bytes& file, int failing) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    image_t picture;
    const bool wasReached = failAllocation(failing, [&] { picture = Korva::decodeSgi(stream); });
    EXPECT_EQ(picture.pixels == nullptr, failing != 0 && wasReached) << failing;
    return Support::pictureOf(picture);
}

/// A file that ends too early costs rows of the decoder's own.
TEST(CutPictureAllocations, GiveAnEmptyImageWhereTheyFail) {
    Support::Bytes file = TestSupport::sgiFile(TestSupport::uniformSamples(4, 3, 3, 64));
    file.resize(file.size() - 12); // half a row of the last plane, and the row behind it
    const Support::DecodedPicture whole = decodeSgi(file, 0);
    int failing = 1;
    for (; decodeSgi(file, failing) == Support::noPicture; ++failing) {
        ASSERT_LT(failing, 20);
        EXPECT_EQ(decodeSgi(file, 0), whole);
    }
    EXPECT_EQ(decodeSgi(file, failing), whole);
    EXPECT_GE(failing - 1, 3); // the picture, the cut row and the missing one
}

} // namespace
