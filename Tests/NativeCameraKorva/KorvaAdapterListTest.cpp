// The list of adapters over memory that a test fills, whatever the system would say.

#include "NativeCameraKorva/KorvaAdapterList.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <string>

using Korva::AdapterList;

namespace {

constexpr ULONG oneAdapter = sizeof(IP_ADAPTER_INFO);

/// Fills the buffer of that many bytes, and answers.
std::function<DWORD(IP_ADAPTER_INFO*, ULONG)> onAsk;

/// Chains `count` adapters, the last one to `behind`.
DWORD chain(IP_ADAPTER_INFO* adapters, std::size_t count, IP_ADAPTER_INFO* behind) {
    for (std::size_t at = 0; at < count; ++at) {
        adapters[at] = {};
        adapters[at].Index = static_cast<DWORD>(at + 1);
        adapters[at].Next = at + 1 < count ? &adapters[at + 1] : behind;
    }
    return NO_ERROR;
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

TEST(AdapterList, IsWalkedInOrder) {
    onAsk = [](IP_ADAPTER_INFO* adapters, ULONG bytes) {
        EXPECT_EQ(bytes, 3 * oneAdapter);
        return chain(adapters, 3, nullptr);
    };
    AdapterList list(3 * oneAdapter);
    EXPECT_EQ(list.fill(), NO_ERROR);
    EXPECT_EQ(walk(list), "1 2 3 ");
    EXPECT_EQ(list.next(), nullptr);
}

TEST(AdapterList, HasNoneBeforeItIsFilled) {
    AdapterList list(3 * oneAdapter);
    EXPECT_EQ(list.next(), nullptr);
}

TEST(AdapterList, HasNoneWhereTheSystemDoesNotTell) {
    onAsk = [](IP_ADAPTER_INFO* adapters, ULONG) {
        chain(adapters, 1, nullptr);
        return ERROR_GEN_FAILURE;
    };
    AdapterList list(oneAdapter);
    EXPECT_EQ(list.fill(), ERROR_GEN_FAILURE);
    EXPECT_EQ(list.next(), nullptr);
}

TEST(AdapterList, HasNoneInMemoryTooSmallForOne) {
    onAsk = [](IP_ADAPTER_INFO*, ULONG) { return NO_ERROR; };
    for (const ULONG bytes : {ULONG{0}, ULONG{1}, oneAdapter - 1}) {
        AdapterList list(bytes);
        EXPECT_EQ(list.fill(), NO_ERROR);
        EXPECT_EQ(list.next(), nullptr) << bytes;
    }
}

TEST(AdapterList, EndsWhereALinkLeavesItsMemory) {
    IP_ADAPTER_INFO elsewhere{};
    onAsk = [&elsewhere](IP_ADAPTER_INFO* adapters, ULONG) { return chain(adapters, 1, &elsewhere); };
    AdapterList list(2 * oneAdapter);
    EXPECT_EQ(list.fill(), NO_ERROR);
    EXPECT_EQ(walk(list), "1 ");
}

TEST(AdapterList, EndsWhereALinkLeadsToTheRestOfItsMemory) {
    onAsk = [](IP_ADAPTER_INFO* adapters, ULONG) { return chain(adapters, 1, adapters + 2); };
    AdapterList list(3 * oneAdapter - 8);
    EXPECT_EQ(list.fill(), NO_ERROR);
    EXPECT_EQ(walk(list), "1 ");
}

TEST(AdapterList, EndsWhereALinkIsNotAligned) {
    onAsk = [](IP_ADAPTER_INFO* adapters, ULONG) {
        auto* const odd = reinterpret_cast<char*>(adapters) + oneAdapter + 1;
        return chain(adapters, 1, reinterpret_cast<IP_ADAPTER_INFO*>(odd));
    };
    AdapterList list(3 * oneAdapter);
    EXPECT_EQ(list.fill(), NO_ERROR);
    EXPECT_EQ(walk(list), "1 ");
}

TEST(AdapterList, EndsThoughItsLinksGoInACircle) {
    onAsk = [](IP_ADAPTER_INFO* adapters, ULONG) { return chain(adapters, 2, adapters); };
    AdapterList list(4 * oneAdapter);
    EXPECT_EQ(list.fill(), NO_ERROR);
    EXPECT_EQ(walk(list), "1 2 1 2 ");
}

TEST(AdapterList, CostsOnlyWhatTheSystemFills) {
    onAsk = [](IP_ADAPTER_INFO* adapters, ULONG) { return chain(adapters, 1, nullptr); };
    AdapterList list(std::numeric_limits<ULONG>::max());
    EXPECT_EQ(list.fill(), NO_ERROR);
    EXPECT_EQ(walk(list), "1 ");
}

TEST(AdapterText, EndsAtItsZero) {
    EXPECT_EQ(Korva::textOf(IP_ADDRESS_STRING{"10.0.0.5"}), "10.0.0.5");
    EXPECT_EQ(Korva::textOf(IP_ADDRESS_STRING{}), "");
}

TEST(AdapterText, EndsWithItsEntry) {
    IP_ADDRESS_STRING entry;
    std::memset(entry.String, '1', sizeof entry.String);
    EXPECT_EQ(Korva::textOf(entry), std::string(16, '1'));
}
