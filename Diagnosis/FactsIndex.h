#pragma once
// What rules ask of facts again and again, found at once: a network may answer with many thousands.

#include "Facts.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Diagnosis {

/// A view of facts, which must outlive it.
class FactsIndex {
public:
    explicit FactsIndex(const Facts& all);

    const Facts& facts;
    std::vector<Adapter> adapters; ///< as adaptersIn() gives them

    /// The answers to the search that name an address, in the order they came.
    const std::vector<const Answer*>& answersNaming(const std::string& address) const;

    /// The first answer to the search that came from an address and names another one; null if there is none.
    const Answer* misnamedAnswerFrom(const std::string& address) const;

    /// The first answer to the search of who has this MAC address; null if there is none.
    const Answer* firstAnswerOf(const std::string& mac) const;

    /// Of who has this MAC address as well, with another address and in another room; nothing if there is
    /// none.
    struct Holder {
        std::string_view address;
        std::string_view room;
    };
    std::optional<Holder> otherHolderOf(const std::string& mac, const Holder& holder) const;

    /// Whether anybody is known to have the address.
    bool isTaken(const std::string& address) const { return taken_.contains(address); }

    /// Whether an adapter of this computer has this MAC address.
    bool isOwnMac(const std::string& mac) const { return ownMacs_.contains(mac); }

private:
    void takeAddresses();
    void addHolder(std::string_view mac, const Holder& holder);

    std::map<std::string_view, std::vector<const Answer*>> byAddress_;
    std::map<std::string_view, const Answer*> misnamed_; ///< by their source
    std::map<std::string_view, const Answer*> byMac_;
    /// The first one, and the first one in another room with another address: enough to tell of each.
    std::map<std::string_view, std::vector<Holder>> holders_;
    std::set<std::string_view> taken_; ///< addresses
    std::set<std::string_view> ownMacs_;
};

/// Names behind numbers, and else as they are.
std::vector<const Camera*> sortedByAddress(const std::vector<Camera>& cameras);

} // namespace Diagnosis
