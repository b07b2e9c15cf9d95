#pragma once

#include <cstdlib>
#include <string>

namespace corvane {

// The hosts of the services outside this machine, in one place. Each can be replaced through
// its environment variable, so that tests and packagers point it elsewhere.
enum class OutsideService { PublicAddress };

inline std::string outsideServiceURL(OutsideService service) {
    struct Entry {
        const char* variable;
        const char* url;
    };
    static constexpr Entry kEntries[] = {
        // One line of text: the address the request came from.
        {"CORVANEBAR_PUBLIC_ADDRESS_URL", "https://api.ipify.org/"},
    };
    const Entry& entry = kEntries[static_cast<int>(service)];
    const char* override = std::getenv(entry.variable);
    return override && *override ? override : entry.url;
}

} // namespace corvane
