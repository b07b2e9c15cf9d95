#include "status/DBusMenuExporter.h"

#include "status/PixelConversion.h"

#include <algorithm>
#include <libdbusmenu-glib/menuitem.h>

namespace corvane {

namespace {

constexpr const char* kIntrospection = R"xml(<node>
  <interface name="com.canonical.dbusmenu">
    <method name="GetLayout">
      <arg type="i" name="parentId" direction="in"/>
      <arg type="i" name="recursionDepth" direction="in"/>
      <arg type="as" name="propertyNames" direction="in"/>
      <arg type="u" name="revision" direction="out"/>
      <arg type="(ia{sv}av)" name="layout" direction="out"/>
    </method>
    <method name="GetGroupProperties">
      <arg type="ai" name="ids" direction="in"/>
      <arg type="as" name="propertyNames" direction="in"/>
      <arg type="a(ia{sv})" name="properties" direction="out"/>
    </method>
    <method name="GetProperty">
      <arg type="i" name="id" direction="in"/>
      <arg type="s" name="name" direction="in"/>
      <arg type="v" name="value" direction="out"/>
    </method>
    <method name="Event">
      <arg type="i" name="id" direction="in"/>
      <arg type="s" name="eventId" direction="in"/>
      <arg type="v" name="data" direction="in"/>
      <arg type="u" name="timestamp" direction="in"/>
    </method>
    <method name="EventGroup">
      <arg type="a(isvu)" name="events" direction="in"/>
      <arg type="ai" name="idErrors" direction="out"/>
    </method>
    <method name="AboutToShow">
      <arg type="i" name="id" direction="in"/>
      <arg type="b" name="needUpdate" direction="out"/>
    </method>
    <method name="AboutToShowGroup">
      <arg type="ai" name="ids" direction="in"/>
      <arg type="ai" name="updatesNeeded" direction="out"/>
      <arg type="ai" name="idErrors" direction="out"/>
    </method>
    <signal name="ItemsPropertiesUpdated">
      <arg type="a(ia{sv})" name="updatedProps"/>
      <arg type="a(ias)" name="removedProps"/>
    </signal>
    <signal name="LayoutUpdated">
      <arg type="u" name="revision"/>
      <arg type="i" name="parent"/>
    </signal>
    <signal name="ItemActivationRequested">
      <arg type="i" name="id"/>
      <arg type="u" name="timestamp"/>
    </signal>
    <property name="Version" type="u" access="read"/>
    <property name="TextDirection" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="IconThemePath" type="as" access="read"/>
  </interface>
</node>)xml";

constexpr guint32 kProtocolVersion = 3;

// Menu labels take "_" as the mark of a keyboard shortcut; a real one is written twice.
std::string menuLabel(const std::string& text) {
    std::string label;
    for (const char c : text) {
        label += c;
        if (c == '_')
            label += '_';
    }
    return label;
}

// What a click on an action row leaves behind for runPendingAction to run, once the call has
// been answered.
struct RowAction {
    std::string* pending;
    std::string action;

    static void activated(DbusmenuMenuitem*, guint, gpointer self) {
        const auto& row = *static_cast<RowAction*>(self);
        *row.pending = row.action;
    }
    static void drop(gpointer self, GClosure*) { delete static_cast<RowAction*>(self); }
};

DbusmenuMenuitem* rowItem(const DropdownRow& row, int id, std::string* pendingAction) {
    DbusmenuMenuitem* item = dbusmenu_menuitem_new_with_id(id);
    switch (row.kind) {
    case DropdownRow::Kind::Separator:
        dbusmenu_menuitem_property_set(item, DBUSMENU_MENUITEM_PROP_TYPE, "separator");
        return item;
    case DropdownRow::Kind::Action:
        g_signal_connect_data(
            item, DBUSMENU_MENUITEM_SIGNAL_ITEM_ACTIVATED, G_CALLBACK(RowAction::activated),
            new RowAction{pendingAction, row.action}, RowAction::drop, GConnectFlags{});
        break;
    case DropdownRow::Kind::Text:
    case DropdownRow::Kind::Header:
    case DropdownRow::Kind::Picture:
        break;
    }
    dbusmenu_menuitem_property_set(item, DBUSMENU_MENUITEM_PROP_LABEL, menuLabel(row.text).c_str());
    // Hosts grey disabled rows: headers are greyed to stand apart, figures stay readable
    // (a click on one does nothing).
    const bool enabled =
        row.kind == DropdownRow::Kind::Action ? row.enabled : row.kind != DropdownRow::Kind::Header;
    dbusmenu_menuitem_property_set_bool(item, DBUSMENU_MENUITEM_PROP_ENABLED, enabled);
    return item;
}

std::vector<std::string> stringList(GVariant* strings) {
    std::vector<std::string> list;
    GVariantIter iter;
    g_variant_iter_init(&iter, strings);
    const gchar* text = nullptr;
    while (g_variant_iter_next(&iter, "&s", &text))
        list.emplace_back(text);
    return list;
}

GVariant* propertiesOf(DbusmenuMenuitem* item, const std::vector<std::string>& names) {
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    GList* list = dbusmenu_menuitem_properties_list(item);
    for (GList* entry = list; entry; entry = entry->next) {
        const auto* name = static_cast<const gchar*>(entry->data);
        if (!names.empty() && std::find(names.begin(), names.end(), name) == names.end())
            continue;
        if (GVariant* value = dbusmenu_menuitem_property_get_variant(item, name))
            g_variant_builder_add(&properties, "{sv}", name, value);
    }
    g_list_free(list);
    return g_variant_builder_end(&properties);
}

} // namespace

DBusMenuExporter::DBusMenuExporter(GDBusConnection* connection, std::string path,
                                   std::function<void(const std::string&)> onAction)
    : connection_(connection)
    , path_(std::move(path))
    , onAction_(std::move(onAction))
    , info_(parseNodeInfo(kIntrospection)) {
    rebuild();
    static const GDBusInterfaceVTable vtable{methodCall, readProperty, nullptr, {}};
    registration_ = exportObject(connection_, path_, info_, vtable, this);
}

DBusMenuExporter::~DBusMenuExporter() = default;

void DBusMenuExporter::setModel(const DropdownModel& model) {
    if (model == model_)
        return;
    model_ = model;
    rebuild();
    g_dbus_connection_emit_signal(connection_, nullptr, path_.c_str(), kInterface, "LayoutUpdated",
                                  g_variant_new("(ui)", revision_, 0), nullptr);
}

void DBusMenuExporter::rebuild() {
    root_ = GObjectRef<DbusmenuMenuitem>::adopt(dbusmenu_menuitem_new_with_id(0));
    dbusmenu_menuitem_property_set(root_.get(), DBUSMENU_MENUITEM_PROP_CHILD_DISPLAY,
                                   DBUSMENU_MENUITEM_CHILD_DISPLAY_SUBMENU);
    int id = 1;
    for (const auto& row : model_.rows) {
        // Tray hosts show a menu item's picture at icon size, where a graph is a smudge;
        // graphs are for the front ends that read Panel1.
        if (row.kind == DropdownRow::Kind::Picture)
            continue;
        DbusmenuMenuitem* item = rowItem(row, id++, &pendingAction_);
        dbusmenu_menuitem_child_append(root_.get(), item);
        g_object_unref(item);
    }
    ++revision_;
}

DbusmenuMenuitem* DBusMenuExporter::find(int id) const {
    return id == 0 ? root_.get() : dbusmenu_menuitem_find_id(root_.get(), id);
}

GVariant* DBusMenuExporter::layout(DbusmenuMenuitem* item, int depth,
                                   const std::vector<std::string>& names) const {
    GVariantBuilder children;
    g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
    if (depth != 0) {
        for (GList* child = dbusmenu_menuitem_get_children(item); child; child = child->next)
            g_variant_builder_add(
                &children, "v",
                layout(static_cast<DbusmenuMenuitem*>(child->data), depth - 1, names));
    }
    return g_variant_new("(i@a{sv}av)", dbusmenu_menuitem_get_id(item), propertiesOf(item, names),
                         &children);
}

void DBusMenuExporter::getLayout(GVariant* parameters, GDBusMethodInvocation* invocation) const {
    gint32 parent = 0;
    gint32 depth = -1;
    GVariant* names = nullptr;
    g_variant_get(parameters, "(ii@as)", &parent, &depth, &names);
    const VariantRef namesRef(names);
    DbusmenuMenuitem* item = find(parent);
    if (!item)
        return returnInvalidArguments(invocation, "No menu item " + std::to_string(parent));
    g_dbus_method_invocation_return_value(
        invocation,
        g_variant_new("(u@(ia{sv}av))", revision_, layout(item, depth, stringList(names))));
}

void DBusMenuExporter::getGroupProperties(GVariant* parameters,
                                          GDBusMethodInvocation* invocation) const {
    GVariant* ids = nullptr;
    GVariant* names = nullptr;
    g_variant_get(parameters, "(@ai@as)", &ids, &names);
    const VariantRef idsRef(ids);
    const VariantRef namesRef(names);
    const std::vector<std::string> wanted = stringList(names);
    GVariantBuilder result;
    g_variant_builder_init(&result, G_VARIANT_TYPE("a(ia{sv})"));
    gsize count = 0;
    const auto* list = static_cast<const gint32*>(g_variant_get_fixed_array(ids, &count, 4));
    for (gsize i = 0; i < count; ++i)
        if (DbusmenuMenuitem* item = find(list[i]))
            g_variant_builder_add(&result, "(i@a{sv})", list[i], propertiesOf(item, wanted));
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(a(ia{sv}))", &result));
}

void DBusMenuExporter::getProperty(GVariant* parameters, GDBusMethodInvocation* invocation) const {
    gint32 id = 0;
    const gchar* name = nullptr;
    g_variant_get(parameters, "(i&s)", &id, &name);
    DbusmenuMenuitem* item = find(id);
    GVariant* value = item ? dbusmenu_menuitem_property_get_variant(item, name) : nullptr;
    if (!value)
        return returnInvalidArguments(invocation, "No property " + std::string(name));
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(v)", value));
}

bool DBusMenuExporter::deliver(int id, const char* name, GVariant* data, guint timestamp) {
    DbusmenuMenuitem* item = find(id);
    if (!item)
        return false;
    if (dbusmenu_menuitem_property_get_bool(item, DBUSMENU_MENUITEM_PROP_ENABLED))
        dbusmenu_menuitem_handle_event(item, name, data, timestamp);
    return true;
}

void DBusMenuExporter::event(GVariant* parameters, GDBusMethodInvocation* invocation) {
    gint32 id = 0;
    const gchar* name = nullptr;
    GVariant* data = nullptr;
    guint32 timestamp = 0;
    g_variant_get(parameters, "(i&svu)", &id, &name, &data, &timestamp);
    const VariantRef dataRef(data);
    if (id == 0)
        noteOpenOrClose(name);
    if (!deliver(id, name, data, timestamp))
        return returnInvalidArguments(invocation, "No menu item " + std::to_string(id));
    g_dbus_method_invocation_return_value(invocation, nullptr);
    runPendingAction();
}

void DBusMenuExporter::eventGroup(GVariant* parameters, GDBusMethodInvocation* invocation) {
    GVariantIter* events = nullptr;
    g_variant_get(parameters, "(a(isvu))", &events);
    GVariantBuilder errors;
    g_variant_builder_init(&errors, G_VARIANT_TYPE("ai"));
    gint32 id = 0;
    const gchar* name = nullptr;
    GVariant* data = nullptr;
    guint32 timestamp = 0;
    while (g_variant_iter_next(events, "(i&svu)", &id, &name, &data, &timestamp)) {
        if (id == 0)
            noteOpenOrClose(name);
        if (!deliver(id, name, data, timestamp))
            g_variant_builder_add(&errors, "i", id);
        g_variant_unref(data);
    }
    g_variant_iter_free(events);
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(ai)", &errors));
    runPendingAction();
}

void DBusMenuExporter::aboutToShowGroup(GVariant* parameters, GDBusMethodInvocation* invocation) {
    GVariant* ids = nullptr;
    g_variant_get(parameters, "(@ai)", &ids);
    const VariantRef idsRef(ids);
    GVariantBuilder unknown;
    g_variant_builder_init(&unknown, G_VARIANT_TYPE("ai"));
    gsize count = 0;
    const auto* list = static_cast<const gint32*>(g_variant_get_fixed_array(ids, &count, 4));
    for (gsize i = 0; i < count; ++i)
        if (!find(list[i]))
            g_variant_builder_add(&unknown, "i", list[i]);
    const bool changed = reportShown();
    GVariantBuilder updated;
    g_variant_builder_init(&updated, G_VARIANT_TYPE("ai"));
    if (changed)
        g_variant_builder_add(&updated, "i", 0);
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(aiai)", &updated, &unknown));
}

void DBusMenuExporter::aboutToShow(GDBusMethodInvocation* invocation) {
    const bool changed = reportShown();
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(b)", changed));
}

// The rows are brought up to date before the host reads them; true when they changed.
bool DBusMenuExporter::reportShown() {
    const guint32 before = revision_;
    const auto onAction = onAction_;
    if (onAction)
        onAction(kDropdownShownAction);
    return revision_ != before;
}

void DBusMenuExporter::noteOpenOrClose(std::string_view name) {
    const auto onAction = onAction_;
    if (name == "opened" && onAction)
        onAction(kDropdownOpenedAction);
    else if (name == "closed" && onAction)
        onAction(kDropdownClosedAction);
}

// Runs last in a call: the action may take the whole tray item down, this menu included.
void DBusMenuExporter::runPendingAction() {
    if (pendingAction_.empty())
        return;
    const std::string action = std::exchange(pendingAction_, {});
    const auto onAction = onAction_;
    if (onAction)
        onAction(action);
}

void DBusMenuExporter::methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                  const gchar* method, GVariant* parameters,
                                  GDBusMethodInvocation* invocation, gpointer self) {
    auto& menu = *static_cast<DBusMenuExporter*>(self);
    const std::string_view name = method;
    if (name == "GetLayout")
        menu.getLayout(parameters, invocation);
    else if (name == "GetGroupProperties")
        menu.getGroupProperties(parameters, invocation);
    else if (name == "GetProperty")
        menu.getProperty(parameters, invocation);
    else if (name == "Event")
        menu.event(parameters, invocation);
    else if (name == "EventGroup")
        menu.eventGroup(parameters, invocation);
    else if (name == "AboutToShow")
        menu.aboutToShow(invocation);
    else if (name == "AboutToShowGroup")
        menu.aboutToShowGroup(parameters, invocation);
    else
        returnInvalidArguments(invocation, "Unknown method " + std::string(name));
}

GVariant* DBusMenuExporter::readProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                         const gchar* property, GError**, gpointer) {
    const std::string_view name = property;
    if (name == "Version")
        return g_variant_new_uint32(kProtocolVersion);
    if (name == "TextDirection")
        return g_variant_new_string("ltr");
    if (name == "Status")
        return g_variant_new_string("normal");
    return g_variant_new_strv(nullptr, 0);
}

} // namespace corvane
