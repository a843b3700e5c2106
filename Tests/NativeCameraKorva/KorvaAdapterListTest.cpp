// The list of adapters over memory that a test fills, whatever the system would say.

#include "NativeCameraKorva/KorvaAdapterList.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <string>

using Korva::AdapterList;

namespace {

constexpr ULONG oneAdapter = sizeof(IP_ADAPTER_INFO);

/// Fills the buffer of that many bytes, and answers.
std::function<DWORD(IP_ADAPTER_INFO*, ULONG)> onAsk;

/// Has the system chain `count` adapters, the last one to nowhere, or to the bytes `behind` the first.
auto chain(std::size_t count, std::optional<std::size_t> behind = std::nullopt) {
    return [=](IP_ADAPTER_INFO* adapters) {
        for (std::size_t at = 0; at < count; ++at) {
            adapters[at] = {};
            adapters[at].Index = static_cast<DWORD>(at + 1);
            adapters[at].Next = &adapters[at + 1];
        }
        char* const first = reinterpret_cast<char*>(adapters);
        adapters[count - 1].Next = behind ? reinterpret_cast<IP_ADAPTER_INFO*>(first + *behind) : nullptr;
    };
}

/// The indices of the adapters that are walked, each followed by a blank.
std::string walk(AdapterList& list) {
    std::string indices;
    while (const IP_ADAPTER_INFO* const adapter = list.next())
        indices += std::to_string(adapter->Index) + " ";
    return indices;
}

} // namespace

DWORD GetAdaptersInfo(IP_ADAPTER_INFO* adapters, ULONG* bytes) {
    return onAsk(adapters, *bytes);
}

TEST(AdapterList, IsWalkedInOrderWithinItsMemory) {
    IP_ADAPTER_INFO elsewhere{};
    const auto leave = [&elsewhere](IP_ADAPTER_INFO* adapters) {
        chain(1)(adapters);
        adapters->Next = &elsewhere;
    };
    const struct {
        const char* what;
        ULONG bytes;
        std::function<void(IP_ADAPTER_INFO*)> fill;
        const char* walked;
        DWORD code = NO_ERROR;
    } rows[] = {
        {"three adapters", 3 * oneAdapter, chain(3), "1 2 3 "},
        {"a link out of its memory", 2 * oneAdapter, leave, "1 "},
        {"a link to the rest of its memory", 3 * oneAdapter - 8, chain(1, 2 * oneAdapter), "1 "},
        {"a link that is not aligned", 3 * oneAdapter, chain(1, oneAdapter + 1), "1 "},
        {"a circle", 4 * oneAdapter, chain(2, 0), "1 2 1 2 "},
        {"memory that costs only what is filled", std::numeric_limits<ULONG>::max(), chain(1), "1 "},
        {"no memory", 0, [](auto*) {}, ""},
        {"too little memory for one", 1, [](auto*) {}, ""},
        {"one byte too little", oneAdapter - 1, [](auto*) {}, ""},
        {"a system that does not tell", oneAdapter, chain(1), "", ERROR_GEN_FAILURE},
    };
    for (const auto& row : rows) {
        onAsk = [&row](IP_ADAPTER_INFO* adapters, ULONG bytes) {
            EXPECT_EQ(bytes, row.bytes);
            row.fill(adapters);
            return row.code;
        };
        AdapterList list(row.bytes);
        EXPECT_EQ(list.next(), nullptr) << "not yet filled";
        EXPECT_EQ(list.fill(), row.code);
        EXPECT_EQ(walk(list), row.walked) << row.what;
        EXPECT_EQ(list.next(), nullptr) << row.what;
    }
}

TEST(AdapterText, EndsAtItsZeroOrWithItsEntry) {
    EXPECT_EQ(Korva::textOf(IP_ADDRESS_STRING{"10.0.0.5"}), "10.0.0.5");
    EXPECT_EQ(Korva::textOf(IP_ADDRESS_STRING{}), "");
    IP_ADDRESS_STRING entry;
    std::memset(entry.String, '1', sizeof entry.String);
    EXPECT_EQ(Korva::textOf(entry), std::string(16, '1'));
}
