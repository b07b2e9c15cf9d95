#pragma once

#include "status/BusConnection.h"
#include "status/PanelItem.h"
#include "status/StatusNotifierItem.h"
#include "status/TrayStyle.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// The panel items as tray icons, for every panel but GNOME's: one StatusNotifierItem per item,
// listed with the StatusNotifierWatcher whenever one is on the bus. Nothing here waits for the
// watcher: a hung one costs a time-out in the background and one log line, and a watcher that
// comes back (a restarted panel) gets every item again.
class StatusNotifierFrontEnd final : public PanelFrontEnd {
public:
    struct Options {
        std::string busAddress; // empty: the session bus
        int callTimeoutMs = 5000;
        double retrySeconds = 30; // before asking a watcher again that failed to answer
        std::filesystem::path procRoot = "/proc";
    };

    explicit StatusNotifierFrontEnd(PanelActionHandler onAction);
    StatusNotifierFrontEnd(PanelActionHandler onAction, Options options);
    ~StatusNotifierFrontEnd() override;
    StatusNotifierFrontEnd(const StatusNotifierFrontEnd&) = delete;
    StatusNotifierFrontEnd& operator=(const StatusNotifierFrontEnd&) = delete;

    void show(const std::vector<PanelItem>& items) override;

    // The user's "Status_TrayStyle"; "auto" goes by the panel that owns the watcher.
    void setTrayStyle(TrayStyle style);
    // The panel's scale factor: from 1.5 up the items send their 2x pictures.
    void setScale(double scale);
    PictureShape pictureShape() const { return pictureShapeFor(style_, hostProgram_); }
    // Whether a panel shows the square pictures now: only then are they worth drawing.
    bool showsCompact() const { return watcherPresent_ && pictureShape() == PictureShape::Compact; }
    // The program that owns the watcher, once known.
    const std::string& hostProgram() const { return hostProgram_; }
    // Called each time the host program is learned anew.
    void setHostHandler(std::function<void(const std::string&)> handler) {
        onHost_ = std::move(handler);
    }

    bool isConnected() const { return static_cast<bool>(control_); }
    // The bus name an item is shown under; empty when it is not shown.
    std::string busNameOf(const std::string& id) const;

private:
    struct Entry {
        std::string id;
        PanelItem last;
        std::unique_ptr<StatusNotifierItem> item;
    };

    static void watcherAppeared(GDBusConnection*, const gchar*, const gchar* owner, gpointer self);
    static void watcherVanished(GDBusConnection*, const gchar*, gpointer self);
    static void hostFound(GObject* source, GAsyncResult* result, gpointer self);

    std::unique_ptr<StatusNotifierItem> makeItem(const std::string& id);
    void publish(Entry& entry) const;
    void registerItems();
    void registrationDone(const std::string& error);
    void lookUpHost(const std::string& owner);
    void setHostProgram(std::string program);

    PanelActionHandler onAction_;
    Options options_;
    std::string address_;
    GObjectRef<GDBusConnection> control_;
    NameWatch watch_;
    CancelOnExit hostLookup_;
    bool watcherPresent_ = false;
    bool watcherSeen_ = false;
    bool registrationWarned_ = false;
    bool itemWarned_ = false;
    std::string hostProgram_;
    std::function<void(const std::string&)> onHost_;
    TrayStyle style_ = TrayStyle::Auto;
    double scale_ = 1.0;
    unsigned nextNumber_ = 1;
    std::vector<Entry> entries_;
};

} // namespace corvane
