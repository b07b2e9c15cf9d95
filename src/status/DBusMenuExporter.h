#pragma once

#include "status/BusConnection.h"
#include "status/PanelItem.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

using DbusmenuMenuitem = struct _DbusmenuMenuitem;

namespace corvane {

// An item's dropdown as a com.canonical.dbusmenu menu, which tray hosts draw themselves. The
// rows become a tree of dbusmenu menu items; values and headers are shown disabled, pictures
// as PNG icons, and a click on an action row hands its action to `onAction`, as do a host's
// "about to show", "opened" and "closed" (the dropdown reports of PanelItem.h).
//
// The menu is served on the connection it is given, not on the process's shared session
// connection, so that it lives and dies with the tray item that names it.
class DBusMenuExporter {
public:
    static constexpr const char* kInterface = "com.canonical.dbusmenu";

    DBusMenuExporter(GDBusConnection* connection, std::string path,
                     std::function<void(const std::string& action)> onAction);
    ~DBusMenuExporter();
    DBusMenuExporter(const DBusMenuExporter&) = delete;
    DBusMenuExporter& operator=(const DBusMenuExporter&) = delete;

    // Rebuilds the menu when the rows differ and tells the hosts to fetch it again.
    void setModel(const DropdownModel& model);
    const std::string& path() const { return path_; }

private:
    static void methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                           const gchar* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* readProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                  const gchar* property, GError**, gpointer self);

    void rebuild();
    DbusmenuMenuitem* find(int id) const;
    GVariant* layout(DbusmenuMenuitem* item, int depth,
                     const std::vector<std::string>& names) const;
    void getLayout(GVariant* parameters, GDBusMethodInvocation* invocation) const;
    void getGroupProperties(GVariant* parameters, GDBusMethodInvocation* invocation) const;
    void getProperty(GVariant* parameters, GDBusMethodInvocation* invocation) const;
    void event(GVariant* parameters, GDBusMethodInvocation* invocation);
    void eventGroup(GVariant* parameters, GDBusMethodInvocation* invocation);
    void aboutToShowGroup(GVariant* parameters, GDBusMethodInvocation* invocation);
    void aboutToShow(GDBusMethodInvocation* invocation);
    bool reportShown();
    void noteOpenOrClose(std::string_view name);
    bool deliver(int id, const char* name, GVariant* data, guint timestamp);
    void runPendingAction();

    GDBusConnection* connection_;
    std::string path_;
    std::function<void(const std::string&)> onAction_;
    NodeInfo info_;
    DropdownModel model_;
    GObjectRef<DbusmenuMenuitem> root_;
    guint32 revision_ = 0;
    std::string pendingAction_;
    ConnectionId registration_;
};

} // namespace corvane
