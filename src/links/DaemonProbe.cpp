#include "links/DaemonProbe.h"

#include "foundation/GVariantValue.h"
#include "links/DaemonNames.h"

#include <sstream>

namespace corvane {

std::optional<DaemonVersion> probeDaemon(GDBusConnection* bus, int timeoutMilliseconds) {
    if (!bus)
        return std::nullopt;
    VariantRef reply(g_dbus_connection_call_sync(
        bus, daemon::kBusName, daemon::kObjectPath, daemon::kInterface, "version", nullptr,
        G_VARIANT_TYPE("(dx)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, timeoutMilliseconds, nullptr,
        nullptr));
    if (!reply)
        return std::nullopt;
    DaemonVersion version;
    gint64 build = 0;
    g_variant_get(reply.get(), "(dx)", &version.version, &build);
    version.build = build;
    return version;
}

namespace {

VariantRef askDaemon(GDBusConnection* bus, const char* method, GVariant* parameters,
                     const char* replyType, int timeoutMilliseconds) {
    if (!bus) {
        if (parameters)
            g_variant_unref(g_variant_ref_sink(parameters));
        return VariantRef();
    }
    return VariantRef(g_dbus_connection_call_sync(
        bus, daemon::kBusName, daemon::kObjectPath, daemon::kInterface, method, parameters,
        G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, timeoutMilliseconds, nullptr, nullptr));
}

} // namespace

std::optional<Value> daemonKeyReadings(GDBusConnection* bus, const std::vector<std::string>& keys,
                                       int timeoutMilliseconds) {
    Value request = Value::array();
    for (const auto& key : keys)
        request.append(Value(key));
    GVariant* argument = toGVariant(request);
    const VariantRef reply =
        askDaemon(bus, "sensors", g_variant_new_tuple(&argument, 1), "(av)", timeoutMilliseconds);
    if (!reply)
        return std::nullopt;
    const VariantRef readings(g_variant_get_child_value(reply.get(), 0));
    return fromGVariant(readings.get());
}

std::optional<Value> daemonArmSensors(GDBusConnection* bus, const Value& rows,
                                      int timeoutMilliseconds) {
    GVariant* argument = toGVariant(rows.isArray() ? rows : Value::array());
    const VariantRef reply = askDaemon(bus, "armSensors", g_variant_new_tuple(&argument, 1), "(av)",
                                       timeoutMilliseconds);
    if (!reply)
        return std::nullopt;
    const VariantRef rowsAnswered(g_variant_get_child_value(reply.get(), 0));
    return fromGVariant(rowsAnswered.get());
}

std::optional<std::string> daemonMachineSerial(GDBusConnection* bus, int timeoutMilliseconds) {
    const VariantRef reply = askDaemon(bus, "machineSerial", nullptr, "(s)", timeoutMilliseconds);
    if (!reply)
        return std::nullopt;
    const char* serial = nullptr;
    g_variant_get(reply.get(), "(&s)", &serial);
    return std::string(serial);
}

std::string daemonStatusLine(const std::optional<DaemonVersion>& version,
                             const std::string& busLabel) {
    if (!version)
        return "not running: no answer on the " + busLabel + " bus";
    std::ostringstream line;
    line << "running, version " << version->version << " " << version->build;
    return line.str();
}

} // namespace corvane
