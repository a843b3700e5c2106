#include "View.h"

#include "AddressText.h"

#include <algorithm>
#include <string_view>

namespace Diagnosis {

namespace {

using State = Platform::NeighbourEntry::State;

const Platform::Adapter* firstWith(const std::optional<std::vector<Platform::Adapter>>& adapters,
                                   const auto& condition) {
    if (!adapters)
        return nullptr;
    const auto found = std::ranges::find_if(*adapters, condition);
    return found == adapters->end() ? nullptr : &*found;
}

/// Whether an adapter, the loopback aside, has an address that fulfils the condition.
auto hasOwn(const auto& condition) {
    return [condition](const Platform::Adapter& each) {
        return !each.isLoopback && std::ranges::any_of(each.addresses, condition);
    };
}

} // namespace

View View::now() {
    return {Platform::listAdapters(),
            Platform::listNeighbours().value_or(std::vector<Platform::NeighbourEntry>())};
}

const Platform::Adapter* View::adapter(unsigned index) const {
    return firstWith(adapters, [index](const Platform::Adapter& each) { return each.index == index; });
}

std::string View::nameOf(unsigned index) const {
    const Platform::Adapter* const found = adapter(index);
    return found == nullptr ? std::string() : found->name;
}

const Platform::Adapter* View::holderOf(std::uint32_t address) const {
    return firstWith(adapters,
                     hasOwn([address](const Platform::Adapter::Address& own) { return own.ip == address; }));
}

bool View::isInOwnNetwork(std::uint32_t address) const {
    const auto holds = [address](const Platform::Adapter::Address& own) {
        return (own.ip & own.mask) == (address & own.mask);
    };
    return firstWith(adapters, hasOwn(holds)) != nullptr;
}

const Platform::NeighbourEntry* View::neighbour(std::uint32_t address, unsigned adapterIndex) const {
    const auto found = std::ranges::find_if(neighbours, [&](const Platform::NeighbourEntry& each) {
        return each.address == address && (adapterIndex == 0 || each.adapterIndex == adapterIndex);
    });
    return found == neighbours.end() ? nullptr : &*found;
}

std::vector<Adapter> View::adapterFacts() const {
    std::vector<Adapter> facts;
    for (const Platform::Adapter& each : adapters.value_or(std::vector<Platform::Adapter>())) {
        Adapter& fact = facts.emplace_back();
        fact.name = each.name;
        fact.isUp = each.isUp;
        fact.hasLink = each.hasLink;
        fact.isLoopback = each.isLoopback;
        fact.isPart = each.isPart;
        fact.macAddress = each.isLoopback ? std::string() : macText(each.hardwareAddress);
        for (const Platform::Adapter::Address& own : each.addresses)
            fact.addresses.push_back({dottedText(own.ip), dottedText(own.mask)});
    }
    return facts;
}

std::vector<Neighbour> View::neighbourFacts() const {
    std::vector<Neighbour> facts;
    for (const Platform::NeighbourEntry& each : neighbours)
        if (each.state != State::asking)
            facts.push_back(
                {nameOf(each.adapterIndex), dottedText(each.address), macText(each.hardwareAddress)});
    return facts;
}

std::string macText(const std::vector<unsigned char>& address) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : address) {
        text.append(text.empty() ? "" : "-");
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace Diagnosis
