#include "links/DaemonService.h"

#include "corvane/BuildInfo.h"
#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "links/DaemonNames.h"

namespace corvane {

namespace {

struct NodeInfoRelease {
    void operator()(GDBusNodeInfo* info) const { g_dbus_node_info_unref(info); }
};

GDBusNodeInfo* nodeInfo() {
    // Parsed once: the text is the program's own, and the filter reads it from the bus thread.
    static const std::unique_ptr<GDBusNodeInfo, NodeInfoRelease> info(
        g_dbus_node_info_new_for_xml(daemon::introspectionXml(), nullptr));
    return info.get();
}

// The signature the interface declares for a method's arguments; nullptr for an unknown one.
std::string expectedSignature(const GDBusMethodInfo* method) {
    std::string signature;
    for (GDBusArgInfo** arg = method->in_args; arg && *arg; ++arg)
        signature += (*arg)->signature;
    return signature;
}

bool isOneOf(std::string_view method, std::initializer_list<std::string_view> names) {
    for (const auto name : names)
        if (method == name)
            return true;
    return false;
}

Value argumentOf(GVariant* parameters) {
    if (g_variant_n_children(parameters) == 0)
        return {};
    VariantRef child(g_variant_get_child_value(parameters, 0));
    return fromGVariant(child.get());
}

GVariant* tupleOf(const Value& value) {
    GVariant* child = toGVariant(value);
    return g_variant_new_tuple(&child, 1);
}

} // namespace

struct DaemonService::Call {
    std::string sender;
    std::string method;
    GVariant* parameters;
    GDBusMethodInvocation* invocation;

    void reply(GVariant* value = nullptr) const {
        g_dbus_method_invocation_return_value(invocation, value);
    }
    void fail(const char* error, const std::string& message) const {
        CVBLog("Daemon: %s from %s: %s", method.c_str(), sender.c_str(), message.c_str());
        g_dbus_method_invocation_return_dbus_error(invocation, error, message.c_str());
    }
};

Value LoggedPrivilegedActions::perform(const std::string& message, const Value& argument) {
    CVBLog("Daemon: %s %s accepted; this build does not change fans yet", message.c_str(),
           argument.description().c_str());
    return Value::dict();
}

bool withinMemberLimit(GVariant* variant, unsigned long limit) {
    unsigned long seen = 0;
    std::vector<GVariant*> pending{g_variant_ref(variant)};
    bool within = true;
    while (!pending.empty()) {
        GVariant* next = pending.back();
        pending.pop_back();
        if (within && g_variant_is_container(next)) {
            const gsize count = g_variant_n_children(next);
            seen += count;
            within = seen <= limit;
            // Byte strings are one value to us, however long.
            const bool bytes = g_variant_is_of_type(next, G_VARIANT_TYPE_BYTESTRING);
            for (gsize i = 0; within && !bytes && i < count; ++i)
                pending.push_back(g_variant_get_child_value(next, i));
            if (bytes)
                seen -= count;
        }
        g_variant_unref(next);
    }
    return within;
}

DaemonService::DaemonService(GDBusConnection* connection, Parts parts)
    : connection_(GObjectRef<GDBusConnection>::share(connection))
    , parts_(std::move(parts))
    , authority_(connection)
    , requests_(
          parts_.queue, parts_.root, parts_.entries,
          [this](const std::string& client, const Value& response) { send(client, response); }) {}

DaemonService::~DaemonService() {
    *alive_ = false;
    if (filter_)
        g_dbus_connection_remove_filter(connection_.get(), filter_);
}

bool DaemonService::publish() {
    static const GDBusInterfaceVTable vtable{methodCall, nullptr, nullptr, {}};
    GErrorHolder error;
    const guint id = g_dbus_connection_register_object(connection_.get(), daemon::kObjectPath,
                                                       nodeInfo()->interfaces[0], &vtable, this,
                                                       nullptr, error.out());
    if (!id) {
        CVBLog("Daemon: could not offer its object: %s", error.message());
        return false;
    }
    registration_ = ConnectionId(connection_.get(), id, ConnectionId::Kind::Object);
    filter_ = g_dbus_connection_add_filter(connection_.get(), filter, nullptr, nullptr);
    constexpr guint32 kDoNotQueue = 4;
    VariantRef reply(g_dbus_connection_call_sync(
        connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", daemon::kBusName, kDoNotQueue), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, error.out()));
    guint32 result = 0;
    if (reply)
        g_variant_get(reply.get(), "(u)", &result);
    constexpr guint32 kPrimaryOwner = 1, kAlreadyOwner = 4;
    if (result != kPrimaryOwner && result != kAlreadyOwner) {
        CVBLog("Daemon: could not take the name %s: %s", daemon::kBusName,
               reply ? "another process has it" : error.message());
        return false;
    }
    return true;
}

// GDBus turns away a call whose arguments do not match the interface before any handler
// sees it; this is where such a call gets its log line.
GDBusMessage* DaemonService::filter(GDBusConnection*, GDBusMessage* message, gboolean incoming,
                                    void*) {
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
        g_strcmp0(g_dbus_message_get_path(message), daemon::kObjectPath) != 0 ||
        g_strcmp0(g_dbus_message_get_interface(message), daemon::kInterface) != 0)
        return message;
    const char* name = g_dbus_message_get_member(message);
    const GDBusMethodInfo* method =
        g_dbus_interface_info_lookup_method(nodeInfo()->interfaces[0], name);
    const char* signature = g_dbus_message_get_signature(message);
    if (method && expectedSignature(method) != (signature ? signature : ""))
        CVBLog("Daemon: %s from %s has arguments (%s), not (%s); refused", name,
               g_dbus_message_get_sender(message), signature ? signature : "",
               expectedSignature(method).c_str());
    return message;
}

void DaemonService::methodCall(GDBusConnection*, const char* sender, const char*, const char*,
                               const char* method, GVariant* parameters,
                               GDBusMethodInvocation* invocation, void* self) {
    static_cast<DaemonService*>(self)->dispatch(
        Call{sender ? sender : "", method, parameters, invocation});
}

void DaemonService::dispatch(const Call& call) {
    if (!withinMemberLimit(call.parameters, daemon::kMaximumMembers))
        return call.fail(daemon::kErrorInvalidArguments,
                         "more than " + std::to_string(daemon::kMaximumMembers) +
                             " members; refused");
    if (answerQuery(call) || answerSensors(call) || answerRequest(call))
        return;
    if (isOneOf(call.method, {"setFanSet", "setT2FanConfig", "setT2FanSet", "stopT2Fans",
                              "startT2Fans", "finalizeT2Fans", "setT2SafetyTemperature"}))
        return answerPrivileged(call, daemon::kActionFans);
    if (isOneOf(call.method, {"refreshDHCP", "toggleAirPortPower", "setNetworkSet"}))
        return answerPrivileged(call, daemon::kActionNetwork);
    call.fail("org.freedesktop.DBus.Error.UnknownMethod", "no such message");
}

bool DaemonService::answerQuery(const Call& call) {
    if (call.method == "version")
        call.reply(
            g_variant_new("(dx)", build::kVersion, static_cast<gint64>(build::kBuildNumber)));
    else if (call.method == "fps")
        call.reply(g_variant_new("(d)", 0.0));
    else if (call.method == "exists")
        call.reply(g_variant_new("(b)", TRUE));
    else if (call.method == "machineSerial")
        call.reply(g_variant_new("(s)", parts_.hardware.serialNumber().c_str()));
    else if (call.method == "infoForPids") {
        const Value pids = argumentOf(call.parameters);
        Value info = Value::array();
        for (const auto& pid : pids.arrayItems())
            info.append(pid.integerValue() > 0 ? processInfo(parts_.root, parts_.entries,
                                                             static_cast<long>(pid.integerValue()))
                                               : Value::dict());
        call.reply(tupleOf(info));
    } else
        return false;
    return true;
}

bool DaemonService::answerSensors(const Call& call) {
    const Value argument = argumentOf(call.parameters);
    Value answer;
    if (call.method == "sensors")
        answer = parts_.hardware.sensors(argument);
    else if (call.method == "armSensors")
        answer = parts_.hardware.armSensors(argument);
    else if (call.method == "supportedFans")
        answer = parts_.hardware.supportedFans(argument);
    else if (call.method == "supportedSensors")
        answer = parts_.hardware.supportedSensors(argument);
    else
        return false;
    const bool dictionary = call.method == "supportedSensors";
    if (dictionary ? !answer.isDictionary() : !answer.isArray())
        answer = dictionary ? Value::dict() : Value::array();
    call.reply(tupleOf(answer));
    return true;
}

bool DaemonService::answerRequest(const Call& call) {
    if (call.method == "startRequestWithKey") {
        gint64 key = 0, interval = 0;
        g_variant_get(call.parameters, "(xx)", &key, &interval);
        if (interval <= 0)
            CVBLog("Daemon: %s asked for key %lld every %lld s; sampling every second",
                   call.sender.c_str(), static_cast<long long>(key),
                   static_cast<long long>(interval));
        watchClient(call.sender);
        requests_.start(call.sender, static_cast<long>(key), static_cast<long>(interval));
    } else if (call.method == "stopRequestWithKey") {
        gint64 key = 0;
        g_variant_get(call.parameters, "(x)", &key);
        requests_.stop(call.sender, static_cast<long>(key));
    } else if (call.method == "enableHierachy" || call.method == "disableHierachy") {
        requests_.setCombined(call.sender, call.method == "enableHierachy");
    } else if (isOneOf(call.method, {"smartTemps", "startSMARTStatus", "stopSMARTStatus",
                                     "startSMARTTemps", "stopSMARTTemps"})) {
        CVBLog("Daemon: %s from %s taken; drive health is not read by this build",
               call.method.c_str(), call.sender.c_str());
    } else {
        return false;
    }
    call.reply();
    return true;
}

void DaemonService::answerPrivileged(const Call& call, const char* action) {
    auto invocation = GObjectRef<GDBusMethodInvocation>::share(call.invocation);
    const Value argument = argumentOf(call.parameters);
    const bool hasResult =
        isOneOf(call.method, {"setT2FanConfig", "stopT2Fans", "startT2Fans", "finalizeT2Fans"});
    std::weak_ptr<bool> alive = alive_;
    auto done = [this, alive,
                 invocation = std::make_shared<decltype(invocation)>(std::move(invocation)),
                 call = Call{call.sender, call.method, nullptr, nullptr}, argument, hasResult,
                 action](bool allowed) {
        // The caller may have left meanwhile; its answer then goes nowhere, harmlessly.
        Call answer = call;
        answer.invocation = invocation->get();
        if (alive.expired())
            return answer.fail("org.freedesktop.DBus.Error.Failed", "the daemon is stopping");
        if (!allowed)
            return answer.fail(daemon::kErrorNotAuthorized,
                               std::string("not authorized for ") + action);
        Value result = parts_.actions.perform(call.method, argument);
        if (!result.isDictionary())
            result = Value::dict();
        answer.reply(hasResult ? tupleOf(result) : nullptr);
    };
    authority_.check(call.sender, action, std::move(done));
}

void DaemonService::send(const std::string& client, const Value& response) {
    GErrorHolder error;
    if (!g_dbus_connection_emit_signal(connection_.get(), client.c_str(), daemon::kObjectPath,
                                       daemon::kInterface, daemon::kResponseSignal,
                                       tupleOf(response), error.out()))
        CVBLog("Daemon: could not answer %s: %s", client.c_str(), error.message());
}

void DaemonService::watchClient(const std::string& client) {
    if (clients_.contains(client))
        return;
    auto vanished = [](GDBusConnection*, const char* name, void* self) {
        static_cast<DaemonService*>(self)->clientLeft(name);
    };
    clients_.emplace(client, NameWatch(g_bus_watch_name_on_connection(
                                 connection_.get(), client.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE,
                                 nullptr, vanished, this, nullptr)));
}

void DaemonService::clientLeft(const std::string& client) {
    if (requests_.hasRequests(client))
        CVBLog("Daemon: %s left; its requests are stopped", client.c_str());
    requests_.stopClient(client);
    clients_.erase(client);
}

} // namespace corvane
