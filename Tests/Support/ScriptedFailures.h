#pragma once
// Failures of the scripted platform and of the scripted host, call by call. One thread.

#include <functional>
#include <map>
#include <set>
#include <string>

namespace TestSupport {

/// The platform's clock and files: which of their calls fail. A test gets a fresh one by
/// PlatformFailures::current() = {}.
struct PlatformFailures {
    static PlatformFailures& current();

    /// Makes the `occurrence`-th call of the function from now on fail: QueryPerformanceCounter and
    /// QueryPerformanceFrequency answer 0 and store nothing, _time64 answers -1, _ctime64 and fopen null,
    /// fwrite 0; fclose closes and answers EOF.
    void fail(const std::string& function, int occurrence = 1) {
        failures[function].insert(occurrences[function] + occurrence);
    }

    /// How often each of these was called.
    std::map<std::string, int> occurrences;
    int openFiles = 0; ///< files opened and not closed

    // Its own book-keeping.
    std::map<std::string, std::set<int>> failures;
};

/// Where it is set, called with "create", "convert" and "release" of the scripted imaging library, with
/// "width", "height" and "pixels" of its pictures and with "images folder"; may throw, as that call's
/// failure.
std::function<void(const std::string&)>& onScriptedHostCall();

} // namespace TestSupport
