#pragma once

#include "foundation/GLibHandles.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

using SoupSession = struct _SoupSession;
using GTlsDatabase = struct _GTlsDatabase;

namespace corvane {

// A session for the outside services: a 30-second time-out, and `trust` (nullptr: the system's
// store) for the certificates.
GObjectRef<SoupSession> makeWebSession(GTlsDatabase* trust, unsigned timeoutSeconds = 30);

// One GET in flight. `done` gets the whole answer of a 200, or nullopt and why not (the error,
// the status, or an answer longer than `limit`), on the GLib context. Cancelling, or letting
// the handle go, means `done` is never called.
class WebRequest {
public:
    using Done = std::function<void(std::optional<std::string> answer, std::string failure)>;
    struct Options {
        std::size_t limit = 1 << 20;
        bool noCache = false; // "Cache-Control: no-cache"
    };

    WebRequest() = default;
    WebRequest(SoupSession* session, const std::string& url, Options options, Done done);
    ~WebRequest() { cancel(); }
    WebRequest(WebRequest&& other) noexcept;
    WebRequest& operator=(WebRequest&& other) noexcept;
    WebRequest(const WebRequest&) = delete;
    WebRequest& operator=(const WebRequest&) = delete;

    void cancel();
    bool active() const;

private:
    struct Flight;
    Flight* flight_ = nullptr; // owns itself until its last callback
};

} // namespace corvane
