#include "FailureAdvice.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <system_error>
#include <vector>

namespace Console {

namespace {

struct Advice {
    std::string sign; ///< what the reason contains
    std::string text;
};

std::string systemText(std::errc code) {
    return std::make_error_code(code).message();
}

/// The first sign that is found decides.
const std::vector<Advice>& table() {
    static const std::vector<Advice> advices = {
        {"Too slow: ", "check the cable, the switch and the network's load, or allow a lower --min-speed"},
        {"Took too long: ", "restart the camera and check the network, or allow a longer --max-time"},
        {"not enough memory", "end other programs, or use fewer cameras at a time"},
        {systemText(std::errc::connection_refused),
         "check that this is a Korva camera and that it has finished starting"},
        {systemText(std::errc::host_unreachable), "check the address, the cable and the camera's power"},
        {systemText(std::errc::network_unreachable),
         "check the address and this computer's network settings"},
        {systemText(std::errc::timed_out), "check the address, the cable and the camera's power"},
        {systemText(std::errc::connection_reset),
         "take the picture again; if it stays so, restart the camera"},
        {"Name or service not known", "check the name, or give the camera's IPv4 address"},
        {"name resolution", "give the camera's IPv4 address instead of its name"},
        {"closed", "take the picture again; if it stays so, restart the camera"},
        {"All black image", "open the lens cap, light the scene or use a longer --exposure"},
        {"Korva returned an error code", "use another --exposure; if it stays so, restart the camera"},
        {"picture has the size 0 x 0", "take the picture again; if it stays so, restart the camera"},
        {"the camera's resolution is", "describe the camera anew with: korva describe ADDRESS"},
        {"SW version at least", "update the camera's firmware"},
        {"info from Korva device", "check that this is a Korva camera; restart it"},
        {"determine its resolution", "open the lens cap, and light the scene"},
        {"parseIncomingMessage failed", "check the cable and restart the camera"},
        {"image configuration", "restart the camera and check the cable"},
        {"take image request",
         "use a shorter --exposure (the camera has 10 s to answer) or restart the camera"},
        {"bytesRead", "check the cable, then take the picture again"},
        {"chksum", "check the cable, then take the picture again"},
    };
    return advices;
}

} // namespace

std::string adviceFor(std::string_view reason) {
    for (const Advice& advice : table()) {
        if (reason.find(advice.sign) != std::string_view::npos)
            return advice.text;
    }
    return "try again with --log debug to see what the camera says";
}

std::string reasonOf(const std::vector<std::string>& remarks) {
    static const std::set<std::string> sayNothing = {"DeviceException while determining camera info.",
                                                     "Failed to capture Korva image"};
    std::vector<std::string> reasons;
    for (const std::string& remark : remarks) {
        const std::size_t begin = std::min(remark.find_first_not_of(' '), remark.size());
        const std::string reason = remark.substr(begin);
        if (!sayNothing.contains(reason) &&
            std::find(reasons.begin(), reasons.end(), reason) == reasons.end())
            reasons.push_back(reason);
    }
    std::string all;
    for (const std::string& reason : reasons)
        all += (all.empty() ? "" : "; ") + reason;
    return all.empty() ? "the plug-in gave no reason" : all;
}

} // namespace Console
