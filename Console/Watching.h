#pragma once
// What the commands with --watch share.

#include <chrono>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace Console {

/// "2026-03-01 23:59:01" by the clock on the wall, and the same moment as "2026-03-01T22:59:01Z".
std::string localTimeText(std::chrono::system_clock::time_point time);
std::string utcTimeText(std::chrono::system_clock::time_point time);

/// Prints what is new at once: the words behind the local time, or the object with "time" in front.
void tellNews(bool json, const std::string& words, const nlohmann::ordered_json& object);

/// Calls `look` again and again, `pause` between two, until Ctrl-C. What it throws for that is the end;
/// anything else passes on. False if no call of it came to its end.
bool watchUntilInterrupt(std::chrono::milliseconds pause, const std::function<void()>& look);

} // namespace Console
