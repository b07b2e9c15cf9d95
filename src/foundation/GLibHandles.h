#pragma once

#include <functional>
#include <gio/gio.h>
#include <string>
#include <utility>

namespace corvane {

// Small owners of GLib resources, so that every early return and every destructor lets go of
// them in the right order.

// One reference to a GObject.
template <typename T>
class GObjectRef {
public:
    GObjectRef() = default;
    // Takes over a reference the caller owns (a *_new or *_sync result).
    static GObjectRef adopt(T* object) { return GObjectRef(object); }
    // Adds a reference of its own.
    static GObjectRef share(T* object) {
        return GObjectRef(object ? static_cast<T*>(g_object_ref(object)) : nullptr);
    }
    ~GObjectRef() { reset(); }
    GObjectRef(GObjectRef&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}
    GObjectRef& operator=(GObjectRef&& other) noexcept {
        if (this != &other) {
            reset();
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }
    GObjectRef(const GObjectRef&) = delete;
    GObjectRef& operator=(const GObjectRef&) = delete;

    T* get() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    void reset() {
        if (object_)
            g_object_unref(std::exchange(object_, nullptr));
    }

private:
    explicit GObjectRef(T* object)
        : object_(object) {}
    T* object_ = nullptr;
};

// One reference to a GVariant: takes over the caller's reference, or sinks a floating one.
class VariantRef {
public:
    VariantRef() = default;
    explicit VariantRef(GVariant* variant)
        : variant_(variant ? g_variant_take_ref(variant) : nullptr) {}
    ~VariantRef() {
        if (variant_)
            g_variant_unref(variant_);
    }
    VariantRef(VariantRef&& other) noexcept
        : variant_(std::exchange(other.variant_, nullptr)) {}
    VariantRef& operator=(VariantRef&& other) noexcept {
        std::swap(variant_, other.variant_);
        return *this;
    }
    VariantRef(const VariantRef&) = delete;
    VariantRef& operator=(const VariantRef&) = delete;

    GVariant* get() const { return variant_; }
    explicit operator bool() const { return variant_ != nullptr; }

private:
    GVariant* variant_ = nullptr;
};

// The error of one GLib call.
class GErrorHolder {
public:
    GErrorHolder() = default;
    ~GErrorHolder() { g_clear_error(&error_); }
    GErrorHolder(const GErrorHolder&) = delete;
    GErrorHolder& operator=(const GErrorHolder&) = delete;

    GError** out() {
        g_clear_error(&error_);
        return &error_;
    }
    const char* message() const { return error_ ? error_->message : "unknown error"; }
    bool matches(GQuark domain, int code) const { return g_error_matches(error_, domain, code); }

private:
    GError* error_ = nullptr;
};

// A numeric id handed out by GIO (name ownership, name watch) and released by one function.
template <void (*Release)(guint)>
class BusId {
public:
    BusId() = default;
    explicit BusId(guint id)
        : id_(id) {}
    ~BusId() { reset(); }
    BusId(BusId&& other) noexcept
        : id_(std::exchange(other.id_, 0)) {}
    BusId& operator=(BusId&& other) noexcept {
        if (this != &other) {
            reset();
            id_ = std::exchange(other.id_, 0);
        }
        return *this;
    }
    BusId(const BusId&) = delete;
    BusId& operator=(const BusId&) = delete;

    explicit operator bool() const { return id_ != 0; }
    void reset() {
        if (id_)
            Release(std::exchange(id_, 0));
    }

private:
    guint id_ = 0;
};

using NameOwnership = BusId<g_bus_unown_name>;
using NameWatch = BusId<g_bus_unwatch_name>;

// An id that belongs to a connection: an exported object or a signal subscription.
class ConnectionId {
public:
    enum class Kind { Object, Subscription };

    ConnectionId() = default;
    ConnectionId(GDBusConnection* connection, guint id, Kind kind)
        : connection_(GObjectRef<GDBusConnection>::share(id ? connection : nullptr))
        , id_(id)
        , kind_(kind) {}
    ~ConnectionId() { reset(); }
    ConnectionId(ConnectionId&& other) noexcept
        : connection_(std::move(other.connection_))
        , id_(std::exchange(other.id_, 0))
        , kind_(other.kind_) {}
    ConnectionId& operator=(ConnectionId&& other) noexcept {
        if (this != &other) {
            reset();
            connection_ = std::move(other.connection_);
            id_ = std::exchange(other.id_, 0);
            kind_ = other.kind_;
        }
        return *this;
    }
    ConnectionId(const ConnectionId&) = delete;
    ConnectionId& operator=(const ConnectionId&) = delete;

    explicit operator bool() const { return id_ != 0; }
    void reset() {
        if (!id_)
            return;
        if (kind_ == Kind::Object)
            g_dbus_connection_unregister_object(connection_.get(), id_);
        else
            g_dbus_connection_signal_unsubscribe(connection_.get(), id_);
        id_ = 0;
        connection_.reset();
    }

private:
    GObjectRef<GDBusConnection> connection_;
    guint id_ = 0;
    Kind kind_ = Kind::Object;
};

// Which signals a subscription hears; nullptr matches any.
struct SignalMatch {
    const char* sender = nullptr;
    const char* interface = nullptr;
    const char* member = nullptr;
    const char* path = nullptr;
    const char* arg0 = nullptr;
};

// What a signal subscriber is told: the signal's name and its parameters.
using SignalHandler = std::function<void(const char* signal, GVariant* parameters)>;

// Subscribes `handler` to the signals that match; the handler lives until GIO lets go of it, and
// the returned id ends the subscription. An empty id without a connection.
ConnectionId subscribeSignal(GDBusConnection* connection, const SignalMatch& match,
                             SignalHandler handler);

// Cancels what it was handed to when it goes, so that no reply reaches a dead owner.
class CancelOnExit {
public:
    CancelOnExit()
        : cancellable_(GObjectRef<GCancellable>::adopt(g_cancellable_new())) {}
    ~CancelOnExit() { g_cancellable_cancel(cancellable_.get()); }
    CancelOnExit(const CancelOnExit&) = delete;
    CancelOnExit& operator=(const CancelOnExit&) = delete;

    GCancellable* get() const { return cancellable_.get(); }
    // Cancels what is under way and starts afresh for what comes next.
    void renew() {
        g_cancellable_cancel(cancellable_.get());
        cancellable_ = GObjectRef<GCancellable>::adopt(g_cancellable_new());
    }

private:
    GObjectRef<GCancellable> cancellable_;
};

// Text that GLib allocated.
inline std::string takeGString(gchar* text) {
    std::string result = text ? text : "";
    g_free(text);
    return result;
}

} // namespace corvane
