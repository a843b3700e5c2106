#include "ScriptedNames.h"

#include <dlfcn.h>
#include <netdb.h>
#include <string_view>

std::binary_semaphore& TestSupport::slowNameMayEnd() {
    static std::binary_semaphore semaphore(0);
    return semaphore;
}

// In the place of the system's, for this program; every other name goes on to that.
extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found) {
    using Function = decltype(&getaddrinfo);
    static const auto system = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string_view name = host;
    if (name == TestSupport::unknownName)
        return EAI_NONAME;
    if (name == TestSupport::slowName) {
        TestSupport::slowNameMayEnd().acquire();
        return EAI_AGAIN;
    }
    if (name != TestSupport::twoAddressName)
        return system(host, service, hints, found);
    const int result = system("127.0.0.2", service, hints, found);
    return result != 0 ? result : system("127.0.0.1", service, hints, &(*found)->ai_next);
}
