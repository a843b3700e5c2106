#include "FetchGate.h"

#include "CommandFailure.h"

#include "Platform/Terminal.h"

#include <algorithm>
#include <thread>

namespace Console {

FetchGate::FetchGate(std::size_t places, Time longest) : places_(places), longest_(longest) {}

std::size_t FetchGate::placesOfThisComputer() {
    return std::max(1u, std::thread::hardware_concurrency());
}

std::unique_ptr<FetchGate::Place> FetchGate::enter() {
    return std::make_unique<Place>(*this);
}

void FetchGate::take() {
    constexpr auto lookInterval = std::chrono::milliseconds(50);
    const auto end = std::chrono::steady_clock::now() + longest_;
    std::unique_lock lock(mutex_);
    const auto most = [&] { return std::chrono::steady_clock::now() < end ? places_ : 2 * places_; };
    while (held_ >= most()) {
        if (Platform::interrupted())
            throw Interrupted();
        left_.wait_for(lock, lookInterval);
    }
    ++held_;
}

void FetchGate::leave() {
    const std::lock_guard lock(mutex_);
    --held_;
    left_.notify_one();
}

} // namespace Console
