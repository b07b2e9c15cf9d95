#include "links/CVBDaemonConnection.h"

#include "foundation/GLibMainQueue.h"
#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "foundation/SysRoot.h"
#include "links/DaemonNames.h"
#include "links/ProcessInfo.h"
#include "preferences/CVBPreferences.h"

namespace corvane {

namespace {

constexpr double kReconnectDelay = 2.0;
constexpr double kExistenceInterval = 10.0;
constexpr double kFrozenCacheLifetime = 5.0;

GVariant* tupleOf(const Value& value) {
    GVariant* child = toGVariant(value);
    return g_variant_new_tuple(&child, 1);
}

Value firstOf(GVariant* reply) {
    VariantRef child(g_variant_get_child_value(reply, 0));
    return fromGVariant(child.get());
}

std::unique_ptr<CVBDaemonConnection>& sharedInstance() {
    static std::unique_ptr<CVBDaemonConnection> instance;
    return instance;
}

std::string liveFileIcon(const std::string& path) {
    GObjectRef<GFile> file = GObjectRef<GFile>::adopt(g_file_new_for_path(path.c_str()));
    GObjectRef<GFileInfo> info = GObjectRef<GFileInfo>::adopt(g_file_query_info(
        file.get(), G_FILE_ATTRIBUTE_STANDARD_ICON, G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    GIcon* icon = info ? g_file_info_get_icon(info.get()) : nullptr;
    return icon ? takeGString(g_icon_to_string(icon)) : std::string();
}

} // namespace

CVBDaemonConnection::CVBDaemonConnection(Environment environment)
    : environment_(std::move(environment)) {
    if (environment_.bus)
        watch_ = NameWatch(g_bus_watch_name_on_connection(
            environment_.bus, daemon::kBusName, G_BUS_NAME_WATCHER_FLAGS_NONE, nameAppeared,
            nameVanished, this, nullptr));
    reconnectTimer_ = environment_.queue.after(kReconnectDelay, [this] { connectIfNeeded(); });
}

CVBDaemonConnection::~CVBDaemonConnection() {
    *alive_ = false;
    environment_.queue.cancel(existenceTimer_);
    environment_.queue.cancel(reconnectTimer_);
}

CVBDaemonConnection& CVBDaemonConnection::sharedConnection() {
    auto& instance = sharedInstance();
    if (instance)
        return *instance;
    static GLibMainQueue queue;
    static GObjectRef<GDBusConnection> bus = [] {
        GErrorHolder error;
        auto connection = GObjectRef<GDBusConnection>::adopt(
            g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
        if (!connection)
            CVBLog("No system bus, so no daemon: %s", error.message());
        return connection;
    }();
    static const DesktopEntries entries(DesktopEntries::standardFolders());
    Environment environment{queue,
                            bus.get(),
                            NotificationCenter::defaultCenter(),
                            [](const std::string& key) { return CVBObjectForKey(key); },
                            [](long pid) -> std::optional<Value> {
                                const SysRoot root;
                                if (!root.exists("/proc/" + std::to_string(pid)))
                                    return std::nullopt;
                                return processInfo(root, entries, pid);
                            },
                            liveFileIcon};
    instance = std::make_unique<CVBDaemonConnection>(std::move(environment));
    return *instance;
}

void CVBDaemonConnection::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

BusTarget CVBDaemonConnection::target() const {
    return {connected_ ? environment_.bus : nullptr, daemon::kBusName, daemon::kObjectPath,
            daemon::kInterface};
}

void CVBDaemonConnection::connect() {
    if (!environment_.bus)
        return;
    auto received = [](GDBusConnection*, const char* sender, const char*, const char*, const char*,
                       GVariant* parameters, void* self) {
        static_cast<CVBDaemonConnection*>(self)->signalled(sender, parameters);
    };
    subscription_ = ConnectionId(
        environment_.bus,
        g_dbus_connection_signal_subscribe(environment_.bus, nullptr, daemon::kInterface,
                                           daemon::kResponseSignal, daemon::kObjectPath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, received, this, nullptr),
        ConnectionId::Kind::Subscription);
    connected_ = true;
    connected();
    // The daemon's name is its "ready": ask at once rather than at the next existence check.
    if (!owner_.empty())
        askExists();
}

void CVBDaemonConnection::connectIfNeeded() {
    if (!connected_)
        connect();
}

void CVBDaemonConnection::dropConnection() {
    subscription_.reset();
    connected_ = false;
}

void CVBDaemonConnection::lost() {
    dropConnection();
    disconnected();
    exists_ = false;
}

void CVBDaemonConnection::daemonAvailable() {
    dropConnection();
    environment_.queue.cancel(reconnectTimer_);
    reconnectTimer_ = environment_.queue.after(kReconnectDelay, [this] { connectIfNeeded(); });
}

void CVBDaemonConnection::nameAppeared(GDBusConnection*, const char*, const char* owner,
                                       void* self) {
    auto* connection = static_cast<CVBDaemonConnection*>(self);
    connection->owner_ = owner;
    // A watch first reports the name as it finds it; only a name that comes (back) after
    // being absent is the daemon announcing itself.
    if (connection->sawNameAbsent_)
        connection->daemonAvailable();
}

void CVBDaemonConnection::nameVanished(GDBusConnection*, const char*, void* self) {
    auto* connection = static_cast<CVBDaemonConnection*>(self);
    const bool wasThere = !connection->owner_.empty();
    connection->owner_.clear();
    connection->sawNameAbsent_ = true;
    if (wasThere)
        connection->lost();
}

void CVBDaemonConnection::checkForExistance() {
    environment_.queue.cancel(existenceTimer_);
    existenceTimer_ = environment_.queue.after(kExistenceInterval, [this] { checkForExistance(); });
    if (exists_)
        return;
    connectIfNeeded();
    askExists();
}

void CVBDaemonConnection::askExists() {
    ask("exists", nullptr, "(b)", [this](GVariant*) {
        environment_.queue.async([this, alive = std::weak_ptr<bool>(alive_)] {
            if (alive.expired())
                return;
            exists_ = true;
            if (!daemonFileExists_) {
                daemonFileExists_ = true;
                environment_.center.post(kStatusChanged);
            }
        });
    });
}

void CVBDaemonConnection::cleanup() {
    autoReconnect_ = false;
    dropConnection();
    listeners_.clear();
    watch_.reset();
    owner_.clear();
}

void CVBDaemonConnection::send(const std::string& method, GVariant* parameters) {
    connectIfNeeded();
    callBus(target(), method, parameters, nullptr, {}, {});
}

void CVBDaemonConnection::sendLater(std::string method, GVariant* parameters) {
    if (parameters)
        g_variant_ref_sink(parameters);
    environment_.queue.async(
        [this, alive = std::weak_ptr<bool>(alive_), method = std::move(method), parameters] {
            if (!alive.expired())
                send(method, parameters);
            if (parameters)
                g_variant_unref(parameters);
        });
}

void CVBDaemonConnection::ask(const std::string& method, GVariant* parameters,
                              const char* replyType, std::function<void(GVariant*)> reply) {
    connectIfNeeded();
    callBus(target(), method, parameters, replyType, alive_, std::move(reply));
}

void CVBDaemonConnection::askForValue(const std::string& method, GVariant* parameters,
                                      const char* replyType,
                                      std::function<void(const Value&)> reply) {
    ask(method, parameters, replyType,
        [reply = std::move(reply)](GVariant* answer) { reply(firstOf(answer)); });
}

void CVBDaemonConnection::smartTemps() {
    sendLater("smartTemps", nullptr);
}
void CVBDaemonConnection::startSMARTStatus() {
    sendLater("startSMARTStatus", nullptr);
}
void CVBDaemonConnection::stopSMARTStatus() {
    sendLater("stopSMARTStatus", nullptr);
}
void CVBDaemonConnection::startSMARTTemps() {
    sendLater("startSMARTTemps", nullptr);
}
void CVBDaemonConnection::stopSMARTTemps() {
    sendLater("stopSMARTTemps", nullptr);
}
void CVBDaemonConnection::toggleAirPortPower() {
    sendLater("toggleAirPortPower", nullptr);
}

void CVBDaemonConnection::refreshDHCP(const std::string& interfaceName) {
    sendLater("refreshDHCP", g_variant_new("(s)", interfaceName.c_str()));
}

void CVBDaemonConnection::setNetworkSet(const std::string& setIdentifier) {
    sendLater("setNetworkSet", g_variant_new("(s)", setIdentifier.c_str()));
}

void CVBDaemonConnection::setFanSet(const Value& fans) {
    sendLater("setFanSet", tupleOf(fans.isArray() ? fans : Value::array()));
}

void CVBDaemonConnection::setT2FanSet(const Value& set) {
    sendLater("setT2FanSet", tupleOf(set.isDictionary() ? set : Value::dict()));
}

void CVBDaemonConnection::setT2SafetyTemperature(double temperature) {
    send("setT2SafetyTemperature", g_variant_new("(d)", temperature));
}

void CVBDaemonConnection::setT2FanConfig(const Value& config,
                                         std::function<void(const Value&)> reply) {
    askForValue("setT2FanConfig", tupleOf(config.isDictionary() ? config : Value::dict()),
                "(a{sv})", std::move(reply));
}

void CVBDaemonConnection::stopT2Fans(std::function<void(const Value&)> reply) {
    askForValue("stopT2Fans", nullptr, "(a{sv})", std::move(reply));
}

void CVBDaemonConnection::startT2Fans(std::function<void(const Value&)> reply) {
    askForValue("startT2Fans", nullptr, "(a{sv})", std::move(reply));
}

void CVBDaemonConnection::version(std::function<void(double, long long)> reply) {
    ask("version", nullptr, "(dx)", [reply = std::move(reply)](GVariant* answer) {
        double number = 0;
        gint64 build = 0;
        g_variant_get(answer, "(dx)", &number, &build);
        reply(number, static_cast<long long>(build));
    });
}

void CVBDaemonConnection::fps(std::function<void(double)> reply) {
    ask("fps", nullptr, "(d)", [reply = std::move(reply)](GVariant* answer) {
        double value = 0;
        g_variant_get(answer, "(d)", &value);
        reply(value);
    });
}

void CVBDaemonConnection::infoForPids(const std::vector<long>& pids,
                                      std::function<void(const Value&)> reply) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("ax"));
    for (const long pid : pids)
        g_variant_builder_add(&builder, "x", static_cast<gint64>(pid));
    askForValue("infoForPids", g_variant_new("(ax)", &builder), "(av)", std::move(reply));
}

void CVBDaemonConnection::sensors(const Value& keys, std::function<void(const Value&)> reply) {
    askForValue("sensors", tupleOf(keys.isArray() ? keys : Value::array()), "(av)",
                std::move(reply));
}

void CVBDaemonConnection::armSensors(const Value& rows, std::function<void(const Value&)> reply) {
    askForValue("armSensors", tupleOf(rows.isArray() ? rows : Value::array()), "(av)",
                std::move(reply));
}

void CVBDaemonConnection::supportedSensors(const Value& rows,
                                           std::function<void(const Value&)> reply) {
    askForValue("supportedSensors", tupleOf(rows.isArray() ? rows : Value::array()), "(a{sv})",
                std::move(reply));
}

void CVBDaemonConnection::supportedFans(const Value& rows,
                                        std::function<void(const Value&)> reply) {
    askForValue("supportedFans", tupleOf(rows.isArray() ? rows : Value::array()), "(av)",
                std::move(reply));
}

void CVBDaemonConnection::machineSerial(std::function<void(const std::string&)> reply) {
    ask("machineSerial", nullptr, "(s)", [reply = std::move(reply)](GVariant* answer) {
        const char* serial = nullptr;
        g_variant_get(answer, "(&s)", &serial);
        reply(serial);
    });
}

long CVBDaemonConnection::intervalForTimerFrequency(std::int64_t frequency) {
    switch (frequency) {
    case 0:
        return 6;
    case 1:
        return 3;
    case 2:
        return 2;
    default:
        return 1;
    }
}

void CVBDaemonConnection::startProcessesWithKey(long key) {
    environment_.queue.async([this, key, alive = std::weak_ptr<bool>(alive_)] {
        if (alive.expired())
            return;
        clearLsInfoCache();
        clearIconCache();
        if (key == daemon::kProcessesByCPU)
            cpuStartTime_ = environment_.queue.clock().now();
        connectIfNeeded();
        send(environment_.preference("ProcessesCombine").boolValue() ? "enableHierachy"
                                                                     : "disableHierachy",
             nullptr);
        const long interval =
            intervalForTimerFrequency(environment_.preference("TimerFrequency").integerValue());
        send("startRequestWithKey",
             g_variant_new("(xx)", static_cast<gint64>(key), static_cast<gint64>(interval)));
    });
}

void CVBDaemonConnection::stopProcessesWithKey(long key) {
    environment_.queue.async([this, key, alive = std::weak_ptr<bool>(alive_)] {
        if (alive.expired())
            return;
        clearLsInfoCache();
        clearIconCache();
        send("stopRequestWithKey", g_variant_new("(x)", static_cast<gint64>(key)));
    });
}

void CVBDaemonConnection::signalled(const char* sender, GVariant* parameters) {
    // Answers are sent to this process alone, but anyone may send a signal: only the
    // daemon's own are taken.
    if (owner_.empty() || g_strcmp0(sender, owner_.c_str()) != 0 ||
        !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(a{sv})")))
        return;
    environment_.queue.async(
        [this, alive = std::weak_ptr<bool>(alive_), response = firstOf(parameters)] {
            if (!alive.expired())
                daemonResponse(response);
        });
}

void CVBDaemonConnection::daemonResponse(const Value& response) {
    const std::string type = response["type"].stringValue();
    storage_[type] = response;
    const auto found = listeners_.find(type);
    if (found == listeners_.end())
        return;
    // A listener may add others while being told; those hear the next answer.
    const auto listeners = found->second;
    for (auto* listener : listeners)
        listener->processesUpdated(response);
}

const Value& CVBDaemonConnection::storageForKey(long key) const {
    static const Value none;
    const auto found = storage_.find(std::to_string(key));
    return found == storage_.end() ? none : found->second;
}

void CVBDaemonConnection::addListener(CVBDaemonListener* listener, long key) {
    if (listener)
        listeners_[std::to_string(key)].push_back(listener);
}

void CVBDaemonConnection::checkFrozenCache() {
    const double now = environment_.queue.clock().now();
    if (now - frozenCacheTime_ > kFrozenCacheLifetime) {
        clearFrozenCache();
        frozenCacheTime_ = now;
    }
}

bool CVBDaemonConnection::isProcessFrozen(int pid) const {
    // Linux has no notion of an unresponsive application; only what was stored is known.
    const auto found = frozenCache_.find(std::to_string(pid));
    return found != frozenCache_.end() && found->second;
}

Value CVBDaemonConnection::lsInforForPid(long pid) {
    const std::string key = std::to_string(pid);
    if (const auto found = lsInfoCache_.find(key); found != lsInfoCache_.end())
        return found->second;
    if (!environment_.applicationInformation)
        return Value::dict();
    const auto information = environment_.applicationInformation(pid);
    if (!information)
        return Value::dict();
    // A failure is remembered as an empty dictionary, so that it is not asked again.
    Value info = information->isDictionary() ? *information : Value::dict();
    lsInfoCache_[key] = info;
    return info;
}

std::string CVBDaemonConnection::iconForFile(const std::string& path) {
    if (const auto found = iconCache_.find(path); found != iconCache_.end())
        return found->second;
    std::string icon = environment_.fileIcon ? environment_.fileIcon(path) : std::string();
    iconCache_[path] = icon;
    return icon;
}

} // namespace corvane
