#include "CommandFailure.h"

#include "Printable.h"

#include "Diagnosis/Print.h"
#include "Platform/Terminal.h"

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

namespace Console {

CommandFailure::CommandFailure(Diagnosis::Verdict verdict, ExitStatus status)
    : std::runtime_error(Diagnosis::lineOf(verdict)), verdict_(std::move(verdict)), status_(status) {}

CommandFailure::CommandFailure(const Diagnosis::Trouble& trouble, ExitStatus status)
    : CommandFailure(Diagnosis::verdictOn(trouble), status) {}

CommandFailure::CommandFailure(const char* line, Diagnosis::Verdict verdict, ExitStatus status)
    : std::runtime_error(line), verdict_(std::move(verdict)), status_(status) {}

CommandFailure interruption() {
    return {Diagnosis::interruptedBriefly, Diagnosis::verdictOn({.what = Diagnosis::Obstacle::interrupt}),
            ExitStatus::interrupted};
}

void throwIfInterrupted() {
    if (Platform::interrupted())
        throw interruption();
}

void waitUntil(std::chrono::steady_clock::time_point due) {
    using Time = std::chrono::steady_clock;
    constexpr Time::duration mostUnlooked = std::chrono::milliseconds(50);
    for (auto now = Time::now(); now < due; now = Time::now()) {
        throwIfInterrupted();
        const auto pause = std::min(mostUnlooked, due - now);
        std::this_thread::sleep_for(pause); // an interrupt sets a flag and wakes nobody
    }
}

Diagnosis::Verdict verdictFrom(const std::exception& error) {
    if (const auto* const failure = dynamic_cast<const CommandFailure*>(&error))
        return failure->verdict();
    if (dynamic_cast<const Interrupted*>(&error) != nullptr)
        return interruption().verdict();
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr)
        return Diagnosis::verdictOn({.what = Diagnosis::Obstacle::memory});
    return Diagnosis::verdictOn({.what = Diagnosis::Obstacle::exception, .reason = error.what()});
}

ExitStatus statusFrom(const std::exception& error) {
    if (const auto* const failure = dynamic_cast<const CommandFailure*>(&error))
        return failure->status();
    const bool isInterrupted = dynamic_cast<const Interrupted*>(&error) != nullptr;
    return isInterrupted ? ExitStatus::interrupted : ExitStatus::failed;
}

std::string reasonFrom(const std::exception& error) {
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? Diagnosis::notEnoughMemory
                                                                  : printable(error.what());
}

} // namespace Console
