#include "status/StatusNotifierFrontEnd.h"

#include "foundation/Log.h"

#include <algorithm>
#include <unistd.h>

namespace corvane {

StatusNotifierFrontEnd::StatusNotifierFrontEnd(PanelActionHandler onAction)
    : StatusNotifierFrontEnd(std::move(onAction), Options{}) {}

StatusNotifierFrontEnd::StatusNotifierFrontEnd(PanelActionHandler onAction, Options options)
    : onAction_(std::move(onAction))
    , options_(std::move(options)) {
    std::string error;
    address_ = options_.busAddress.empty() ? sessionBusAddress(error) : options_.busAddress;
    if (!address_.empty())
        control_ = openPrivateConnection(address_, error);
    if (!control_) {
        CVBLog("Tray items: no session bus (%s); the items are not shown in the panel",
               error.c_str());
        return;
    }
    watch_ = NameWatch(g_bus_watch_name_on_connection(
        control_.get(), StatusNotifierItem::kWatcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
        watcherAppeared, watcherVanished, this, nullptr));
}

StatusNotifierFrontEnd::~StatusNotifierFrontEnd() {
    watch_.reset();
    entries_.clear();
}

std::string StatusNotifierFrontEnd::busNameOf(const std::string& id) const {
    const auto entry =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.id == id; });
    return entry == entries_.end() ? std::string() : entry->item->busName();
}

std::unique_ptr<StatusNotifierItem> StatusNotifierFrontEnd::makeItem(const std::string& id) {
    const std::string name = "org.kde.StatusNotifierItem-" + std::to_string(::getpid()) + "-" +
                             std::to_string(nextNumber_++);
    std::string error;
    auto connection = openPrivateConnection(address_, error);
    if (connection && requestBusName(connection.get(), name, error)) {
        itemWarned_ = false;
        return std::make_unique<StatusNotifierItem>(std::move(connection), name,
                                                    [this, id](const std::string& action) {
                                                        const auto onAction = onAction_;
                                                        if (onAction)
                                                            onAction(id, action);
                                                    });
    }
    if (!itemWarned_)
        CVBLog("Tray items: cannot put %s on the bus as %s (%s)", id.c_str(), name.c_str(),
               error.c_str());
    itemWarned_ = true;
    return nullptr;
}

void StatusNotifierFrontEnd::publish(Entry& entry) const {
    entry.item->update(entry.last, pictureFor(entry.last, pictureShape(), scale_));
}

void StatusNotifierFrontEnd::show(const std::vector<PanelItem>& items) {
    if (!control_)
        return;
    const auto wanted = [&](const Entry& entry) {
        return std::any_of(items.begin(), items.end(),
                           [&](const PanelItem& item) { return item.id == entry.id; });
    };
    std::erase_if(entries_, [&](const Entry& entry) { return !wanted(entry); });
    std::vector<Entry> ordered;
    for (const auto& item : items) {
        if (std::any_of(ordered.begin(), ordered.end(),
                        [&](const Entry& e) { return e.id == item.id; }))
            continue;
        auto known = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& e) { return e.id == item.id && e.item; });
        Entry entry = known != entries_.end() ? std::move(*known) : Entry{item.id, {}, nullptr};
        if (!entry.item && !(entry.item = makeItem(item.id)))
            continue;
        entry.last = item;
        publish(entry);
        ordered.push_back(std::move(entry));
    }
    entries_ = std::move(ordered);
    registerItems();
}

void StatusNotifierFrontEnd::setTrayStyle(TrayStyle style) {
    style_ = style;
    for (auto& entry : entries_)
        publish(entry);
}

void StatusNotifierFrontEnd::setScale(double scale) {
    scale_ = scale;
    for (auto& entry : entries_)
        publish(entry);
}

void StatusNotifierFrontEnd::registerItems() {
    if (!watcherPresent_)
        return;
    const auto now = std::chrono::steady_clock::now();
    const auto retry = std::chrono::duration<double>(options_.retrySeconds);
    for (auto& entry : entries_) {
        StatusNotifierItem& item = *entry.item;
        const bool retryDue = item.registration() == StatusNotifierItem::Registration::Failed &&
                              now - item.failedAt() >= retry;
        if (item.registration() == StatusNotifierItem::Registration::None || retryDue)
            item.registerWithWatcher(options_.callTimeoutMs,
                                     [this](const std::string& error) { registrationDone(error); });
    }
}

void StatusNotifierFrontEnd::registrationDone(const std::string& error) {
    if (error.empty()) {
        registrationWarned_ = false;
        return;
    }
    if (!registrationWarned_)
        CVBLog("Tray items: the StatusNotifierWatcher did not list the items (%s); asking "
               "again in %g s",
               error.c_str(), options_.retrySeconds);
    registrationWarned_ = true;
}

void StatusNotifierFrontEnd::watcherAppeared(GDBusConnection*, const gchar*, const gchar* owner,
                                             gpointer self) {
    auto& frontEnd = *static_cast<StatusNotifierFrontEnd*>(self);
    frontEnd.watcherPresent_ = true;
    frontEnd.watcherSeen_ = true;
    frontEnd.registrationWarned_ = false;
    // A new owner knows none of the items, even those the previous one listed.
    for (auto& entry : frontEnd.entries_)
        entry.item->forgetRegistration();
    frontEnd.lookUpHost(owner);
    frontEnd.registerItems();
}

void StatusNotifierFrontEnd::watcherVanished(GDBusConnection*, const gchar*, gpointer self) {
    auto& frontEnd = *static_cast<StatusNotifierFrontEnd*>(self);
    if (frontEnd.watcherPresent_)
        CVBLog("Tray items: the StatusNotifierWatcher left the bus; the items come back with it");
    else if (!frontEnd.watcherSeen_)
        CVBLog("Tray items: no StatusNotifierWatcher on the bus; the items show once a panel "
               "offers one");
    frontEnd.watcherSeen_ = true;
    frontEnd.watcherPresent_ = false;
    for (auto& entry : frontEnd.entries_)
        entry.item->forgetRegistration();
    frontEnd.hostLookup_.renew();
}

void StatusNotifierFrontEnd::lookUpHost(const std::string& owner) {
    hostLookup_.renew();
    g_dbus_connection_call(
        control_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetConnectionUnixProcessID", g_variant_new("(s)", owner.c_str()), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, options_.callTimeoutMs, hostLookup_.get(), hostFound, this);
}

void StatusNotifierFrontEnd::hostFound(GObject* source, GAsyncResult* result, gpointer self) {
    GErrorHolder failure;
    const VariantRef reply(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, failure.out()));
    if (!reply && failure.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED))
        return;
    auto& frontEnd = *static_cast<StatusNotifierFrontEnd*>(self);
    guint32 pid = 0;
    if (reply)
        g_variant_get(reply.get(), "(u)", &pid);
    // Unknown hosts get the square picture that every panel can show.
    frontEnd.setHostProgram(pid ? programNameOfProcess(frontEnd.options_.procRoot, pid) : "");
}

void StatusNotifierFrontEnd::setHostProgram(std::string program) {
    const PictureShape before = pictureShape();
    hostProgram_ = std::move(program);
    if (onHost_)
        onHost_(hostProgram_);
    if (pictureShape() != before)
        for (auto& entry : entries_)
            publish(entry);
}

} // namespace corvane
