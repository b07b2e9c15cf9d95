#pragma once

#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/OutsideServices.h"
#include "foundation/Value.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

using SoupSession = struct _SoupSession;
using GTlsDatabase = struct _GTlsDatabase;

namespace corvane {

// The machine's address as the internet sees it, from a plain-text service: fetched when the
// network changes and at most every ten minutes otherwise, never while offline. The result is
// the view's `publicIPData`: {"address": text} (empty while unknown). Main queue only.
class PublicAddressFetcher {
public:
    static constexpr double kMinimumInterval = 600;
    static constexpr std::size_t kLongestAnswer = 256;

    struct Settings {
        std::string url = outsideServiceURL(OutsideService::PublicAddress);
        GTlsDatabase* tlsDatabase = nullptr; // nullptr: the system's trust store
    };

    PublicAddressFetcher(const Clock& clock, Settings settings,
                         std::function<void(const Value&)> changed);
    ~PublicAddressFetcher();
    PublicAddressFetcher(const PublicAddressFetcher&) = delete;
    PublicAddressFetcher& operator=(const PublicAddressFetcher&) = delete;

    // A new network, or none: fetch now when online; forget the address when not.
    void networkChanged(bool online);
    // Called now and then (the status cycle): fetch when the last one is ten minutes old.
    void refresh();

    const Value& publicIPData() const { return publicIPData_; }
    bool fetching() const { return request_ != nullptr; }

    // The dropdown's block of the address, and whether a comma-separated list of disabled
    // blocks ("Network_DropdownOrderDisabled") leaves it shown. Hidden, it is not fetched.
    static constexpr const char* kDropdownBlock = "public-ip";
    static bool shownWith(std::string_view disabledBlocks);

    // The address in a service's answer, or nullopt (with a log line) for anything else.
    static std::optional<std::string> addressFromAnswer(std::string_view answer);

private:
    struct Request;
    void fetch();
    void finished(Request& request, bool complete);

    const Clock& clock_;
    Settings settings_;
    std::function<void(const Value&)> changed_;
    GObjectRef<SoupSession> session_;
    bool online_ = false;
    double lastFetch_ = -1;
    Value publicIPData_ = Value::dict();
    Request* request_ = nullptr; // the one in flight; it owns itself until its callbacks end
};

} // namespace corvane
