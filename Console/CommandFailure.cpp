#include "CommandFailure.h"

#include "PictureFile.h"
#include "Printable.h"

#include "Diagnosis/Print.h"
#include "Platform/Terminal.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <thread>
#include <utility>

namespace Console {

namespace {

Diagnosis::Verdict verdictIn(const std::string& text) {
    constexpr std::string_view sign = "; try: ";
    const std::size_t at = text.rfind(sign);
    Diagnosis::Verdict verdict;
    verdict.code = "failed";
    verdict.text = text.substr(0, at);
    verdict.remedy = at == std::string::npos ? "try again with --log debug to see what happens"
                                             : text.substr(at + sign.size());
    return verdict;
}

} // namespace

CommandFailure::CommandFailure(Diagnosis::Verdict verdict, ExitStatus status)
    : std::runtime_error(Diagnosis::lineOf(verdict)), verdict_(std::move(verdict)), status_(status) {}

CommandFailure::CommandFailure(const std::string& text, ExitStatus status)
    : CommandFailure(text, verdictIn(text), status) {}

CommandFailure::CommandFailure(const std::string& line, Diagnosis::Verdict verdict, ExitStatus status)
    : std::runtime_error(line), verdict_(std::move(verdict)), status_(status) {}

CommandFailure fileFailure(const std::string& text, const std::string& remedy) {
    Diagnosis::Verdict verdict;
    verdict.code = "file-failed";
    verdict.text = text;
    verdict.remedy = remedy;
    return CommandFailure(std::move(verdict));
}

CommandFailure interruption() {
    Diagnosis::Verdict verdict;
    verdict.code = "interrupted";
    verdict.text = "interrupted by Ctrl-C or a request to end";
    verdict.remedy = "run it again and let it come to its end";
    return CommandFailure("interrupted", std::move(verdict), ExitStatus::interrupted);
}

void throwIfInterrupted() {
    if (Platform::interrupted())
        throw interruption();
}

void waitUntil(std::chrono::steady_clock::time_point due) {
    using Clock = std::chrono::steady_clock;
    constexpr Clock::duration lookInterval = std::chrono::milliseconds(50);
    for (auto now = Clock::now(); now < due; now = Clock::now()) {
        throwIfInterrupted();
        const auto pause = std::min(lookInterval, due - now);
        std::this_thread::sleep_for(pause); // an interrupt sets a flag and wakes nobody
    }
}

Diagnosis::Verdict verdictFrom(const std::exception& error) {
    if (const auto* const failure = dynamic_cast<const CommandFailure*>(&error))
        return failure->verdict();
    if (dynamic_cast<const Interrupted*>(&error) != nullptr)
        return interruption().verdict();
    Diagnosis::Verdict verdict = verdictIn(reasonFrom(error));
    if (dynamic_cast<const PictureFileError*>(&error) != nullptr)
        verdict.code = "file-failed";
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        verdict.code = "no-memory";
        verdict.remedy = "end other programs, or use fewer cameras at a time";
    }
    return verdict;
}

ExitStatus statusFrom(const std::exception& error) {
    if (const auto* const failure = dynamic_cast<const CommandFailure*>(&error))
        return failure->status();
    const bool isInterrupted = dynamic_cast<const Interrupted*>(&error) != nullptr;
    return isInterrupted ? ExitStatus::interrupted : ExitStatus::failed;
}

std::string reasonFrom(const std::exception& error) {
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? notEnoughMemory : printable(error.what());
}

} // namespace Console
