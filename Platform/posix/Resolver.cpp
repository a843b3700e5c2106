#include "Resolver.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <netdb.h>
#include <system_error>
#include <thread>

namespace Platform {

namespace {

Resolution lookUp(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (error != 0)
        return {{}, false, error == EAI_SYSTEM ? std::strerror(errno) : gai_strerror(error)};

    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
    Resolution resolution;
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        sockaddr_in address{};
        std::memcpy(&address, entry->ai_addr, sizeof address);
        resolution.addresses.push_back(address);
    }
    return resolution;
}

} // namespace

Resolution resolve(const std::string& host, Clock::time_point deadline) {
    sockaddr_in numeric{};
    numeric.sin_family = AF_INET;
    if (inet_pton(AF_INET, host.c_str(), &numeric.sin_addr) == 1)
        return {{numeric}, false, {}};

    // The system's resolver knows no time-out. A look-up that takes too long is left to end by itself; it
    // owns all that it touches.
    std::packaged_task<Resolution()> task([host] { return lookUp(host); });
    std::future<Resolution> answer = task.get_future();
    try {
        std::thread(std::move(task)).detach();
    } catch (const std::system_error& error) {
        return {{}, false, error.what()};
    }
    if (answer.wait_until(deadline) != std::future_status::ready)
        return {{}, true, "Name resolution timed out"};
    return answer.get();
}

} // namespace Platform
