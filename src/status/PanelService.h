#pragma once

#include "foundation/Color.h"
#include "status/BusConnection.h"
#include "status/PanelItem.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// How the panel that shows the items looks, as a front end tells it.
struct PanelStyle {
    int height = 22;    // points
    double scale = 1.0; // pixels per point
    Color foreground = Color::black();
    bool dark = false;

    friend bool operator==(const PanelStyle&, const PanelStyle&) = default;
};

// "#rrggbb" or "#rrggbbaa"; nothing for any other text.
std::optional<Color> colorFromHex(std::string_view text);
std::string hexFromColor(const Color& color);

// The items on the session bus for front ends that draw them themselves (the GNOME Shell
// extension): com.halvorn.corvanebar.Panel1, described in docs/panel-interface.md. It keeps
// the last list handed to show() and tells front ends what changed, so they fetch only that.
class PanelService final : public PanelFrontEnd {
public:
    static constexpr const char* kInterface = "com.halvorn.corvanebar.Panel1";
    static constexpr const char* kObjectPath = "/com/halvorn/corvanebar/Panel1";
    static constexpr std::uint32_t kVersion = 2;

    using StyleHandler = std::function<void(const PanelStyle&)>;

    // On `connection` (nullptr: no bus, said once in the log). `onStyle` hears every change a
    // front end makes to the style.
    PanelService(GDBusConnection* connection, PanelActionHandler onAction, StyleHandler onStyle);
    ~PanelService() override;
    PanelService(const PanelService&) = delete;
    PanelService& operator=(const PanelService&) = delete;

    void show(const std::vector<PanelItem>& items) override;

    const PanelStyle& style() const { return style_; }

    // A front end that sets the style draws the items in the panel itself. While one stays on
    // the bus, tray icons would show every item a second time (GNOME with a tray extension);
    // `handler` hears when the first comes and when the last goes. Signals go only to front
    // ends, callers of any method that are still on the bus: with none, nothing is sent.
    void setFrontEndHandler(std::function<void(bool present)> handler) {
        onFrontEnds_ = std::move(handler);
    }
    bool hasFrontEnd() const;
    bool isConnected() const { return static_cast<bool>(registration_); }

private:
    static void methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                           const gchar* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* readProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                  const gchar* property, GError**, gpointer self);

    const PanelItem* find(std::string_view id) const;
    void announceChanges(const std::vector<PanelItem>& before) const;
    void emit(const char* signal, GVariant* parameters = nullptr) const;
    GVariant* styleVariant() const;
    void setStyle(GVariant* parameters, GDBusMethodInvocation* invocation);
    void activate(GVariant* parameters, GDBusMethodInvocation* invocation);
    void reportShown(GVariant* parameters);
    void noteClient(GDBusMethodInvocation* invocation, bool drawsItems);
    bool hasClient() const;
    static void clientVanished(GDBusConnection*, const gchar* name, gpointer self);
    void answerForItem(std::string_view method, GVariant* parameters,
                       GDBusMethodInvocation* invocation) const;

    GDBusConnection* connection_;
    PanelActionHandler onAction_;
    StyleHandler onStyle_;
    NodeInfo info_;
    PanelStyle style_;
    std::vector<PanelItem> items_;
    ConnectionId registration_;
    struct Client {
        NameWatch watch;
        bool present = true;
        bool drawsItems = false;
    };
    std::map<std::string, Client> clients_; // by unique bus name
    std::function<void(bool)> onFrontEnds_;
};

} // namespace corvane
