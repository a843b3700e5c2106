#pragma once
// Finds cameras on every local IPv4 network at once.

#include "DeviceControl/DeviceFramework1Locator.h"
#include "Platform/Winsock.h"

#include <string>
#include <vector>

class BroadcastWorkerObserver;

/// Asks by UDP broadcast and identifies whoever answers. It holds no state: socket and lists live for one
/// search, so separate searches share nothing. The order of the virtual operations is the host's.
class KorvaCameraLocator final : public DeviceFramework1Locator {
public:
    /// One reply that was recognised as a camera's. Two replies of one camera make two of these.
    struct FoundKorva {
        std::string room;
        std::string ip; ///< as the camera wrote it
    };

    KorvaCameraLocator();
    ~KorvaCameraLocator() override;

    /// Nothing: these cameras have no serial line.
    void serialObserverSearch(BroadcastWorkerObserver* observer) override;

    /// Asks on every adapter, gathers replies until one second passes without any, and identifies each camera
    /// in turn on the calling thread; `observer` gets a template of each, with 0. A camera is known by its
    /// MAC address and told of once. Where `observer` is null, the log alone tells of them. `reserved` is not
    /// used.
    ///
    /// A camera that cannot be identified is skipped, with its log lines, as is one for which the observer
    /// throws; the template belongs to the observer then too. Throws nothing for what the network, the
    /// system, a camera or the observer does. If the query cannot be sent there is no search.
    void broadcastObserverSearch(BroadcastWorkerObserver* observer, unsigned int reserved) override;

    /// Nothing: a broadcast finds them all.
    void rangeObserverSearch(BroadcastWorkerObserver* observer) override;
    bool supportsRangeSearch() const override; ///< false

    /// Reads one reply, a zero-terminated text. False if it is no camera's or lacks room or address; both
    /// may be set even so.
    static bool parseDiscoveryReply(const char* text, std::string& room, std::string& ip);

private:
    static bool discover(std::vector<FoundKorva>& found);
    static bool sendDiscoveryQuery(SOCKET& socket);
    static bool gatherDiscoveryResponses(SOCKET socket, std::vector<FoundKorva>& found);
    static void processAndQueryFoundKorva(const FoundKorva& found, std::vector<std::string>& seenMacs,
                                          BroadcastWorkerObserver* observer);
};
