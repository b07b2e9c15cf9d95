#include "status/PanelService.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "status/PixelConversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

constexpr const char* kIntrospection = R"xml(<node>
  <interface name="com.halvorn.corvanebar.Panel1">
    <property name="Version" type="u" access="read"/>
    <property name="Style" type="a{sv}" access="read"/>
    <method name="GetItems"><arg name="items" type="aa{sv}" direction="out"/></method>
    <method name="GetItem">
      <arg name="id" type="s" direction="in"/>
      <arg name="item" type="a{sv}" direction="out"/>
    </method>
    <method name="GetPicture">
      <arg name="id" type="s" direction="in"/>
      <arg name="shape" type="s" direction="in"/>
      <arg name="scale" type="d" direction="in"/>
      <arg name="width" type="i" direction="out"/>
      <arg name="height" type="i" direction="out"/>
      <arg name="pixels" type="ay" direction="out"/>
    </method>
    <method name="GetDropdown">
      <arg name="id" type="s" direction="in"/>
      <arg name="rows" type="aa{sv}" direction="out"/>
    </method>
    <method name="Activate">
      <arg name="id" type="s" direction="in"/>
      <arg name="action" type="s" direction="in"/>
    </method>
    <method name="SetStyle"><arg name="style" type="a{sv}" direction="in"/></method>
    <signal name="ItemsChanged"/>
    <signal name="ItemChanged"><arg name="id" type="s"/></signal>
    <signal name="PictureChanged"><arg name="id" type="s"/></signal>
    <signal name="DropdownChanged"><arg name="id" type="s"/></signal>
  </interface>
</node>)xml";

Value summary(const PanelItem& item) {
    const PanelPicture& square = pictureFor(item, PictureShape::Compact, 1);
    return Value::dict({{"id", item.id},
                        {"title", item.title},
                        {"width", item.picture.width()},
                        {"height", item.picture.height()},
                        {"compact-width", square.width()},
                        {"compact-height", square.height()}});
}

Value details(const PanelItem& item) {
    Value value = summary(item);
    value.set("label", item.label);
    value.set("label-guide", item.labelGuide);
    value.set("tooltip", item.tooltip);
    value.set("accessible-description", item.accessibleDescription);
    if (item.percentage >= 0)
        value.set("percentage", item.percentage);
    return value;
}

// Dictionaries as aa{sv}; the Value mapping alone would make an array of variants.
GVariant* dictionaryArray(const std::vector<Value>& dictionaries) {
    GVariantBuilder array;
    g_variant_builder_init(&array, G_VARIANT_TYPE("aa{sv}"));
    for (const auto& dictionary : dictionaries)
        g_variant_builder_add_value(&array, toGVariant(dictionary));
    return g_variant_builder_end(&array);
}

std::vector<Value> dropdownRows(const DropdownModel& model) {
    std::vector<Value> rows;
    for (const auto& row : model.rows) {
        Value value = describedRow(row);
        if (row.kind == DropdownRow::Kind::Picture)
            value.set("pixels", Value(nativeArgbBytes(row.picture)));
        rows.push_back(std::move(value));
    }
    return rows;
}

bool texts(const PanelItem& a, const PanelItem& b) {
    return a.label == b.label && a.labelGuide == b.labelGuide && a.tooltip == b.tooltip &&
           a.accessibleDescription == b.accessibleDescription && a.percentage == b.percentage;
}

bool pictures(const PanelItem& a, const PanelItem& b) {
    return a.picture == b.picture && a.picture2x == b.picture2x && a.compact == b.compact &&
           a.compact2x == b.compact2x;
}

bool hasAction(const PanelItem& item, std::string_view action) {
    return action == kOpenSettingsAction ||
           std::any_of(item.dropdown.rows.begin(), item.dropdown.rows.end(), [&](const auto& row) {
               return row.kind == DropdownRow::Kind::Action && row.enabled && row.action == action;
           });
}

int hexByte(std::string_view text) {
    int value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + 2, value, 16);
    return error == std::errc() && end == text.data() + 2 ? value : -1;
}

} // namespace

std::optional<Color> colorFromHex(std::string_view text) {
    if ((text.size() != 7 && text.size() != 9) || text[0] != '#')
        return std::nullopt;
    int bytes[4] = {0, 0, 0, 255};
    for (std::size_t i = 0; 1 + 2 * i < text.size(); ++i)
        if ((bytes[i] = hexByte(text.substr(1 + 2 * i, 2))) < 0)
            return std::nullopt;
    return Color{bytes[0] / 255.0, bytes[1] / 255.0, bytes[2] / 255.0, bytes[3] / 255.0};
}

std::string hexFromColor(const Color& color) {
    const auto byte = [](double component) {
        return static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    };
    char text[10];
    std::snprintf(text, sizeof text, "#%02x%02x%02x%02x", byte(color.red), byte(color.green),
                  byte(color.blue), byte(color.alpha));
    return text;
}

PanelService::PanelService(GDBusConnection* connection, PanelActionHandler onAction,
                           StyleHandler onStyle)
    : connection_(connection)
    , onAction_(std::move(onAction))
    , onStyle_(std::move(onStyle))
    , info_(parseNodeInfo(kIntrospection)) {
    if (!connection_) {
        CVBLog("Panel interface: no session bus; only tray items can show the panel items");
        return;
    }
    static const GDBusInterfaceVTable vtable{methodCall, readProperty, nullptr, {}};
    registration_ = exportObject(connection_, kObjectPath, info_, vtable, this);
}

PanelService::~PanelService() = default;

const PanelItem* PanelService::find(std::string_view id) const {
    const auto item =
        std::find_if(items_.begin(), items_.end(), [&](const PanelItem& i) { return i.id == id; });
    return item == items_.end() ? nullptr : &*item;
}

void PanelService::show(const std::vector<PanelItem>& items) {
    std::vector<PanelItem> before = std::exchange(items_, items);
    if (registration_)
        announceChanges(before);
}

void PanelService::announceChanges(const std::vector<PanelItem>& before) const {
    const bool listChanged =
        before.size() != items_.size() ||
        !std::equal(before.begin(), before.end(), items_.begin(),
                    [](const auto& a, const auto& b) { return summary(a) == summary(b); });
    if (listChanged)
        emit("ItemsChanged");
    for (const auto& old : before) {
        const PanelItem* now = find(old.id);
        if (!now)
            continue;
        if (!texts(old, *now))
            emit("ItemChanged", g_variant_new("(s)", now->id.c_str()));
        if (!pictures(old, *now))
            emit("PictureChanged", g_variant_new("(s)", now->id.c_str()));
        if (!(old.dropdown == now->dropdown))
            emit("DropdownChanged", g_variant_new("(s)", now->id.c_str()));
    }
}

void PanelService::emit(const char* signal, GVariant* parameters) const {
    if (!hasClient()) {
        if (parameters)
            g_variant_unref(g_variant_ref_sink(parameters));
        return;
    }
    g_dbus_connection_emit_signal(connection_, nullptr, kObjectPath, kInterface, signal, parameters,
                                  nullptr);
}

GVariant* PanelService::styleVariant() const {
    GVariantBuilder style;
    g_variant_builder_init(&style, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&style, "{sv}", "height", g_variant_new_int32(style_.height));
    g_variant_builder_add(&style, "{sv}", "scale", g_variant_new_double(style_.scale));
    g_variant_builder_add(&style, "{sv}", "foreground",
                          g_variant_new_string(hexFromColor(style_.foreground).c_str()));
    g_variant_builder_add(&style, "{sv}", "dark", g_variant_new_boolean(style_.dark));
    return g_variant_builder_end(&style);
}

void PanelService::setStyle(GVariant* parameters, GDBusMethodInvocation* invocation) {
    GVariant* dictionary = g_variant_get_child_value(parameters, 0);
    const Value given = fromGVariant(dictionary);
    g_variant_unref(dictionary);
    PanelStyle style = style_;
    if (given["height"].isNumber() && given["height"].integerValue() > 0)
        style.height =
            static_cast<int>(std::min<std::int64_t>(given["height"].integerValue(), 4096));
    if (given["scale"].isNumber() && given["scale"].doubleValue() > 0)
        style.scale = std::min(given["scale"].doubleValue(), 16.0);
    if (given["dark"].isBool())
        style.dark = given["dark"].boolValue();
    if (given["foreground"].isString()) {
        if (const auto color = colorFromHex(given["foreground"].string()))
            style.foreground = *color;
        else
            CVBLog("Panel interface: foreground colour \"%s\" is not #rrggbb or #rrggbbaa; kept",
                   given["foreground"].string().c_str());
    }
    noteClient(invocation, true);
    g_dbus_method_invocation_return_value(invocation, nullptr);
    if (style == style_)
        return;
    style_ = style;
    const auto onStyle = onStyle_;
    if (onStyle)
        onStyle(style);
}

bool PanelService::hasFrontEnd() const {
    return std::any_of(clients_.begin(), clients_.end(), [](const auto& entry) {
        return entry.second.present && entry.second.drawsItems;
    });
}

bool PanelService::hasClient() const {
    return std::any_of(clients_.begin(), clients_.end(),
                       [](const auto& entry) { return entry.second.present; });
}

void PanelService::noteClient(GDBusMethodInvocation* invocation, bool drawsItems) {
    const char* sender = g_dbus_method_invocation_get_sender(invocation);
    if (!sender)
        return;
    const bool drawnBefore = hasFrontEnd();
    auto known = clients_.find(sender);
    if (known == clients_.end()) {
        // Unique names are never reused: the ones gone are dropped here, outside their callbacks.
        std::erase_if(clients_, [](const auto& entry) { return !entry.second.present; });
        known = clients_.emplace(sender, Client{}).first;
        known->second.watch = NameWatch(
            g_bus_watch_name_on_connection(connection_, sender, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                           nullptr, clientVanished, this, nullptr));
    }
    if (!drawsItems || known->second.drawsItems)
        return;
    known->second.drawsItems = true;
    CVBLog("Panel interface: %s shows the items in the panel", sender);
    if (!drawnBefore && onFrontEnds_)
        onFrontEnds_(true);
}

void PanelService::clientVanished(GDBusConnection*, const gchar* name, gpointer self) {
    auto& service = *static_cast<PanelService*>(self);
    const auto known = service.clients_.find(name);
    if (known == service.clients_.end() || !known->second.present)
        return;
    known->second.present = false;
    if (!known->second.drawsItems)
        return;
    CVBLog("Panel interface: %s left the bus", name);
    if (!service.hasFrontEnd() && service.onFrontEnds_)
        service.onFrontEnds_(false);
}

void PanelService::activate(GVariant* parameters, GDBusMethodInvocation* invocation) {
    const gchar* id = nullptr;
    const gchar* action = nullptr;
    g_variant_get(parameters, "(&s&s)", &id, &action);
    const PanelItem* item = find(id);
    if (!item || !hasAction(*item, action))
        return returnInvalidArguments(invocation, std::string("No action \"") + action +
                                                      "\" on item \"" + id + "\"");
    const std::string itemId = id;
    const std::string actionId = action;
    g_dbus_method_invocation_return_value(invocation, nullptr);
    // Last: the action may end the program and this object with it.
    const auto onAction = onAction_;
    if (onAction)
        onAction(itemId, actionId);
}

// A front end asks for rows while its dropdown is open: the program brings them up to date
// before they are answered, and keeps them so while the asks go on.
void PanelService::reportShown(GVariant* parameters) {
    const gchar* id = nullptr;
    g_variant_get_child(parameters, 0, "&s", &id);
    if (!find(id))
        return;
    const std::string itemId = id;
    const auto onAction = onAction_;
    if (onAction)
        onAction(itemId, kDropdownShownAction);
}

void PanelService::answerForItem(std::string_view method, GVariant* parameters,
                                 GDBusMethodInvocation* invocation) const {
    const gchar* id = nullptr;
    g_variant_get_child(parameters, 0, "&s", &id);
    const PanelItem* item = find(id);
    if (!item)
        return returnInvalidArguments(invocation, std::string("No item \"") + id + "\"");
    if (method == "GetItem")
        return g_dbus_method_invocation_return_value(
            invocation, g_variant_new("(@a{sv})", toGVariant(details(*item))));
    if (method == "GetDropdown")
        return g_dbus_method_invocation_return_value(
            invocation, g_variant_new("(@aa{sv})", dictionaryArray(dropdownRows(item->dropdown))));
    const gchar* shape = nullptr;
    double scale = 1;
    g_variant_get(parameters, "(&s&sd)", &id, &shape, &scale);
    const PanelPicture& picture = pictureFor(
        *item, std::string_view(shape) == "compact" ? PictureShape::Compact : PictureShape::Wide,
        scale);
    const std::vector<std::uint8_t> bytes = nativeArgbBytes(picture);
    g_dbus_method_invocation_return_value(
        invocation, g_variant_new("(ii@ay)", picture.width(), picture.height(),
                                  g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(),
                                                            bytes.size(), 1)));
}

void PanelService::methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                              const gchar* method, GVariant* parameters,
                              GDBusMethodInvocation* invocation, gpointer self) {
    auto& service = *static_cast<PanelService*>(self);
    const std::string_view name = method;
    service.noteClient(invocation, false);
    if (name == "GetItems") {
        std::vector<Value> items;
        for (const auto& item : service.items_)
            items.push_back(summary(item));
        g_dbus_method_invocation_return_value(invocation,
                                              g_variant_new("(@aa{sv})", dictionaryArray(items)));
    } else if (name == "SetStyle") {
        service.setStyle(parameters, invocation);
    } else if (name == "Activate") {
        service.activate(parameters, invocation);
    } else if (name == "GetDropdown") {
        service.reportShown(parameters);
        service.answerForItem(name, parameters, invocation);
    } else {
        service.answerForItem(name, parameters, invocation);
    }
}

GVariant* PanelService::readProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                     const gchar* property, GError**, gpointer self) {
    const auto& service = *static_cast<const PanelService*>(self);
    if (std::string_view(property) == "Version")
        return g_variant_new_uint32(kVersion);
    return service.styleVariant();
}

} // namespace corvane
