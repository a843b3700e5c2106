#pragma once
// Several cameras of one simulator, at the ports that real ones have.

#include "ToolRun.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace Integration {

/// Of this process's own: "127.A.B.1", "127.A.B.2" ...
inline std::string addressOf(int camera) {
    const auto process = static_cast<unsigned>(getpid());
    return "127." + std::to_string(1 + process % 60) + "." + std::to_string(process / 60 % 250) + "." +
           std::to_string(camera);
}

/// The simulator with a camera for each of these settings, beside its address and serial number, and a model
/// of small pictures.
class ServedSet {
public:
    explicit ServedSet(const std::vector<nlohmann::json>& settings) {
        nlohmann::json cameras = nlohmann::json::array();
        for (const nlohmann::json& each : settings) {
            addresses.push_back(addressOf(static_cast<int>(addresses.size()) + 1));
            nlohmann::json camera = {{"address", addresses.back()},
                                     {"serial", "100" + std::to_string(addresses.size())},
                                     {"hardware", "X900"},
                                     {"size", "120x80"}};
            camera.update(each);
            cameras.push_back(camera);
        }
        std::ofstream(own.file("set.json")) << nlohmann::json{{"cameras", cameras}};
        served.emplace(Names{"--config", own.file("set.json"), "--for", "240"});
    }
    ServedSet(const ServedSet&) = delete;
    ServedSet& operator=(const ServedSet&) = delete;

    /// The simulator has come to no harm.
    ~ServedSet() { served->stop(); }

    /// The arguments of a capture of all of them, those that answer last first.
    Names captureArguments(const Names& more = {}) const {
        Names arguments{"capture", "--output", pictures.path()};
        arguments.insert(arguments.end(), addresses.rbegin(), addresses.rend());
        return joined(arguments, more);
    }

    const TemporaryFolder own;
    const TemporaryFolder pictures;
    Names addresses;
    std::optional<Served> served;
};

using Cameras = std::vector<nlohmann::json>;

inline const nlohmann::json plain = nlohmann::json::object();
inline const nlohmann::json white = {{"scene", "white"}};
inline const nlohmann::json silent = {{"text", "silent"}};
inline const nlohmann::json slow = {{"wait-exposure", true}};
inline const nlohmann::json mute = {{"binary", "refused"}, {"hardware", "M61"}};
inline const nlohmann::json dripping = {{"faults", {"get:drip=1/20"}}};
/// Of more than the tool fetches without a place for it.
inline const nlohmann::json large = {{"size", "800x600"}};

} // namespace Integration
