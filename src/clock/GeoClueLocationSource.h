#pragma once

#include "clock/LocationStatCollector.h"
#include "foundation/GLibHandles.h"

#include <gio/gio.h>
#include <string>

namespace corvane {

// Positions from GeoClue2 on the system bus: a client of the desktop id
// "com.halvorn.corvanebar" at street accuracy with a 100-metre threshold, its LocationUpdated
// signal read into fixes. Refused access reads as denied (2), a missing service as restricted
// (1). Without a GeoClue agent (outside GNOME) GeoClue serves only the applications its
// /etc/geoclue/geoclue.conf lists.
class GeoClueLocationSource final : public LocationSource {
public:
    static constexpr const char* kService = "org.freedesktop.GeoClue2";
    static constexpr const char* kDesktopId = "com.halvorn.corvanebar";
    static constexpr unsigned kStreetAccuracy = 6;
    static constexpr unsigned kDistanceThreshold = 100;

    // `connection` null: the system bus.
    explicit GeoClueLocationSource(GDBusConnection* connection = nullptr);
    ~GeoClueLocationSource() override;

    void start() override;
    void stop() override;

private:
    bool ensureClient();
    void readLocation(const std::string& path);
    void failed(const GErrorHolder& error, const char* what);

    GObjectRef<GDBusConnection> bus_;
    std::string client_;
    ConnectionId updates_;
};

} // namespace corvane
