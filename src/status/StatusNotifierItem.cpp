#include "status/StatusNotifierItem.h"

#include "status/PixelConversion.h"

namespace corvane {

namespace {

constexpr const char* kIntrospection = R"xml(<node>
  <interface name="org.kde.StatusNotifierItem">
    <property name="Category" type="s" access="read"/>
    <property name="Id" type="s" access="read"/>
    <property name="Title" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="WindowId" type="i" access="read"/>
    <property name="IconThemePath" type="s" access="read"/>
    <property name="IconName" type="s" access="read"/>
    <property name="IconPixmap" type="a(iiay)" access="read"/>
    <property name="IconAccessibleDesc" type="s" access="read"/>
    <property name="OverlayIconName" type="s" access="read"/>
    <property name="OverlayIconPixmap" type="a(iiay)" access="read"/>
    <property name="AttentionIconName" type="s" access="read"/>
    <property name="AttentionIconPixmap" type="a(iiay)" access="read"/>
    <property name="AttentionMovieName" type="s" access="read"/>
    <property name="AttentionAccessibleDesc" type="s" access="read"/>
    <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
    <property name="ItemIsMenu" type="b" access="read"/>
    <property name="Menu" type="o" access="read"/>
    <property name="XAyatanaLabel" type="s" access="read"/>
    <property name="XAyatanaLabelGuide" type="s" access="read"/>
    <property name="XAyatanaOrderingIndex" type="u" access="read"/>
    <method name="ContextMenu"><arg name="x" type="i"/><arg name="y" type="i"/></method>
    <method name="Activate"><arg name="x" type="i"/><arg name="y" type="i"/></method>
    <method name="SecondaryActivate"><arg name="x" type="i"/><arg name="y" type="i"/></method>
    <method name="Scroll"><arg name="delta" type="i"/><arg name="orientation" type="s"/></method>
    <method name="ProvideXdgActivationToken"><arg name="token" type="s"/></method>
    <signal name="NewTitle"/>
    <signal name="NewIcon"/>
    <signal name="NewAttentionIcon"/>
    <signal name="NewOverlayIcon"/>
    <signal name="NewMenu"/>
    <signal name="NewToolTip"/>
    <signal name="NewStatus"><arg name="status" type="s"/></signal>
    <signal name="XAyatanaNewLabel"><arg name="label" type="s"/><arg name="guide" type="s"/></signal>
  </interface>
</node>)xml";

GVariant* noPixmaps() {
    return g_variant_new_array(G_VARIANT_TYPE("(iiay)"), nullptr, 0);
}

} // namespace

StatusNotifierItem::StatusNotifierItem(GObjectRef<GDBusConnection> connection, std::string busName,
                                       std::function<void(const std::string&)> onAction)
    : connection_(std::move(connection))
    , busName_(std::move(busName))
    , onAction_(std::move(onAction))
    , info_(parseNodeInfo(kIntrospection)) {
    menu_ = std::make_unique<DBusMenuExporter>(connection_.get(), kMenuPath,
                                               [this](const std::string& action) {
                                                   const auto handler = onAction_;
                                                   handler(action);
                                               });
    static const GDBusInterfaceVTable vtable{methodCall, readProperty, nullptr, {}};
    itemObject_ = exportObject(connection_.get(), kItemPath, info_, vtable, this);
}

StatusNotifierItem::~StatusNotifierItem() {
    pending_.renew();
    itemObject_.reset();
    menu_.reset();
    // The bus drops the item's name with the connection, and the watcher drops the item.
    g_dbus_connection_close(connection_.get(), nullptr, nullptr, nullptr);
}

void StatusNotifierItem::update(const PanelItem& item, const PanelPicture& picture) {
    const bool first = shown_.id.empty();
    const bool newIcon = !(picture == picture_);
    const bool newTitle = item.title != shown_.title;
    const bool newToolTip = newTitle || item.tooltip != shown_.tooltip;
    const bool newLabel = item.label != shown_.label || item.labelGuide != shown_.labelGuide;
    picture_ = picture;
    shown_ = item;
    shown_.id = item.id.empty() ? busName_ : item.id;
    menu_->setModel(item.dropdown);
    // Until a watcher lists the item no host listens; the one that does reads it all afresh.
    if (first || registration_ == Registration::None || registration_ == Registration::Failed)
        return;
    if (newIcon)
        emit("NewIcon");
    if (newTitle)
        emit("NewTitle");
    if (newToolTip)
        emit("NewToolTip");
    if (newLabel)
        emit("XAyatanaNewLabel",
             g_variant_new("(ss)", item.label.c_str(), item.labelGuide.c_str()));
}

void StatusNotifierItem::emit(const char* signal, GVariant* parameters) const {
    g_dbus_connection_emit_signal(connection_.get(), nullptr, kItemPath, kInterface, signal,
                                  parameters, nullptr);
}

GVariant* StatusNotifierItem::iconPixmap() const {
    if (picture_.empty())
        return noPixmaps();
    const std::vector<std::uint8_t> pixmap = straightArgbBytes(picture_);
    // Hosts differ in which of several sizes they take, and some fetch every property on each
    // change: one size keeps both simple.
    GVariant* bytes =
        g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, pixmap.data(), pixmap.size(), 1);
    GVariant* icon = g_variant_new("(ii@ay)", picture_.width(), picture_.height(), bytes);
    return g_variant_new_array(G_VARIANT_TYPE("(iiay)"), &icon, 1);
}

GVariant* StatusNotifierItem::property(std::string_view name) const {
    if (name == "Category")
        return g_variant_new_string("Hardware");
    if (name == "Id")
        return g_variant_new_string(("corvanebar-" + shown_.id).c_str());
    if (name == "Title")
        return g_variant_new_string(shown_.title.c_str());
    if (name == "Status")
        return g_variant_new_string("Active");
    if (name == "WindowId")
        return g_variant_new_int32(0);
    if (name == "IconPixmap")
        return iconPixmap();
    if (name == "IconAccessibleDesc" || name == "AttentionAccessibleDesc")
        return g_variant_new_string(shown_.accessibleDescription.c_str());
    if (name == "OverlayIconPixmap" || name == "AttentionIconPixmap")
        return noPixmaps();
    if (name == "ToolTip")
        return g_variant_new("(s@a(iiay)ss)", "", noPixmaps(), shown_.title.c_str(),
                             shown_.tooltip.c_str());
    if (name == "ItemIsMenu")
        return g_variant_new_boolean(TRUE);
    if (name == "Menu")
        return g_variant_new_object_path(kMenuPath);
    if (name == "XAyatanaLabel")
        return g_variant_new_string(shown_.label.c_str());
    if (name == "XAyatanaLabelGuide")
        return g_variant_new_string(shown_.labelGuide.c_str());
    if (name == "XAyatanaOrderingIndex")
        return g_variant_new_uint32(0);
    // IconName stays empty: several hosts prefer a name to the pixmap.
    return g_variant_new_string("");
}

GVariant* StatusNotifierItem::readProperty(GDBusConnection*, const gchar*, const gchar*,
                                           const gchar*, const gchar* property, GError**,
                                           gpointer self) {
    return static_cast<const StatusNotifierItem*>(self)->property(property);
}

void StatusNotifierItem::methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                    const gchar* method, GVariant*,
                                    GDBusMethodInvocation* invocation, gpointer self) {
    g_dbus_method_invocation_return_value(invocation, nullptr);
    const std::string_view name = method;
    // A host that cannot drop the menu down (or a double click where it can) activates the
    // icon: the settings window is the one place that shows everything.
    if (name == "Activate" || name == "SecondaryActivate" || name == "ContextMenu") {
        const auto onAction = static_cast<StatusNotifierItem*>(self)->onAction_;
        onAction(kOpenSettingsAction);
    }
}

void StatusNotifierItem::registerWithWatcher(int timeoutMs, RegistrationDone done) {
    pending_.renew();
    registration_ = Registration::Pending;
    done_ = std::move(done);
    g_dbus_connection_call(connection_.get(), kWatcherName, kWatcherPath, kWatcherName,
                           "RegisterStatusNotifierItem", g_variant_new("(s)", busName_.c_str()),
                           nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, timeoutMs, pending_.get(),
                           registered, this);
}

void StatusNotifierItem::forgetRegistration() {
    pending_.renew();
    registration_ = Registration::None;
}

void StatusNotifierItem::registered(GObject* source, GAsyncResult* result, gpointer self) {
    GErrorHolder failure;
    const VariantRef reply(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, failure.out()));
    // A cancelled call belongs to an item that is gone or asked again: leave it alone.
    if (!reply && failure.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED))
        return;
    auto& item = *static_cast<StatusNotifierItem*>(self);
    item.registration_ = reply ? Registration::Done : Registration::Failed;
    if (!reply)
        item.failedAt_ = std::chrono::steady_clock::now();
    const auto done = item.done_;
    if (done)
        done(reply ? std::string() : std::string(failure.message()));
}

} // namespace corvane
