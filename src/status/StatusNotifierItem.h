#pragma once

#include "status/BusConnection.h"
#include "status/DBusMenuExporter.h"
#include "status/PanelItem.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// One panel item as a tray icon: an org.kde.StatusNotifierItem object at /StatusNotifierItem
// and its dropdown as a dbusmenu at /MenuBar, on a bus connection of its own that holds the
// item's well-known name. Closing that connection is how the tray learns the item is gone:
// the protocol has no call to take an item back.
class StatusNotifierItem {
public:
    static constexpr const char* kItemPath = "/StatusNotifierItem";
    static constexpr const char* kMenuPath = "/MenuBar";
    static constexpr const char* kInterface = "org.kde.StatusNotifierItem";
    static constexpr const char* kWatcherName = "org.kde.StatusNotifierWatcher";
    static constexpr const char* kWatcherPath = "/StatusNotifierWatcher";

    enum class Registration { None, Pending, Done, Failed };
    // Told how a registration ended: an empty error for success.
    using RegistrationDone = std::function<void(const std::string& error)>;

    // `connection` already owns `busName`. `onAction` gets the action of a menu row, or
    // "open-settings" when the host activates the icon itself.
    StatusNotifierItem(GObjectRef<GDBusConnection> connection, std::string busName,
                       std::function<void(const std::string& action)> onAction);
    ~StatusNotifierItem();
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

    const std::string& busName() const { return busName_; }
    bool isExported() const { return static_cast<bool>(itemObject_); }

    // Publishes what changed since the last call, with one signal per change; an unchanged
    // picture sends no NewIcon.
    void update(const PanelItem& item, const PanelPicture& picture);

    // Asks the watcher to list this item, without waiting; a previous request is dropped.
    void registerWithWatcher(int timeoutMs, RegistrationDone done);
    // The watcher went away: whatever it knew of this item went with it.
    void forgetRegistration();
    Registration registration() const { return registration_; }
    std::chrono::steady_clock::time_point failedAt() const { return failedAt_; }

private:
    static void methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                           const gchar* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* readProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                  const gchar* property, GError**, gpointer self);
    static void registered(GObject* source, GAsyncResult* result, gpointer self);

    GVariant* property(std::string_view name) const;
    GVariant* iconPixmap() const;
    void emit(const char* signal, GVariant* parameters = nullptr) const;

    GObjectRef<GDBusConnection> connection_;
    std::string busName_;
    std::function<void(const std::string&)> onAction_;
    NodeInfo info_;
    PanelItem shown_;
    PanelPicture picture_; // converted to the tray's format only when a host reads it
    std::unique_ptr<DBusMenuExporter> menu_;
    ConnectionId itemObject_;
    CancelOnExit pending_;
    Registration registration_ = Registration::None;
    std::chrono::steady_clock::time_point failedAt_;
    RegistrationDone done_;
};

} // namespace corvane
