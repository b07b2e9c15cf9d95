#include "support/FakeDBusService.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <future>
#include <gio/gio.h>

namespace corvane::test {

struct FakeDBusService::Object {
    std::string path;
    GDBusNodeInfo* info = nullptr;
    ~Object() {
        if (info)
            g_dbus_node_info_unref(info);
    }
};

struct FakeDBusService::Held {
    Call call;
    GDBusMethodInvocation* invocation;
};

namespace {

std::string printed(GVariant* value) {
    if (!value)
        return "()";
    gchar* text = g_variant_print(value, TRUE);
    std::string result = text;
    g_free(text);
    return result;
}

GVariant* owned(GVariant* value) {
    return value ? g_variant_ref_sink(value) : nullptr;
}

const GDBusMethodInfo* findMethod(GDBusNodeInfo* info, const char* interface, const char* name) {
    GDBusInterfaceInfo* found = g_dbus_node_info_lookup_interface(info, interface);
    return found ? g_dbus_interface_info_lookup_method(found, name) : nullptr;
}

} // namespace

FakeDBusService::Reply FakeDBusService::Reply::failure(std::string errorName, std::string message) {
    Reply reply;
    reply.errorName = std::move(errorName);
    reply.errorMessage = std::move(message);
    return reply;
}

FakeDBusService::FakeDBusService(std::string busName, std::string objectPath,
                                 std::string introspectionXml)
    : busName_(std::move(busName)) {
    addObject(std::move(objectPath), std::move(introspectionXml));
}

FakeDBusService::~FakeDBusService() {
    stop();
    for (auto& [interface, values] : properties_)
        for (auto& [name, value] : values)
            g_variant_unref(value);
}

void FakeDBusService::addObject(std::string objectPath, std::string introspectionXml) {
    auto object = std::make_unique<Object>();
    object->path = std::move(objectPath);
    GError* error = nullptr;
    object->info = g_dbus_node_info_new_for_xml(introspectionXml.c_str(), &error);
    if (!object->info) {
        std::fprintf(stderr, "fake service %s: bad XML: %s\n", busName_.c_str(), error->message);
        g_error_free(error);
        return;
    }
    objects_.push_back(std::move(object));
}

void FakeDBusService::onMethod(const std::string& method, Handler handler) {
    std::lock_guard lock(mutex_);
    handlers_[method] = std::move(handler);
}

void FakeDBusService::setProperty(const std::string& interface, const std::string& name,
                                  GVariant* value) {
    value = owned(value);
    {
        std::lock_guard lock(mutex_);
        GVariant*& slot = properties_[interface][name];
        if (slot)
            g_variant_unref(slot);
        slot = g_variant_ref(value); // the slot's; ours goes once the change is announced
    }
    for (const auto& object : objects_) {
        if (!running())
            break;
        if (!g_dbus_node_info_lookup_interface(object->info, interface.c_str()))
            continue;
        GVariantBuilder changed;
        g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&changed, "{sv}", name.c_str(), value);
        g_dbus_connection_emit_signal(
            connection_, nullptr, object->path.c_str(), "org.freedesktop.DBus.Properties",
            "PropertiesChanged", g_variant_new("(sa{sv}as)", interface.c_str(), &changed, nullptr),
            nullptr);
    }
    g_variant_unref(value);
}

bool FakeDBusService::start() {
    if (running())
        return true;
    gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!address)
        return false;
    std::promise<bool> ready;
    std::future<bool> started = ready.get_future();
    stopping_ = false;
    thread_ = std::thread(
        [this, a = std::string(address), r = std::move(ready)]() mutable { serve(a, r); });
    g_free(address);
    if (started.get())
        return true;
    thread_.join();
    g_main_context_unref(context_);
    context_ = nullptr;
    return false;
}

void FakeDBusService::serve(const std::string& address, std::promise<bool>& ready) {
    context_ = g_main_context_new();
    g_main_context_push_thread_default(context_);
    connection_ = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    if (connection_ && publish()) {
        g_dbus_connection_set_exit_on_close(connection_, FALSE);
        uniqueName_ = g_dbus_connection_get_unique_name(connection_);
        loop_ = g_main_loop_new(context_, FALSE);
        ready.set_value(true);
        g_main_loop_run(loop_);
        stopping_ = true;
        answerHeld();
        g_dbus_connection_close_sync(connection_, nullptr, nullptr);
    } else {
        ready.set_value(false);
    }
    g_clear_object(&connection_);
    g_main_context_pop_thread_default(context_);
}

bool FakeDBusService::publish() {
    static const GDBusInterfaceVTable vtable{methodCall, nullptr, nullptr, {}};
    for (const auto& object : objects_)
        for (GDBusInterfaceInfo** i = object->info->interfaces; *i; ++i)
            if (!g_dbus_connection_register_object(connection_, object->path.c_str(), *i, &vtable,
                                                   this, nullptr, nullptr))
                return false;
    // Allow and ask for replacement: a restarted fake takes the name from one whose
    // disconnection the bus has not handled yet.
    constexpr guint32 kFlags = 1 | 2 | 4;
    GVariant* reply = g_dbus_connection_call_sync(
        connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", busName_.c_str(), kFlags), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    guint32 result = 0;
    if (reply) {
        g_variant_get(reply, "(u)", &result);
        g_variant_unref(reply);
    }
    return result == 1;
}

bool FakeDBusService::running() const {
    return loop_ != nullptr;
}

std::string FakeDBusService::uniqueName() const {
    return uniqueName_;
}

void FakeDBusService::stop() {
    if (!thread_.joinable())
        return;
    if (loop_)
        // Through the context, so that a stop right after start is not lost.
        invoke([loop = loop_] { g_main_loop_quit(loop); });
    thread_.join();
    if (loop_)
        g_main_loop_unref(loop_);
    loop_ = nullptr;
    g_main_context_unref(context_);
    context_ = nullptr;
}

void FakeDBusService::invoke(std::function<void()> task) const {
    auto* heap = new std::function<void()>(std::move(task));
    g_main_context_invoke_full(
        context_, G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            (*static_cast<std::function<void()>*>(data))();
            return G_SOURCE_REMOVE;
        },
        heap, [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

void FakeDBusService::emitSignal(const std::string& interface, const std::string& name,
                                 GVariant* parameters) const {
    g_dbus_connection_emit_signal(connection_, nullptr, objects_.front()->path.c_str(),
                                  interface.c_str(), name.c_str(), parameters, nullptr);
}

void FakeDBusService::setHung(bool hung) {
    {
        std::lock_guard lock(mutex_);
        hung_ = hung;
    }
    if (!hung && running())
        invoke([this] { answerHeld(); });
}

int FakeDBusService::calls(const std::string& method) const {
    std::lock_guard lock(mutex_);
    const auto found = calls_.find(method);
    return found == calls_.end() ? 0 : static_cast<int>(found->second.size());
}

std::vector<std::string> FakeDBusService::arguments(const std::string& method) const {
    std::lock_guard lock(mutex_);
    const auto found = calls_.find(method);
    return found == calls_.end() ? std::vector<std::string>{} : found->second;
}

void FakeDBusService::methodCall(GDBusConnection*, const char* sender, const char* path,
                                 const char* interface, const char* method, GVariant* parameters,
                                 GDBusMethodInvocation* invocation, void* self) {
    auto& fake = *static_cast<FakeDBusService*>(self);
    const Call call{path, interface, method, sender ? sender : "", parameters};
    {
        std::lock_guard lock(fake.mutex_);
        fake.calls_[method].push_back(printed(parameters));
        if (fake.hung_) {
            g_variant_ref(parameters);
            fake.held_.push_back({call, invocation});
            return;
        }
    }
    fake.answer(call, invocation);
}

FakeDBusService::Reply FakeDBusService::properties(const Call& call) {
    std::lock_guard lock(mutex_);
    const gchar* interface = nullptr;
    g_variant_get_child(call.parameters, 0, "&s", &interface);
    const auto& values = properties_[interface];
    if (call.method == "GetAll") {
        GVariantBuilder all;
        g_variant_builder_init(&all, G_VARIANT_TYPE("a{sv}"));
        for (const auto& [name, value] : values)
            g_variant_builder_add(&all, "{sv}", name.c_str(), value);
        return g_variant_new("(a{sv})", &all);
    }
    const gchar* name = nullptr;
    g_variant_get_child(call.parameters, 1, "&s", &name);
    const auto found = values.find(name);
    if (call.method != "Get" || found == values.end())
        return Reply::failure("org.freedesktop.DBus.Error.InvalidArgs", "no such property");
    return g_variant_new("(v)", found->second);
}

void FakeDBusService::answer(const Call& call, GDBusMethodInvocation* invocation) {
    Handler handler;
    {
        std::lock_guard lock(mutex_);
        if (const auto found = handlers_.find(call.method); found != handlers_.end())
            handler = found->second;
    }
    Reply reply;
    if (handler) {
        // A "GetAll" handler stands in for the property map where objects differ.
        reply = handler(call);
    } else if (call.interface == "org.freedesktop.DBus.Properties") {
        reply = properties(call);
    } else {
        const GDBusMethodInfo* info = nullptr;
        for (const auto& object : objects_)
            if (object->path == call.path && !info)
                info = findMethod(object->info, call.interface.c_str(), call.method.c_str());
        if (info && info->out_args && info->out_args[0])
            reply = Reply::failure("org.freedesktop.DBus.Error.NotSupported", "not scripted");
    }
    if (!reply.errorName.empty())
        g_dbus_method_invocation_return_dbus_error(invocation, reply.errorName.c_str(),
                                                   reply.errorMessage.c_str());
    else
        g_dbus_method_invocation_return_value(invocation, reply.value);
}

void FakeDBusService::answerHeld() {
    std::vector<Held> held;
    {
        std::lock_guard lock(mutex_);
        held.swap(held_);
    }
    for (auto& h : held) {
        if (!stopping_)
            answer(h.call, h.invocation);
        else
            g_dbus_method_invocation_return_dbus_error(
                h.invocation, "org.freedesktop.DBus.Error.NoReply", "the fake service stopped");
        g_variant_unref(h.call.parameters);
    }
}

} // namespace corvane::test
